// KFpsHistory: sampling and dumping.
#include "kalvora/support/KFpsHistory.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include <sys/time.h>

namespace {

std::int64_t NowUs() {
  timeval now{};
  gettimeofday(&now, nullptr);
  return std::int64_t{now.tv_sec} * 1000000 + now.tv_usec;
}

// Counts up and stays at the end.
void CountUp(int& counter) { counter += counter < INT_MAX; }

}  // namespace

KFpsHistory::~KFpsHistory() { std::free(samples); }

void KFpsHistory::Reset(int newCapacity) {
  if (newCapacity > 0 && newCapacity != capacity) {
    void* ring = std::calloc(static_cast<std::size_t>(newCapacity), sizeof(Sample));
    if (ring != nullptr) {
      std::free(samples);
      samples = static_cast<Sample*>(ring);
      capacity = newCapacity;
    }
  }
  if (samples != nullptr) samples[0] = {};  // what Flip returns until there is a sample
  index = 0;
  count = 0;
  frames = 0;
  lastUs = NowUs();
}

int KFpsHistory::Flip() { return FlipAt(NowUs()); }

int KFpsHistory::FlipAt(std::int64_t nowUs) {
  CountUp(frames);
  if (samples == nullptr) return 0;
  const std::int64_t elapsed = nowUs - lastUs;
  if (elapsed < 0) {
    frames = 0;
    lastUs = nowUs;
  } else if (elapsed >= std::int64_t{intervalMs} * 1000) {
    const std::int64_t fps = frames * std::int64_t{1000000} / std::max<std::int64_t>(elapsed, 1);
    index = index + 1 < capacity ? index + 1 : 0;
    samples[index] = {static_cast<int>(std::min<std::int64_t>(fps, INT_MAX)), nowUs / 1000};
    CountUp(count);
    frames = 0;
    lastUs = nowUs;
  }
  return samples[index].fps;
}

void KFpsHistory::Dump() const {
  std::FILE* file = std::fopen("/var/log/kalvora-fps.log", "ae");
  if (file == nullptr) return;
  DumpTo(file);
  std::fclose(file);
}

void KFpsHistory::DumpTo(std::FILE* file) const {
  if (samples == nullptr) return;
  const std::int64_t n = std::min(count, capacity);
  for (std::int64_t i = 1; i <= n; ++i) {
    const Sample& sample = samples[(capacity + index - n + i) % capacity];
    std::fprintf(file, "[%lld ms] Fps %d\n", static_cast<long long>(sample.timeMs), sample.fps);
  }
}
