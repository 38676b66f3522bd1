// KMem: every alignment and every small count against a plain loop, between guard pages.
#include <algorithm>
#include <cstring>
#include <numeric>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/support/KMem.h"

#include "tests/common/GuardedBuffer.h"

namespace {

constexpr unsigned kMost = 150;  // several bursts and a rest
constexpr char kUntouched = 0x5A;
constexpr std::uint32_t kWord = 0x81C2E3F4;

std::uint32_t* Words(char* p) { return static_cast<std::uint32_t*>(static_cast<void*>(p)); }

struct Routine {
  const char* name;
  unsigned step;  ///< of addresses and counts
  void (*run)(char* to, char* from, unsigned bytes);
  char (*expected)(const char* from, unsigned i);
};

const Routine kRoutines[] = {
    {"Memcpy", 1, [](char* to, char* from, unsigned n) { KMem::Memcpy(to, from, n); },
     [](const char* from, unsigned i) { return from[i]; }},
    {"Memcpy32", 4,
     [](char* to, char* from, unsigned n) { KMem::Memcpy32(Words(to), Words(from), n / 4); },
     [](const char* from, unsigned i) { return from[i]; }},
    {"Memset", 1, [](char* to, char*, unsigned n) { KMem::Memset(to, '\xE7', n); },
     [](const char*, unsigned) { return '\xE7'; }},
    {"Memset32", 4, [](char* to, char*, unsigned n) { KMem::Memset32(Words(to), kWord, n / 4); },
     [](const char*, unsigned i) { return reinterpret_cast<const char*>(&kWord)[i % 4]; }},
};

/// All counts, for two ranges that keep these distances to the guarded edge.
void Check(const Routine& routine, GuardedBuffer::Edge edge, unsigned fromEdge, unsigned toEdge) {
  GuardedBuffer source(kMost + 10, edge), destination(kMost + 10, edge);
  std::iota(source.begin(), source.end(), std::uint8_t{11});
  for (unsigned bytes = 0; bytes <= kMost; bytes += routine.step) {
    const auto first = [&](unsigned distance) {
      return edge == GuardedBuffer::kAtEnd ? source.size() - distance - bytes : distance;
    };
    char* const from = source.As<char>() + first(fromEdge);
    const std::size_t to = first(toEdge);
    std::fill(destination.begin(), destination.end(), kUntouched);
    std::vector<char> expected(destination.size(), kUntouched);
    for (unsigned i = 0; i < bytes; ++i) expected[to + i] = routine.expected(from, i);
    routine.run(destination.As<char>() + to, from, bytes);
    ASSERT_EQ(0, std::memcmp(expected.data(), destination.data(), expected.size()))
        << routine.name << " of " << bytes << " bytes, " << fromEdge << " to " << toEdge;
  }
}

TEST(Mem, CopiesAndFillsLikeAPlainLoop) {
  for (const Routine& routine : kRoutines) {
    for (unsigned from = 0; from < 8; from += routine.step) {
      for (unsigned to = 0; to < 8; to += routine.step) {
        Check(routine, GuardedBuffer::kAtEnd, from, to);
        Check(routine, GuardedBuffer::kAtStart, from, to);
      }
    }
  }
}

}  // namespace
