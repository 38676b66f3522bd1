// KFpsHistory: a ring of frame-rate samples, taken as frames are shown.
#ifndef KALVORA_SUPPORT_KFPSHISTORY_H
#define KALVORA_SUPPORT_KFPSHISTORY_H

#include <cstdint>
#include <cstdio>

/// Counts frames, takes a sample of the rate at most every `intervalMs` milliseconds, and keeps the
/// latest `capacity` of them. Nothing is sampled before Reset has given it room. One thread.
class KFpsHistory {
 public:
  struct Sample {
    int fps;
    std::int64_t timeMs;
  };

  Sample* samples = nullptr;
  int capacity = 0;
  int count = 0;            ///< samples taken since Reset
  int index = 0;            ///< slot of the latest sample
  int intervalMs = 0;       ///< least time between samples; 0 samples every frame
  int frames = 0;           ///< frames since the latest sample
  std::int64_t lastUs = 0;  ///< time of the latest sample

  KFpsHistory() = default;
  ~KFpsHistory();
  KFpsHistory(const KFpsHistory&) = delete;
  KFpsHistory& operator=(const KFpsHistory&) = delete;

  /// Forgets all samples. A positive capacity replaces the present one, unless there is no memory.
  void Reset(int newCapacity);
  /// Counts a frame shown now. Returns the frames per second of the latest sample, 0 before the
  /// first.
  int Flip();
  /// The same for a frame shown at nowUs, in microseconds. A time before the latest sample starts
  /// the interval anew.
  int FlipAt(std::int64_t nowUs);
  /// Appends a line a sample, oldest first, to /var/log/kalvora-fps.log, if that can be opened.
  void Dump() const;
  /// Writes the same lines to an open file.
  void DumpTo(std::FILE* file) const;
};

#endif
