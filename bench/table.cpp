// Table: see the header.
#include "bench/table.h"

#include <cmath>

namespace bench {

namespace {

void PrintRatio(std::FILE* out, const std::optional<double>& ratio) {
  if (ratio) {
    std::fprintf(out, " %6.2f |", *ratio);
  } else {
    std::fputs("        |", out);
  }
}

std::size_t Cairo() {
  std::size_t i = 0;
  while (i < Peers().size() && std::string(Peers()[i].name) != "Cairo") ++i;
  return i;
}

}  // namespace

void Table::PrintHead(std::FILE* out) const {
  std::fprintf(out, "| %-24s | %10s |", "workload", instructions_ ? "thousands" : "µs");
  for (std::size_t i = 1; i < Peers().size(); ++i) std::fprintf(out, " %6s |", Peers()[i].name);
  std::fputs(" fastest | goal     |\n|---|--:|", out);
  for (std::size_t i = 1; i < Peers().size(); ++i) std::fputs("--:|", out);
  std::fputs("--:|:--|\n", out);
}

void Table::PrintRow(std::FILE* out, const Row& row) const {
  std::fprintf(out, "| %-24s | %10.2f |", row.workload->name.c_str(), row.results[0]->cost);
  for (std::size_t i = 1; i < row.results.size(); ++i) PrintRatio(out, row.Ratio(i));
  const auto fastest = row.RatioToFastest();
  PrintRatio(out, fastest);
  const Workload& w = *row.workload;
  if (w.goal == 0 || instructions_) {
    std::fputs("          |\n", out);
    return;
  }
  const std::size_t cairo = Cairo();
  const auto ratio = w.toCairo && cairo < row.results.size() ? row.Ratio(cairo) : fastest;
  const bool reached = ratio && *ratio <= w.goal;
  std::fprintf(out, " %4g%s%s |\n", w.goal, w.toCairo ? " C" : "  ", reached ? " ✓" : "  ");
}

void Table::PrintDifferences(std::FILE* out, const Row& row) const {
  for (std::size_t i = 1; i < row.results.size(); ++i) {
    if (!row.results[i]) continue;
    const Result& r = *row.results[i];
    std::fprintf(out, "    %s: mean %.2f, largest %d%s\n", Peers()[i].name, r.difference.mean,
                 r.difference.max, r.same ? "" : " NOT THE SAME PICTURE");
  }
}

void Table::PrintSummary(std::FILE* out) const {
  for (std::size_t i = 1; i < Peers().size(); ++i) {
    double sum = 0;
    int count = 0;
    for (const Row& row : rows_) {
      if (const auto ratio = row.Ratio(i)) sum += std::log(*ratio), ++count;
      if (row.results[i] && !row.results[i]->same) {
        std::fprintf(out, "Left out, another picture (mean %.1f): %s with %s.\n",
                     row.results[i]->difference.mean, row.workload->name.c_str(), Peers()[i].name);
      }
    }
    if (count) {
      std::fprintf(out, "%s / %s: %.2f, the geometric mean of %d workloads.\n", Peers()[0].name,
                   Peers()[i].name, std::exp(sum / count), count);
    }
  }
}

void Table::Print(std::FILE* out) const {
  PrintHead(out);
  for (const Row& row : rows_) PrintRow(out, row);
  std::fputc('\n', out);
  PrintSummary(out);
}

}  // namespace bench
