// What it costs to show a frame of 320 x 480 pixels through a shadow, beside a copy of the frame.
#include <memory>
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

/// Displays that take turns: one stays in the caches, of this many each comes from memory.
constexpr int kMany = 128;

/// Arguments: bits a pixel, degrees, displays.
void ShowFrame(benchmark::State& state) {
  const auto bits = static_cast<unsigned>(state.range(0));
  const auto degrees = static_cast<unsigned>(state.range(1));
  std::vector<std::unique_ptr<KShadowScreen>> shadows;
  Random random(1);
  for (int n = 0; n < state.range(2); ++n) {
    const KShadowStyle style{degrees, true};
    shadows.push_back(std::make_unique<KShadowScreen>(new Panel(bits, degrees % 180 != 0), style));
    KError error;
    if (!shadows.back()->Open(0, 0, true, error) || !shadows.back()->MakeBuffers(1, error)) {
      state.SkipWithError(error.text);
      return;
    }
    auto* const words = reinterpret_cast<std::uint32_t*>(shadows.back()->Address(0));
    for (unsigned i = 0; i < kWidth * kHeight; ++i) words[i] = random.Next();
  }
  std::size_t next = 0;
  for (auto _ : state) {
    shadows[next]->DrawnOver(0, nullptr);
    next = (next + 1) % shadows.size();
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(ShowFrame)
    ->ArgsProduct({{16, 24, 32}, {0, 90, 180, 270}, {1}})
    ->ArgsProduct({{16, 24, 32}, {0, 90}, {kMany}});

/// The yardstick: the frame's rows copied. Argument: frames.
void CopyFrame(benchmark::State& state) {
  const auto frames = static_cast<std::size_t>(state.range(0));
  constexpr std::size_t kPixels = kWidth * kHeight;
  std::vector<std::uint32_t> from(kPixels * frames, 1);
  std::vector<std::uint32_t> to(kPixels * frames);
  std::size_t next = 0;
  for (auto _ : state) {
    for (std::size_t y = 0; y < kHeight; ++y) {
      const std::size_t at = kPixels * next + kWidth * y;
      KMem::Memcpy32(&to[at], &from[at], kWidth);
    }
    next = (next + 1) % frames;
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kWidth * kHeight);
}
BENCHMARK(CopyFrame)->Arg(1)->Arg(kMany);

}  // namespace
