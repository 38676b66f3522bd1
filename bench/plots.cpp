// Plots: see the header.
#include "bench/plots.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "bench/crowds.h"

namespace bench {

namespace {

struct Plot {
  const char* title;
  const char* axis;
  std::vector<int> sizes;
  Scene (*make)(int size);
  double (*count)(int size);  ///< what the axis shows for a size
};

double Area(int radius) {
  const auto points = Sized(radius).items.front().points;
  double sum = 0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const Point p = points[i], q = points[(i + 1) % points.size()];
    sum += p.x * q.y - q.x * p.y;
  }
  return std::abs(sum) / 2;
}

const Plot kPlots[] = {
    {"A ring of spikes",
     "edges",
     {10, 30, 100, 300, 1000, 3000, 10000, 30000, 100000},
     Ring,
     [](int n) { return double(n); }},
    {"A star whose corners are joined across",
     "crossings",
     {5, 11, 21, 41, 81, 161, 321},
     CrossingStar,
     [](int n) { return n * (n - 3) / 2.0; }},
    {"Dashed lines that leave the picture",
     "dashes beside it",
     {1000, 1400, 2000, 4000, 8000},
     [](int reach) { return FarDashes(reach); },
     [](int reach) { return 4 * (2 * (reach - 400) - 200) / 10.0; }},
    {"A star of ten corners",
     "pixels",
     {4, 8, 16, 32, 64, 128, 256},
     [](int radius) { return Sized(radius); },
     Area},
};

struct Series {
  std::vector<Point> points;  // count, microseconds
};

std::vector<Series> MeasurePlot(const Plot& plot, const Meter& meter, const Plan& plan) {
  std::vector<Series> series(std::min<std::size_t>(plan.peers, Peers().size()));
  for (const int size : plot.sizes) {
    const Workload workload{plot.axis, 0, [&] { return plot.make(size); }, true, 256};
    const Row row = Measure(workload, meter, plan);
    std::printf("%-40s %8.0f %-16s", plot.title, plot.count(size), plot.axis);
    for (std::size_t i = 0; i < series.size(); ++i) {
      series[i].points.push_back({plot.count(size), row.results[i]->cost});
      std::printf("  %s %.1f", Peers()[i].name, row.results[i]->cost);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  return series;
}

// A logarithmic axis over whole decades.
struct Axis {
  double low, high;  // exponents of ten
  double from, to;   // where they lie

  double At(double v) const { return from + (std::log10(v) - low) / (high - low) * (to - from); }
};

Axis Around(const std::vector<Series>& series, double Point::*coordinate, double from, double to) {
  double low = 1e9, high = -1e9;
  for (const Series& s : series) {
    for (const Point& p : s.points) {
      low = std::min(low, std::floor(std::log10(p.*coordinate)));
      high = std::max(high, std::ceil(std::log10(p.*coordinate)));
    }
  }
  return {low, std::max(high, low + 1), from, to};
}

std::string Power(double exponent) {
  static const char* const kNames[] = {"0.1", "1",   "10",  "100", "1 000",
                                       "10⁴", "10⁵", "10⁶", "10⁷", "10⁸"};
  const int i = static_cast<int>(exponent) + 1;
  return i >= 0 && i < 10 ? kNames[i] : "";
}

constexpr double kPanelWidth = 440, kPanelHeight = 320;
constexpr const char* kColors[] = {"#c83c14", "#3c5a8c", "#4a8a4a", "#8a6a2a", "#6a4a8a"};

void WritePanel(std::FILE* out, const Plot& plot, const std::vector<Series>& series, double left,
                double top) {
  const Axis x = Around(series, &Point::x, left + 60, left + kPanelWidth - 20);
  const Axis y = Around(series, &Point::y, top + kPanelHeight - 50, top + 40);
  std::fprintf(out, "<text x='%g' y='%g' font-weight='bold'>%s</text>\n", left + 90, top + 24,
               plot.title);
  for (double e = x.low; e <= x.high; ++e) {
    const double at = x.At(std::pow(10, e));
    std::fprintf(out, "<path d='M%g %gV%g' class='grid'/>", at, y.from, y.to);
    std::fprintf(out, "<text x='%g' y='%g' text-anchor='middle'>%s</text>\n", at, y.from + 16,
                 Power(e).c_str());
  }
  for (double e = y.low; e <= y.high; ++e) {
    const double at = y.At(std::pow(10, e));
    std::fprintf(out, "<path d='M%g %gH%g' class='grid'/>", x.from, at, x.to);
    std::fprintf(out, "<text x='%g' y='%g' text-anchor='end'>%s</text>\n", x.from - 6, at + 4,
                 Power(e).c_str());
  }
  std::fprintf(out, "<text x='%g' y='%g' text-anchor='end'>%s</text>\n", x.to, y.from + 34,
               plot.axis);
  std::fprintf(out, "<text x='%g' y='%g'>µs a draw</text>\n", left + 8, top + 24);
  for (std::size_t i = 0; i < series.size(); ++i) {
    std::fprintf(out, "<path fill='none' stroke-width='2' stroke='%s' d='", kColors[i]);
    char command = 'M';
    for (const Point& p : series[i].points) {
      std::fprintf(out, "%c%.1f %.1f", command, x.At(p.x), y.At(p.y));
      command = 'L';
    }
    std::fputs("'/>\n", out);
    for (const Point& p : series[i].points) {
      std::fprintf(out, "<circle cx='%.1f' cy='%.1f' r='3' fill='%s'/>", x.At(p.x), y.At(p.y),
                   kColors[i]);
    }
    std::fprintf(out, "<text x='%g' y='%g' fill='%s'>%s</text>\n", x.from + 10,
                 y.to + 16 + 16 * double(i), kColors[i], Peers()[i].name);
  }
}

}  // namespace

bool WritePlots(const std::string& file, const Meter& meter, Plan plan) {
  plan.peers = 2;
  std::FILE* out = std::fopen(file.c_str(), "w");
  if (!out) return false;
  std::fprintf(
      out,
      "<svg xmlns='http://www.w3.org/2000/svg' width='%g' height='%g' "
      "font-family='sans-serif' font-size='12'>\n"
      "<style>.grid{stroke:#ddd}</style><rect width='100%%' height='100%%' fill='#fff'/>\n",
      2 * kPanelWidth, 2 * kPanelHeight);
  for (int i = 0; i < 4; ++i) {
    const auto series = MeasurePlot(kPlots[i], meter, plan);
    WritePanel(out, kPlots[i], series, i % 2 * kPanelWidth, i / 2 * kPanelHeight);
  }
  std::fputs("</svg>\n", out);
  return std::fclose(out) == 0;
}

}  // namespace bench
