// Table: the results, as Markdown.
#ifndef BENCH_TABLE_H
#define BENCH_TABLE_H

#include <cstdio>
#include <vector>

#include "bench/measure.h"

namespace bench {

class Table {
 public:
  explicit Table(bool instructions) : instructions_(instructions) {}

  void Add(const Row& row) { rows_.push_back(row); }
  void PrintHead(std::FILE* out) const;
  void PrintRow(std::FILE* out, const Row& row) const;
  /// Mean and largest difference between Kalvora's picture and each peer's.
  void PrintDifferences(std::FILE* out, const Row& row) const;
  /// Geometric means of the ratios by groups, and what was left out.
  void PrintSummary(std::FILE* out) const;
  void Print(std::FILE* out) const;

 private:
  void PrintGoal(std::FILE* out, const Row& row) const;
  void PrintGroups(std::FILE* out) const;

  bool instructions_;
  std::vector<Row> rows_;
};

}  // namespace bench

#endif
