// What it costs to show a frame of 320 x 480 pixels through a shadow, beside a copy of the frame.
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/display/screens/KShadowScreen.h"
#include "kalvora/support/KMem.h"

#include "tests/common/Random.h"

namespace {

constexpr unsigned kWidth = 320;
constexpr unsigned kHeight = 480;

/// A panel in ordinary memory.
class Panel final : public KScreen {
 public:
  Panel(unsigned bits, bool lies) {
    width = lies ? kHeight : kWidth;
    height = lies ? kWidth : kHeight;
    bpp = bits;
    stride = width * bits / 8;
    if (bits == 16) layout = KPixelLayout::Rgb565();
    memory.resize(std::size_t{stride} * height);
  }
  bool Open(unsigned, unsigned, bool, KError&) override { return true; }
  bool Look(unsigned, KDisplayFacts&, KError&) override { return true; }
  bool MakeBuffers(unsigned count, KError&) override { return count == 1; }
  std::uint8_t* Address(unsigned) const override { return memory.data(); }
  KShown Show(unsigned, const KRect*, bool, const std::atomic<bool>&) override {
    return KShown::kNot;
  }

 private:
  mutable std::vector<std::uint8_t> memory;
};

/// Arguments: bits a pixel, degrees.
void ShowFrame(benchmark::State& state) {
  const auto bits = static_cast<unsigned>(state.range(0));
  const auto degrees = static_cast<unsigned>(state.range(1));
  KShadowScreen shadow(new Panel(bits, degrees % 180 != 0), {degrees, true});
  KError error;
  if (!shadow.Open(0, 0, true, error) || !shadow.MakeBuffers(1, error)) {
    state.SkipWithError(error.text);
    return;
  }
  Random random(1);
  auto* const words = reinterpret_cast<std::uint32_t*>(shadow.Address(0));
  for (unsigned i = 0; i < kWidth * kHeight; ++i) words[i] = random.Next();
  for (auto _ : state) {
    shadow.DrawnOver(0, nullptr);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(ShowFrame)->ArgsProduct({{16, 24, 32}, {0, 90, 180, 270}});

/// The yardstick: the frame's rows copied.
void CopyFrame(benchmark::State& state) {
  std::vector<std::uint32_t> from(kWidth * kHeight, 1);
  std::vector<std::uint32_t> to(kWidth * kHeight);
  for (auto _ : state) {
    for (unsigned y = 0; y < kHeight; ++y) {
      KMem::Memcpy32(&to[kWidth * y], &from[kWidth * y], kWidth);
    }
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(CopyFrame);

}  // namespace
