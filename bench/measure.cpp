// Measuring: see the header.
#include "bench/measure.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace bench {

namespace {

constexpr std::uint32_t kWhite = 0xFFFFFFFF;

// White pixels, aligned as an allocator of pictures would do it.
class Pixels {
 public:
  Pixels(int width, int height)
      : width_(width),
        height_(height),
        words_(static_cast<std::uint32_t*>(std::aligned_alloc(64, (Count() * 4 + 63) / 64 * 64))) {
    std::fill_n(words_, Count(), kWhite);
  }
  ~Pixels() { std::free(words_); }
  Pixels(const Pixels&) = delete;
  Pixels& operator=(const Pixels&) = delete;

  Target AsTarget() const { return {width_, height_, words_}; }
  std::size_t Count() const { return static_cast<std::size_t>(width_) * height_; }
  const std::uint32_t* Words() const { return words_; }

 private:
  int width_, height_;
  std::uint32_t* words_;
};

Difference Compare(const Pixels& a, const Pixels& b) {
  double sum = 0;
  std::size_t painted = 0;
  int max = 0;
  for (std::size_t i = 0; i < a.Count(); ++i) {
    const std::uint32_t p = a.Words()[i], q = b.Words()[i];
    if (p == kWhite && q == kWhite) continue;
    ++painted;
    for (int shift = 0; shift < 24; shift += 8) {
      const int d =
          std::abs(static_cast<int>(p >> shift & 255) - static_cast<int>(q >> shift & 255));
      sum += d / 3.0;
      max = std::max(max, d);
    }
  }
  return {painted ? sum / static_cast<double>(painted) : 0, max};
}

void Write(const Pixels& pixels, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (!file) return;
  const Target t = pixels.AsTarget();
  std::fprintf(file, "P6 %d %d 255\n", t.width, t.height);
  for (std::size_t i = 0; i < pixels.Count(); ++i) {
    for (int shift = 16; shift >= 0; shift -= 8) {
      std::fputc(static_cast<int>(t.pixels[i] >> shift & 255), file);
    }
  }
  std::fclose(file);
}

std::string FileName(const Plan& plan, const Workload& workload, const Peer& peer) {
  std::string name = workload.name;
  std::replace(name.begin(), name.end(), '/', '-');
  return plan.pictures + "/" + name + "-" + peer.name + ".ppm";
}

struct Contestant {
  const Peer* peer;
  std::unique_ptr<Pixels> pixels;
  std::unique_ptr<Drawing> drawing;
  long draws = 1;  // a round
  std::size_t rounds = 1;
  std::vector<double> costs{};

  double Round(const Meter& meter) {
    const double start = meter.Now();
    for (long i = 0; i < draws; ++i) drawing->Draw();
    return (meter.Now() - start) / static_cast<double>(draws);
  }
};

constexpr double kSlow = 1e6;  // microseconds: the first draw is enough

// Rounds of many draws, as many as the budget holds. Instructions are exact: one draw will do.
void Schedule(Contestant& c, double first, const Meter& meter, const Plan& plan) {
  if (meter.CountsInstructions()) return;
  if (first > kSlow) {
    c.costs = {first};
    c.rounds = 0;
    return;
  }
  const double once = std::max(c.Round(meter), 0.01);
  c.draws = std::max(1L, std::lround(plan.round / once));
  const double round = once * static_cast<double>(c.draws);
  c.rounds = static_cast<std::size_t>(std::clamp(plan.budget / round, 3.0, 301.0));
}

// Everybody who can draws once, into pixels of their own.
std::vector<Contestant> DrawOnce(const Scene& scene, const Meter& meter, const Plan& plan) {
  std::vector<Contestant> contestants;
  for (const Peer& peer : Peers()) {
    if (contestants.size() == plan.peers) break;
    Contestant c{&peer, std::make_unique<Pixels>(scene.width, scene.height), nullptr};
    c.drawing = peer.prepare(scene, c.pixels->AsTarget());
    if (c.drawing) c.costs = {c.Round(meter)};
    contestants.push_back(std::move(c));
  }
  return contestants;
}

// The pictures are those of the first draw.
std::vector<std::optional<Result>> Judge(const std::vector<Contestant>& contestants,
                                         const Workload& workload, const Plan& plan) {
  std::vector<std::optional<Result>> results;
  for (const Contestant& c : contestants) {
    auto& result = results.emplace_back();
    if (!c.drawing) continue;
    if (!plan.pictures.empty()) Write(*c.pixels, FileName(plan, workload, *c.peer));
    result.emplace().difference = Compare(*contestants[0].pixels, *c.pixels);
    result->same = result->difference.mean <= workload.tolerance;
  }
  return results;
}

void TakeTurns(std::vector<Contestant>& contestants, const Meter& meter, const Plan& plan) {
  std::size_t rounds = 0;
  for (Contestant& c : contestants) {
    if (!c.drawing) continue;
    const double first = c.costs[0];
    c.costs.clear();
    Schedule(c, first, meter, plan);
    rounds = std::max(rounds, c.rounds);
  }
  for (std::size_t round = 0; round < rounds; ++round) {
    for (Contestant& c : contestants) {
      if (c.drawing && round < c.rounds) c.costs.push_back(c.Round(meter));
    }
  }
}

double Median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

std::optional<double> Row::Ratio(std::size_t peer) const {
  const auto& result = results[peer];
  if (!result || !result->same) return std::nullopt;
  return results[0]->cost / result->cost;
}

std::optional<double> Row::RatioToFastest() const {
  std::optional<double> largest;
  for (std::size_t i = 1; i < results.size(); ++i) {
    const auto ratio = Ratio(i);
    if (ratio && (!largest || *ratio > *largest)) largest = ratio;
  }
  return largest;
}

Row Measure(const Workload& workload, const Meter& meter, const Plan& plan) {
  const Scene scene = workload.make();
  std::vector<Contestant> contestants = DrawOnce(scene, meter, plan);
  Row row{&workload, Judge(contestants, workload, plan)};
  TakeTurns(contestants, meter, plan);
  for (std::size_t i = 0; i < contestants.size(); ++i) {
    if (row.results[i]) row.results[i]->cost = Median(std::move(contestants[i].costs));
  }
  return row;
}

}  // namespace bench
