// KMem: every alignment and every small count against a plain loop, between guard pages.
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/support/KMem.h"

#include "tests/common/GuardedBuffer.h"

namespace {

constexpr unsigned kMost = 150;  // several bursts and a rest
constexpr char kUntouched = 0x5A;

std::uint32_t* Words(char* p) { return static_cast<std::uint32_t*>(static_cast<void*>(p)); }

// Memory with a guard page at one edge, from which ranges keep an offset of 0 to 7 bytes.
class Place {
 public:
  explicit Place(GuardedBuffer::Edge edge)
      : buffer(kMost + 10, edge), atEnd(edge == GuardedBuffer::kAtEnd) {}

  void SetOffset(unsigned bytes) { offset = bytes; }
  unsigned Offset() const { return offset; }
  char* Range(unsigned bytes) const {
    return buffer.As<char>() + (atEnd ? buffer.size() - offset - bytes : offset);
  }
  void Fill(char (*value)(unsigned)) {
    for (unsigned i = 0; i < buffer.size(); ++i) buffer.As<char>()[i] = value(i);
  }
  // Whether the range holds these bytes, and all around it is untouched.
  bool Holds(const std::vector<char>& bytes) const {
    std::vector<char> all(buffer.size(), kUntouched);
    const auto first = Range(static_cast<unsigned>(bytes.size())) - buffer.As<char>();
    std::copy(bytes.begin(), bytes.end(), all.begin() + first);
    return std::memcmp(all.data(), buffer.data(), all.size()) == 0;
  }

 private:
  GuardedBuffer buffer;
  bool atEnd;
  unsigned offset = 0;
};

// Calls `test(source, destination, bytes)` for offsets and counts that are multiples of `step`.
template <typename Test>
void ForAllRanges(unsigned step, Test test) {
  for (const auto edge : {GuardedBuffer::kAtEnd, GuardedBuffer::kAtStart}) {
    Place source(edge), destination(edge);
    source.Fill([](unsigned i) { return static_cast<char>(i * 37 + 11); });
    for (unsigned from = 0; from < 8; from += step) {
      for (unsigned to = 0; to < 8; to += step) {
        for (unsigned bytes = 0; bytes <= kMost; bytes += step) {
          source.SetOffset(from);
          destination.SetOffset(to);
          destination.Fill([](unsigned) { return kUntouched; });
          test(source.Range(bytes), destination, bytes);
          if (testing::Test::HasFatalFailure()) return;
        }
      }
    }
  }
}

TEST(Mem, CopiesBytes) {
  ForAllRanges(1, [](const char* source, const Place& to, unsigned bytes) {
    KMem::Memcpy(to.Range(bytes), source, bytes);
    ASSERT_TRUE(to.Holds({source, source + bytes})) << bytes << " bytes, offset " << to.Offset();
  });
}

TEST(Mem, CopiesWords) {
  ForAllRanges(4, [](char* source, const Place& to, unsigned bytes) {
    KMem::Memcpy32(Words(to.Range(bytes)), Words(source), bytes / 4);
    ASSERT_TRUE(to.Holds({source, source + bytes})) << bytes << " bytes, offset " << to.Offset();
  });
}

TEST(Mem, FillsBytes) {
  ForAllRanges(1, [](const char*, const Place& to, unsigned bytes) {
    KMem::Memset(to.Range(bytes), '\xE7', bytes);
    ASSERT_TRUE(to.Holds(std::vector<char>(bytes, '\xE7'))) << bytes << ' ' << to.Offset();
  });
}

TEST(Mem, FillsWords) {
  ForAllRanges(4, [](const char*, const Place& to, unsigned bytes) {
    constexpr std::uint32_t kValue = 0x81C2E3F4;
    KMem::Memset32(Words(to.Range(bytes)), kValue, bytes / 4);
    std::vector<char> expected(bytes);
    for (unsigned i = 0; i < bytes; i += 4) std::memcpy(expected.data() + i, &kValue, 4);
    ASSERT_TRUE(to.Holds(expected)) << bytes << " bytes, offset " << to.Offset();
  });
}

}  // namespace
