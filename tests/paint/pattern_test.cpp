// Pattern fillers: all 128 against one plain per-pixel reference, and how they are chosen.
#include <algorithm>

#include <gtest/gtest.h>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/paint/KTables.h"
#include "kalvora/paint/patterns/KPatternStrip.h"
#include "kalvora/support/KFlags.h"

#include "tests/paint/reference.h"
#include "tests/paint/span.h"

namespace {

using reference::Word;

struct Kind {
  bool opaqueLayout;  // KColor_0888_PM
  bool aa, opacity, alpha;
  KSampling sampling;
  KRepeatRule rule;
};

/// The rules, pixel by pixel.
class Reference {
 public:
  Reference(const Kind& kind_, const KStyleContext2D& style_)
      : kind(kind_), style(style_), p(*style_.source) {
    // Rows closer together than they are wide show the columns that all have room for.
    width = std::min<std::int64_t>(p.width, p.stride / 4);
    height = p.height;
    const KSoftMatrix3D& m = p.transform;
    const std::int32_t x = style.x0 * 0x10000, y = style.y * 0x10000;
    du = 0x10000;
    if (m.identity) {
      u = x, v = y;
    } else if (m.linearIdentity) {
      u = reference::Add(x, m.m6.raw), v = reference::Add(y, m.m7.raw);
    } else {
      using namespace reference;
      u = Add(Add(Mul(m.m0.raw, x), Mul(m.m3.raw, y)), m.m6.raw);
      v = Add(Add(Mul(m.m1.raw, x), Mul(m.m4.raw, y)), m.m7.raw);
      du = m.m0.raw, dv = m.m1.raw;
    }
    if (kind.sampling == KSamplingBilinear || kind.sampling == KSamplingBicubic) {
      u = reference::Sub(u, 0x8000), v = reference::Sub(v, 0x8000);
    }
  }

  Word Pixel(int x, Word d) const {
    const Word s = Sample(x - style.x0);
    const auto opacity = static_cast<Word>(style.opacity);
    const std::int32_t coverage = style.lineBuffer[x];
    Word w = kind.opacity ? opacity : 256;
    if (kind.aa) {
      w = kind.opacity ? static_cast<Word>(std::int64_t{coverage} * style.opacity >> 16)
                       : reference::CoverageWeight(coverage);
    }
    if (kind.sampling == KSamplingCopy && kind.aa && kind.opacity && kind.alpha) {
      const Word weak = reference::Scale(s, opacity);
      return reference::Composite(d, weak, true, reference::CoverageWeight(coverage));
    }
    return reference::Composite(d, s, kind.alpha, w);
  }

 private:
  Word At(std::int64_t byte) const {
    Word word = 0;
    EXPECT_TRUE(byte >= 0 && byte + 4 <= std::int64_t{p.stride} * p.height);
    std::memcpy(&word, p.pixels + byte, sizeof word);
    return word;
  }
  Word At(std::int64_t column, std::int64_t row) const { return At(row * p.stride + column * 4); }
  static std::int64_t Mod(std::int64_t a, std::int64_t b) { return (a % b + b) % b; }
  std::int64_t Index(std::int64_t i, std::int64_t count) const {
    return kind.rule == KRepeatTile ? Mod(i, count) : std::clamp<std::int64_t>(i, 0, count - 1);
  }

  Word Sample(std::int64_t k) const {
    std::int64_t x = u + k * du, y = v + k * dv;
    if (kind.sampling == KSamplingCopy)
      return At(Index((u >> 16) + k, width), Index(v >> 16, height));
    if (kind.rule == KRepeatTile) {
      x = Mod(x, width << 16), y = Mod(y, height << 16);
    } else {
      x = static_cast<std::int32_t>(static_cast<Word>(x)),
      y = static_cast<std::int32_t>(static_cast<Word>(y));
    }
    if (kind.sampling == KSamplingNearest) return At(Index(x >> 16, width), Index(y >> 16, height));
    return kind.sampling == KSamplingBilinear ? Bilinear(x, y) : Bicubic(x, y);
  }

  Word Bilinear(std::int64_t x, std::int64_t y) const {
    const bool tile = kind.rule == KRepeatTile;
    const std::int64_t c = Index(x >> 16, width), r = Index(y >> 16, height);
    const bool right = x >= 0 && c < width - 1, down = y >= 0 && r < height - 1;
    const std::int64_t cr = right ? c + 1 : tile ? 0 : c;
    const auto fx = static_cast<Word>(((x & 0xFFFF) * 256 + 0x7F00) >> 16);
    const auto fy = static_cast<Word>(((y & 0xFFFF) * 256 + 0x7F00) >> 16);
    const auto lower = [&](std::int64_t column) { return At(column, down ? r + 1 : tile ? 0 : r); };
    return reference::Lerp(reference::Lerp(At(c, r), At(cr, r), fx),
                           reference::Lerp(lower(c), lower(cr), fx), fy);
  }

  static std::int64_t BicubicWeight(std::int64_t f, std::size_t tap) {
    const std::int32_t* line = &KTables::KBicubic[static_cast<std::size_t>(f >> 11) * 8 + 2 * tap];
    return (line[0] * f >> 16) + line[1];
  }

  Word Bicubic(std::int64_t x, std::int64_t y) const {
    Word channels[4];
    for (int c = 0; c < 4; ++c) {
      std::int64_t sum = 0;
      for (std::size_t j = 0; j < 4; ++j) {
        std::int64_t line = 0;
        for (std::size_t i = 0; i < 4; ++i) {
          const Word s = At(Index((x >> 16) + static_cast<int>(i) - 1, width),
                            Index((y >> 16) + static_cast<int>(j) - 1, height));
          line += reference::Channel(s, c) * BicubicWeight(x & 0xFFFF, i);
        }
        sum += line * BicubicWeight(y & 0xFFFF, j) >> 16;
      }
      channels[c] = static_cast<Word>((std::clamp<std::int64_t>(sum, 0, 0xFF0000) + 0x7F00) >> 16);
    }
    if (kind.alpha) {
      for (int c = 0; c < 3; ++c) channels[c] = std::min(channels[c], channels[3]);
    } else if (kind.opaqueLayout) {
      channels[3] = 0;
    }
    return channels[3] << 24 | channels[2] << 16 | channels[1] << 8 | channels[0];
  }

  const Kind& kind;
  const KStyleContext2D& style;
  const KSoftPixmap& p;
  std::int64_t width, height;
  std::int32_t u, v, du, dv = 0;
};

/// A transform as pictures use it, or of any words at all.
KSoftMatrix3D AnyTransform(Random& random, const KSoftPixmap& p, bool translation) {
  KSoftMatrix3D m;
  const auto reach = [&](std::uint32_t size) {
    return random.Between(-3, static_cast<int>(size) + 3) * 0x10000 + random.Between(0, 0xFFFF);
  };
  const auto word = [&] { return Fixed(static_cast<std::int32_t>(random.Word())); };
  const KVertex2D to{Fixed(reach(p.width)), Fixed(reach(p.height))};
  if (translation) {
    if (random.OneIn(8)) return m;
    m.Translate(random.OneIn(8) ? KVertex2D{word(), word()} : to);
    return m;
  }
  switch (random.Below(5)) {
    case 0:  // along the rows
      m.Set(Fixed(random.Between(-0x30000, 0x30000)), Fixed(0), Fixed(0), Fixed(0x10000), to.x,
            to.y);
      break;
    case 1:
      m.Set(word(), word(), word(), word(), word(), word());
      break;
    case 2:  // a quarter turn, nearly
      m.Set(Fixed(random.Between(-2, 2)), Fixed(-0x10000), Fixed(0x10000), Fixed(0), to.x, to.y);
      break;
    default:
      m.Set(Fixed(random.Between(-0x18000, 0x18000)), Fixed(random.Between(-0x18000, 0x18000)),
            Fixed(random.Between(-0x100, 0x100)), Fixed(random.Between(-0x100, 0x100)), to.x, to.y);
      break;
  }
  m.identity = m.linearIdentity = 0;
  return m;
}

/// All fillers of a sampling, as they are chosen for pixmaps and paints.
void FollowTheRules(KSampling sampling) {
  Random random(sampling);
  for (int round = 0; round < 6400; ++round) {
    Span span(random, random.Between(1, round % 20 ? 30 : 300));
    const auto side = [&] { return 1 + random.Below(random.OneIn(6) ? 2 : 30); };
    const unsigned width = side(), height = side();
    unsigned stride = 4 * (width + (random.OneIn(3) ? random.Below(4) : 0));
    if (random.OneIn(12)) stride = 4 * (1 + random.Below(width));  // rows that overlap
    const GuardedBuffer memory(std::size_t{stride} * height);
    for (std::size_t i = 0; i + 4 <= memory.size(); i += 4) {
      const Word pixel = Span::Pixel(random);
      std::memcpy(memory.data() + i, &pixel, sizeof pixel);
    }
    KSoftPixmap p;
    p.Create(width, height, KFormat8888PM, memory.data(), stride);
    p.hasAlpha = random.OneIn(2);
    p.repeatRule = random.OneIn(2) ? KRepeatTile : KRepeatClamp;
    // A translation copies, whatever the quality.
    p.quality = sampling == KSamplingCopy ? static_cast<KSampling>(random.Below(3)) : sampling;
    KPaint paint;
    paint.pixmap = &p;
    paint.opacity = random.OneIn(2) ? random.Between(256, 300) : random.Between(-10, 255);
    span.style.paint = &paint;
    const bool plain = random.OneIn(8), opaqueLayout = random.OneIn(2);
    for (int i = 0; i < 10; ++i) {
      span.Renew(random);
      if (random.OneIn(2)) span.style.y = random.Between(0, 30);
      p.transform = AnyTransform(random, p, sampling == KSamplingCopy);
      Flags.IgnoreAlpha = plain;
      const Fillers fillers = Init(span.style, KPaintPixmap, opaqueLayout);
      Flags.IgnoreAlpha = false;
      const bool aa = i % 2;
      const Kind kind{opaqueLayout,         aa,       !plain && paint.opacity < 256,
                      !plain && p.hasAlpha, sampling, p.repeatRule};
      const Reference reference(kind, span.style);
      ASSERT_TRUE(span.Check(aa ? fillers.coverage : fillers.solid,
                             [&](int x, Word d) { return reference.Pixel(x, d); }))
          << "rule " << kind.rule << " aa " << aa << " opacity " << paint.opacity << " alpha "
          << kind.alpha << " of " << p.width << " x " << p.height << " stride " << p.stride
          << " matrix " << p.transform.m0.raw << ' ' << p.transform.m1.raw;
    }
  }
}

TEST(PatternFillers, Nearest) { FollowTheRules(KSamplingNearest); }
TEST(PatternFillers, Bilinear) { FollowTheRules(KSamplingBilinear); }
TEST(PatternFillers, Bicubic) { FollowTheRules(KSamplingBicubic); }
TEST(PatternFillers, Copy) { FollowTheRules(KSamplingCopy); }

/// What is selected for a pixmap.
Fillers Select(const KSoftPixmap* p) {
  KPaint paint;
  paint.pixmap = p;
  KStyleContext2D style;
  style.paint = &paint;
  return Init(style, KPaintPixmap);
}

TEST(PatternSelection, QualitiesThatAreNoneLeaveTheFillers) {
  KSoftPixmap p;
  p.Create(4, 4, KFormat8888PM);
  p.transform.Rotate(Fixed(30 * 0x10000));
  for (int quality : {3, 4, 5, 77}) {
    p.quality = static_cast<KSampling>(quality);
    EXPECT_EQ(Select(&p), Fillers());
  }
}

TEST(PatternSelection, NothingToReadDrawsNothing) {
  Word pixels[16];
  std::fill_n(pixels, 16, 0xFFFFFFFF);
  const struct {
    unsigned width, height, stride;
    KFormat format;
    bool memory;
  } rows[] = {
      {0, 4, 16, KFormat8888PM, true}, {4, 0, 16, KFormat8888PM, true},
      {4, 4, 3, KFormat8888PM, true},  {4, 4, 16, KFormatMask8, true},
      {4, 4, 16, KFormat16, true},     {4, 4, 16, KFormat8888PM, false},
  };
  Random random(3);
  Span span(random, 20);
  span.SetSpan(0, 20, 0);
  const auto draws = [&](KFiller filler) {
    return !filler || !span.Check(filler, [](int, Word d) { return d; });
  };
  for (const auto& row : rows) {
    KSoftPixmap p;
    p.Create(row.width, row.height, row.format, pixels, row.stride);
    if (!row.memory) p.pixels = nullptr;
    span.style.source = &p;
    const Fillers fillers = Select(&p);
    EXPECT_FALSE(draws(fillers.solid) || draws(fillers.coverage)) << &row - rows;
  }
  EXPECT_FALSE(draws(Select(nullptr).solid));
}

/// Pixmaps larger than 16.16 coordinates reach are read up to there.
TEST(PatternFillers, WidePixmaps) {
  KSoftPixmap p;
  p.Create(40000, 2, KFormat0888PM);
  p.repeatRule = KRepeatTile;
  p.quality = KSamplingNearest;
  for (unsigned x = 0; x < 40000; ++x) p.Row32(0)[x] = p.Row32(1)[x] = x;
  Random random(4);
  Span span(random, 100);
  span.style.source = &p;
  for (int start : {-50, 0, 32700, 32767}) {
    p.transform.Set(Fixed(0x10000), Fixed(0), Fixed(0), Fixed(0x10000), Fixed(start * 0x10000),
                    Fixed(0));
    for (const bool copies : {false, true}) {
      p.transform.linearIdentity = copies;
      span.SetSpan(0, 100, 0);
      EXPECT_TRUE(span.Check(Select(&p).solid, [&](int x, Word) {
        return static_cast<Word>(start + x + 32768) % 32768;
      }));
    }
  }
}

TEST(BicubicSample, IsWhatTheFillersShow) {
  KSoftPixmap p;
  p.Create(5, 5, KFormat8888PM);
  p.quality = KSamplingBicubic;
  Random random(9);
  Span span(random, 30);
  span.style.source = &p;
  for (unsigned i = 0; i < 25; ++i) p.Row32(i / 5)[i % 5] = Span::Premultiplied(random.Next());
  const KFixed left = Fixed(-0x9ABCDE), top = Fixed(0x12345);
  p.hasAlpha = false;
  p.transform.Set(Fixed(0x10000), Fixed(0), Fixed(0), Fixed(0x10000), left, top);
  p.transform.linearIdentity = 0;
  for (const auto rule : {KRepeatClamp, KRepeatTile}) {
    p.repeatRule = rule;
    span.SetSpan(0, 30, 0);
    EXPECT_TRUE(span.Check(Select(&p).solid, [&](int x, Word) {
      using Clamp = KPatternSampling<KColor_8888_PM, false, false, false, KRepeatClamp>;
      using Tile = KPatternSampling<KColor_8888_PM, false, false, false, KRepeatTile>;
      KVertex2D at{KFixed::FromInt(x) + left - Fixed(0x8000), top - Fixed(0x8000)};
      return rule == KRepeatTile ? Tile::BicubicSample(&p, at) : Clamp::BicubicSample(&p, at);
    }));
  }
}

}  // namespace
