// Every division twice: the loops against the divider against exact 64-bit arithmetic.
#include "kalvora/core/division.h"

#include <gtest/gtest.h>

#include "tests/common/Random.h"

using namespace kalvora;

namespace {

constexpr int kCases = 300000;

// A magnitude: 0..0x80000000, often extreme.
std::uint32_t AnyMagnitude(Random& random) {
  return Magnitude(static_cast<std::int32_t>(random.Word()));
}

// floor(n / d) modulo 2^32.
std::uint32_t Exact(std::uint64_t n, std::uint64_t d) { return static_cast<std::uint32_t>(n / d); }

TEST(Division, LoopsDividersAndExactQuotientsAgree) {
  Random random(1);
  for (int i = 0; i < kCases; ++i) {
    const std::uint32_t a = AnyMagnitude(random);
    const std::uint32_t b = AnyMagnitude(random);
    const std::uint32_t c = AnyMagnitude(random);
    SCOPED_TRACE(testing::Message() << a << ' ' << b << ' ' << c);
    const auto [quotient, remainder] = DivModLoop(a, b);
    ASSERT_EQ(DivModDivider(a, b).quotient, quotient);
    ASSERT_EQ(DivModDivider(a, b).remainder, remainder);
    ASSERT_EQ(ReciprocalDivider(b), ReciprocalLoop(b));
    ASSERT_EQ(MulDivDivider(a, b, c), MulDivLoop(a, b, c));
    if (a != 0) {
      ASSERT_EQ(QuotientDivider(a, b), QuotientLoop(a, b));
    }

    if (b == 0 || c == 0) continue;
    ASSERT_EQ(quotient, a / b);
    ASSERT_EQ(remainder, a % b);
    ASSERT_EQ(ReciprocalLoop(b), Exact(std::uint64_t{1} << 32, b));
    ASSERT_EQ(MulDivLoop(a, b, c), Exact(std::uint64_t{a} * b, c));
    // The 16.16 quotient is exact when the divisor keeps all its bits.
    if (a != 0 && a < 0x80000000 && a >= b) {
      ASSERT_EQ(QuotientLoop(a, b), Exact(std::uint64_t{a} << 16, b));
    }
    const std::uint32_t head = random.Word();
    const int bits = static_cast<int>(random.Below(33));
    const std::uint32_t tail = bits == 0 ? 0 : random.Word() >> (32 - bits);
    ASSERT_EQ(DivideByDigits(head, tail, bits, b), Exact(std::uint64_t{head} << bits | tail, b))
        << head << ' ' << tail << ' ' << bits;
  }
}

// Quotients of every length, a third of them at a whole number or one beside it.
TEST(Division, WideQuotientsAreExact) {
  Random random(2);
  for (int i = 0; i < kCases; ++i) {
    const std::uint64_t b = random.Next64() >> random.Below(64) | 1;
    const std::uint64_t near = b * (random.Next() >> random.Below(32)) + random.Below(3) - 1;
    const std::uint64_t a = random.OneIn(3) ? near : random.Next64() >> random.Below(64);
    ASSERT_EQ(QuotientByNewton(a, b), a / b) << a << ' ' << b;
    const auto n = static_cast<std::int64_t>(a) / 2, d = static_cast<std::int64_t>(b >> 1) + 1;
    ASSERT_EQ(Quotient(n, d), n / d) << n << ' ' << d;
  }
}

TEST(Division, QuotientKeepsItsPeculiarities) {
  const struct {
    std::uint32_t a, b, quotient;
  } table[] = {
      {0x80000000, 0x30000, 0},           // no bit to spare for the remainder
      {0x80000000, 0x20000, 0x40000000},  // ... which a power of two does not need
      {0x80000000, 0x80000000, 0x10000},  //
      {0x8000, 0x40007FFF, 2},            // the divisor lost 15 bits: exact is 1
      {1, 0x10000, 1},                    // the least quotient there is
      {1, 0x20000, 0},                    //
      {0x7FFFFFFF, 1, 0xFFFF0000},        // wraps
      {5, 0x7FFFFFFF, 0},                 //
  };
  for (const auto& row : table) {
    EXPECT_EQ(QuotientLoop(row.a, row.b), row.quotient) << row.a << " / " << row.b;
  }
}

TEST(Division, SignsAndOrdinaryQuotients) {
  Random random(3);
  for (int i = 0; i < kCases; ++i) {
    // Quotients of numbers of ordinary size truncate toward zero.
    const std::int32_t a = random.Between(-0x3FFFFFFF, 0x3FFFFFFF);
    const std::int32_t b = random.Between(-0xFFFF, 0xFFFF);
    if (b == 0) continue;
    const auto exact = static_cast<std::int32_t>(std::int64_t{a} * 65536 / b);
    ASSERT_EQ((KFixed::FromRaw(a) / KFixed::FromRaw(b)).raw, exact) << a << ' ' << b;
    ASSERT_EQ(DivMod(a, b).quotient, a / b);
    ASSERT_EQ(DivMod(a, b).remainder, a % b);
    ASSERT_EQ(KFixed::MulDiv(KFixed::FromRaw(a), KFixed::FromRaw(-3), KFixed::FromRaw(b)).raw,
              static_cast<std::int32_t>(std::int64_t{a} * -3 / b));
  }
}

}  // namespace
