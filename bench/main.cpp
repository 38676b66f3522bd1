// kalvora-bench: draws the same scenes through Kalvora and other libraries and prints a table of
// what they cost.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/Peer.h"
#include "bench/measure.h"
#include "bench/plots.h"
#include "bench/table.h"

namespace {

constexpr const char* kHelp =
    "usage: kalvora-bench [options] [FILTER...]\n"
    "Draws the workloads whose names contain a FILTER (all, without one) through Kalvora and the\n"
    "libraries that were found when this program was configured, compares the pictures, and "
    "prints\n"
    "what a draw costs: thread CPU time, medians of many short rounds in which the peers take\n"
    "turns. A ratio is Kalvora's time / the peer's: below 1 Kalvora is faster.\n"
    "  --quick          shorter: for a look, not for the record\n"
    "  --list           names of the workloads and of the peers\n"
    "  --out FILE       also writes the table there, as Markdown\n"
    "  --pictures DIR   writes every peer's picture there (PPM), and prints the differences\n"
    "  --drawings DIR   the drawings, as tools/bench puts them together (build/bench/drawings)\n"
    "  --plots FILE     instead of the table, draws time against edges, crossings, dashes and "
    "pixels\n"
    "  --counter FILE   instead of time, instructions as the emulator's plugin counts them there\n"
    "  --help\n";

struct Options {
  bench::Plan plan;
  std::string out, counter, plots, drawings = "build/bench/drawings";
  std::vector<std::string> filters;
  bool list = false;

  bool Takes(const std::string& name) const {
    for (const std::string& filter : filters) {
      if (name.find(filter) != std::string::npos) return true;
    }
    return filters.empty();
  }
};

Options Parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const auto value = [&] {
      if (++i < argc) return argv[i];
      std::fprintf(stderr, "kalvora-bench: %s needs a value\n", word.c_str());
      std::exit(2);
    };
    if (word == "--quick") {
      options.plan.budget = 15'000;
    } else if (word == "--list") {
      options.list = true;
    } else if (word == "--out") {
      options.out = value();
    } else if (word == "--pictures") {
      options.plan.pictures = value();
    } else if (word == "--drawings") {
      options.drawings = value();
    } else if (word == "--plots") {
      options.plots = value();
    } else if (word == "--counter") {
      options.counter = value();
    } else if (word == "--help") {
      std::fputs(kHelp, stdout);
      std::exit(0);
    } else if (word.starts_with("-")) {
      std::fprintf(stderr, "kalvora-bench: unknown option %s (see --help)\n", word.c_str());
      std::exit(2);
    } else {
      options.filters.push_back(word);
    }
  }
  return options;
}

bench::Workloads AllWorkloads([[maybe_unused]] const std::string& drawings) {
  bench::Workloads rows;
  for (const auto add : {bench::AddRectangles, bench::AddGradients, bench::AddImages,
                         bench::AddText, bench::AddShapes, bench::AddStrokes, bench::AddCrowds}) {
    add(rows);
  }
#ifdef KALVORA_BENCH_DRAWINGS
  bench::AddDrawings(rows, drawings);
#endif
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = Parse(argc, argv);
  const bench::Workloads workloads = AllWorkloads(options.drawings);
  if (options.list) {
    for (const bench::Peer& peer : bench::Peers()) std::printf("peer %s\n", peer.name);
    for (const bench::Workload& w : workloads) std::printf("%s\n", w.name.c_str());
    return 0;
  }
  const bench::Meter meter(options.counter);
  if (!options.plots.empty()) {
    if (bench::WritePlots(options.plots, meter, options.plan)) return 0;
    std::perror(options.plots.c_str());
    return 1;
  }
  bench::Table table(meter.CountsInstructions());
  table.PrintHead(stdout);
  for (const bench::Workload& w : workloads) {
    if (!options.Takes(w.name)) continue;
    const bench::Row row = bench::Measure(w, meter, options.plan);
    table.PrintRow(stdout, row);
    if (!options.plan.pictures.empty()) table.PrintDifferences(stdout, row);
    std::fflush(stdout);
    table.Add(row);
  }
  table.PrintSummary(stdout);
  if (options.out.empty()) return 0;
  std::FILE* file = std::fopen(options.out.c_str(), "w");
  if (!file) {
    std::perror(options.out.c_str());
    return 1;
  }
  table.Print(file);
  return std::fclose(file) ? 1 : 0;
}
