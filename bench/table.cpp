// Table: see the header.
#include "bench/table.h"

#include <cmath>
#include <map>
#include <string>
#include <string_view>
#include <utility>

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

// Instructions / Cairo's that are aimed at on ARMv7, by kinds of drawings: the first match.
double GoalOnArm(const std::string& name) {
  static constexpr std::pair<std::string_view, double> kGoals[] = {
      {"rect/translucent", 0.7}, {"rect/clipped", 0}, {"rect/", 0.9},       {"linear/", 0.25},
      {"radial/", 0.3},          {"image/copy", 0.8}, {"image/alpha", 0.8}, {"image/", 0.35},
      {"glyphs/", 0.5},          {"text/", 0.5},      {"fill/icons", 0.5},  {"fill/", 0.4},
      {"stroke/", 0.6},          {"drawing/", 0.8}};
  for (const auto& [prefix, goal] : kGoals) {
    if (name.starts_with(prefix)) return goal;
  }
  return 0;
}

// The geometric mean of the ratios to a peer.
std::optional<double> Mean(const std::vector<const Row*>& rows, std::size_t peer) {
  double sum = 0;
  int count = 0;
  for (const Row* row : rows) {
    if (const auto ratio = row->Ratio(peer)) sum += std::log(*ratio), ++count;
  }
  if (count == 0) return std::nullopt;
  return std::exp(sum / count);
}

// What stands before the slash of a workload's name.
std::string GroupOf(const Row& row) {
  return row.workload->name.substr(0, row.workload->name.find('/'));
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
  PrintRatio(out, row.RatioToFastest());
  PrintGoal(out, row);
}

void Table::PrintGoal(std::FILE* out, const Row& row) const {
  const Workload& w = *row.workload;
  const double goal = instructions_ ? GoalOnArm(w.name) : w.goal;
  const bool toCairo = instructions_ || w.toCairo;
  const std::size_t cairo = Cairo();
  const auto ratio =
      toCairo && cairo < row.results.size() ? row.Ratio(cairo) : row.RatioToFastest();
  if (goal == 0) {
    std::fputs("          |\n", out);
  } else {
    std::fprintf(out, " %4g%s%s |\n", goal, toCairo ? " C" : "  ",
                 ratio && *ratio <= goal ? " ✓" : "  ");
  }
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
  PrintGroups(out);
  for (std::size_t i = 1; i < Peers().size(); ++i) {
    for (const Row& row : rows_) {
      if (row.results[i] && !row.results[i]->same) {
        std::fprintf(out, "Left out, another picture (mean difference %.1f): %s with %s.\n",
                     row.results[i]->difference.mean, row.workload->name.c_str(), Peers()[i].name);
      }
    }
  }
}

void Table::PrintGroups(std::FILE* out) const {
  std::map<std::string, std::vector<const Row*>> groups;
  for (const Row& row : rows_) groups[GroupOf(row)].push_back(&row);
  std::fputs("| geometric means | workloads |", out);
  for (std::size_t i = 1; i < Peers().size(); ++i) std::fprintf(out, " %6s |", Peers()[i].name);
  std::fputs("\n|---|--:|", out);
  for (std::size_t i = 1; i < Peers().size(); ++i) std::fputs("--:|", out);
  for (const auto& [name, rows] : groups) {
    std::fprintf(out, "\n| %-15s | %9zu |", name.c_str(), rows.size());
    for (std::size_t i = 1; i < Peers().size(); ++i) {
      PrintRatio(out, Mean(rows, i));
    }
  }
  std::fputs("\n\n", out);
}

void Table::Print(std::FILE* out) const {
  PrintHead(out);
  for (const Row& row : rows_) PrintRow(out, row);
  std::fputc('\n', out);
  PrintSummary(out);
}

}  // namespace bench
