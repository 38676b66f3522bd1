// Fixed-point arithmetic, matrices and memory routines, with the processor's own arithmetic and the
// C library beside them. Each run works through the same seeded operands.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include <benchmark/benchmark.h>

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/core/division.h"
#include "kalvora/support/KMem.h"

#include "tests/common/Random.h"

namespace {

constexpr std::size_t kCount = 1024;

// Seeded numbers of low to high raw units.
std::vector<KFixed> Numbers(std::uint64_t seed, std::int32_t low, std::int32_t high) {
  Random random(seed);
  std::vector<KFixed> numbers(kCount);
  for (KFixed& number : numbers) number = KFixed::FromRaw(random.Between(low, high));
  return numbers;
}
const std::vector<KFixed> a = Numbers(1, 1, 500 << 16);
const std::vector<KFixed> b = Numbers(2, 1 << 8, 500 << 16);
const std::vector<KFixed> c = Numbers(3, 1 << 8, 500 << 16);
const std::vector<KFixed> angles = Numbers(4, 0, 360 << 16);

double Real(KFixed v) { return v.raw / 65536.0; }
std::uint32_t Size(KFixed v) { return kalvora::Magnitude(v.raw); }

// Registers a benchmark that times compute(i) for one set of operands after the other.
template <typename Compute>
void Number(const char* name, Compute compute) {
  benchmark::RegisterBenchmark(name, [compute](benchmark::State& state) mutable {
    for (auto _ : state) {
      for (std::size_t i = 0; i < kCount; ++i) benchmark::DoNotOptimize(compute(i));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
  });
}

KSoftMatrix3D Linear(std::size_t i) {
  KSoftMatrix3D m;
  m.Set(a[i], b[i], c[i], a[i ^ 1], angles[i], b[i ^ 1]);
  return m;
}

// Each operation, the shift-and-subtract loop behind it where there is one, and what the
// processor's floating point takes for the same.
[[maybe_unused]] const bool kRegistered = [] {
  using Index = std::size_t;
  Number("Divide", [](Index i) { return a[i] / b[i]; });
  Number("DivideLoop", [](Index i) { return kalvora::QuotientLoop(Size(a[i]), Size(b[i])); });
  Number("DivideDouble", [](Index i) { return Real(a[i]) / Real(b[i]); });
  Number("Inverse", [](Index i) { return KFixed::Inverse(b[i]); });
  Number("InverseLoop", [](Index i) { return kalvora::ReciprocalLoop(Size(b[i])); });
  Number("MulDiv", [](Index i) { return KFixed::MulDiv(a[i], b[i], c[i]); });
  Number("MulDivLoop",
         [](Index i) { return kalvora::MulDivLoop(Size(a[i]), Size(b[i]), Size(c[i])); });
  Number("Sqrt", [](Index i) { return KFixed::Sqrt(a[i]); });
  Number("SqrtDouble", [](Index i) { return std::sqrt(Real(a[i])); });
  Number("Sin", [](Index i) { return KFixed::Sin(angles[i]); });
  Number("SinDouble", [](Index i) { return std::sin(Real(angles[i])); });
  Number("ArcTan", [](Index i) { return KFixed::ArcTan(a[i] - b[i], c[i]); });
  Number("ArcTanDouble", [](Index i) { return std::atan2(Real(c[i]), Real(a[i] - b[i])); });
  Number("Norm", [](Index i) { return KVertex2D{a[i], b[i]}.Norm(); });
  Number("NormDouble", [](Index i) { return std::hypot(Real(a[i]), Real(b[i])); });
  Number("MatrixMultiply", [product = Linear(1), m = Linear(2)](Index) mutable {
    product *= &m;
    return product.m0;
  });
  Number("MatrixInverse", [](Index i) {
    KSoftMatrix3D m = Linear(i);
    m.Inverse();
    return m.m0;
  });
  return true;
}();

// Memory: words of 4 bytes, from a glyph's row to a screen.
void Sizes(benchmark::internal::Benchmark* run) { run->Arg(8)->Arg(64)->Arg(640)->Arg(153600); }

template <typename Move>
void RunMemory(benchmark::State& state, Move move) {
  const auto words = static_cast<unsigned>(state.range(0));
  std::vector<std::uint32_t> from(words, 0x12345678), to(words);
  for (auto _ : state) {
    move(to.data(), from.data(), words);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * words * 4);
}

void Memcpy32(benchmark::State& state) {
  RunMemory(state, [](std::uint32_t* to, const std::uint32_t* from, unsigned words) {
    KMem::Memcpy32(to, from, words);
  });
}
BENCHMARK(Memcpy32)->Apply(Sizes);

void Memcpy32Library(benchmark::State& state) {
  RunMemory(state, [](std::uint32_t* to, const std::uint32_t* from, unsigned words) {
    std::memcpy(to, from, words * std::size_t{4});
  });
}
BENCHMARK(Memcpy32Library)->Apply(Sizes);

void Memset32(benchmark::State& state) {
  RunMemory(state, [](std::uint32_t* to, const std::uint32_t*, unsigned words) {
    KMem::Memset32(to, 0x12345678, words);
  });
}
BENCHMARK(Memset32)->Apply(Sizes);

void Memset32Library(benchmark::State& state) {
  RunMemory(state, [](std::uint32_t* to, const std::uint32_t*, unsigned words) {
    std::fill_n(to, words, 0x12345678u);
  });
}
BENCHMARK(Memset32Library)->Apply(Sizes);

void MemcpyUnaligned(benchmark::State& state) {
  RunMemory(state, [](std::uint32_t* to, const std::uint32_t* from, unsigned words) {
    KMem::Memcpy(reinterpret_cast<char*>(to), reinterpret_cast<const char*>(from) + 1,
                 words * 4 - 1);
  });
}
BENCHMARK(MemcpyUnaligned)->Apply(Sizes);

}  // namespace
