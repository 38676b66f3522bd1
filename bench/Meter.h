// Meter: what a draw costs: thread CPU time, or instructions where an emulator counts them.
#ifndef BENCH_METER_H
#define BENCH_METER_H

#include <string>

namespace bench {

class Meter {
 public:
  /// Reads the 64-bit count at the start of `counterFile`, which the emulator's plugin maps and
  /// keeps up to date; with an empty name, the processor time of this thread.
  explicit Meter(const std::string& counterFile);

  bool CountsInstructions() const { return counter_ >= 0; }
  /// In microseconds, or in thousands of instructions.
  double Now() const;

 private:
  int counter_ = -1;
};

}  // namespace bench

#endif
