// Progress: how far long work has come, for people who wait at a terminal.
#ifndef EXAMPLES_COMMON_PROGRESS_H
#define EXAMPLES_COMMON_PROGRESS_H

#include <cstddef>
#include <cstdio>

#include <unistd.h>

namespace examples {

/// A line on standard error that is written over and goes away at the end; nothing where standard
/// error is no terminal.
class Progress {
 public:
  explicit Progress(std::size_t total) : total_(total), shown_(isatty(STDERR_FILENO) != 0) {}
  ~Progress() { Clear(); }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  void Show(std::size_t done) const {
    if (shown_) std::fprintf(stderr, "\r%zu of %zu\033[K", done, total_);
  }
  /// Before something else is written.
  void Clear() const {
    if (shown_) std::fputs("\r\033[K", stderr);
  }

 private:
  std::size_t total_;
  bool shown_;
};

}  // namespace examples

#endif
