// Fallback tables: what they say, who shares them, and how a font context uses them.
#include <algorithm>
#include <cstdlib>
#include <map>

#include <gtest/gtest.h>

#include "kalvora/text/KFTFallback.h"

#include "tests/common/Random.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"

namespace {

KArray<KFTFontRange> Array(std::vector<KFTFontRange>& ranges) {
  return {static_cast<std::uint32_t>(ranges.size()), ranges.data()};
}

int Instances() {
  int count = 0;
  for (const KFTFallback* f = KFTFallback::InstanceList; f; f = f->next) ++count;
  return count;
}

TEST(Fallback, TablesStayWithAFontAsLongAsTheyCan) {
  Fonts f;
  KFTFont empty;
  const FontList lists[] = {{&f.latin},
                            {&f.latin, &f.cjk, &f.symbols},
                            {&f.symbols, &f.cjk, &f.latin},
                            {&empty, nullptr, &f.cjk},
                            {&empty}};
  for (const FontList& list : lists) {
    const FreeTypeCalls calls;
    KFTFallback* table = KFTFallback::Instance(&list.array, nullptr);
    const int looked = calls.lookups;
    const auto loaded = std::count_if(list.fonts.begin(), list.fonts.end(),
                                      [](const KFTFont* font) { return font && font->face; });
    EXPECT_LE(looked, loaded * 0xFFFE);  // codes 0 and 65535 are not looked up
    const auto has = [&](unsigned font, unsigned code) {
      const KFTFont* from = list.fonts[font];
      return from && from->Exists(static_cast<unsigned short>(code));
    };
    unsigned expected = 0;
    unsigned runs = 1;
    ASSERT_EQ(table->GetFont(0), 0);
    for (unsigned code = 1; code < 0xFFFF; ++code) {
      if (!has(expected, code)) {
        unsigned other = 0;
        while (other < list.fonts.size() && !has(other, code)) ++other;
        if (other < list.fonts.size()) expected = other, ++runs;
      }
      ASSERT_EQ(table->GetFont(static_cast<unsigned short>(code)), expected) << code;
    }
    EXPECT_EQ(table->GetFont(0xFFFF), expected);
    EXPECT_EQ(table->tableCount, runs);
    EXPECT_EQ(table->GlyphExists(0, 'A'), has(0, 'A'));
    EXPECT_FALSE(table->GlyphExists(static_cast<unsigned>(list.fonts.size()), 'A'));
    KFTFallback::Release(table);
  }
}

TEST(Fallback, BothSearchesFindTheSameRun) {
  Random random(1);
  for (unsigned count = 0; count <= 70; ++count) {
    std::map<std::uint16_t, std::uint16_t> runs;
    if (count > 0) runs[0] = 0;
    while (runs.size() < count) {
      runs[static_cast<std::uint16_t>(random.Below(count % 2 ? 0x10000 : 200))] =
          static_cast<std::uint16_t>(random.Next());
    }
    KFTFallback fallback;
    fallback.table = static_cast<KFTFallback::Run*>(std::malloc(sizeof(KFTFallback::Run) * 70));
    for (const auto& [start, font] : runs) fallback.table[fallback.tableCount++] = {start, font};
    for (unsigned code = 0; code < 0x10000; code += code < 300 ? 1 : 61) {
      const auto ch = static_cast<unsigned short>(code);
      const auto next = runs.upper_bound(ch);
      const unsigned expected = count > 0 ? std::prev(next)->second : 0;
      ASSERT_EQ(fallback.BinarySearch(ch), expected) << count << " runs, code " << code;
      ASSERT_EQ(fallback.LinearSearch(ch), expected) << count << " runs, code " << code;
    }
    EXPECT_EQ(fallback.GetFont('A'), 0);  // there are no fonts
  }
}

TEST(Fallback, RangesComeFirst) {
  Fonts f;
  const FontList list{&f.latin, &f.cjk};
  std::vector<KFTFontRange> ranges = {
      {'A', 'M', 1, 0}, {'K', 'Z', 0, 0}, {'a', 'a', 9, 0}, {'z', 'x', 1, 0}, {0, 0, 1, 0}};
  const KArray<KFTFontRange> array = Array(ranges);
  KFTFontContext context;
  context.SetFont(&f.symbols);
  context.SetFallbackFonts(&list.array, &array);
  struct Case {
    char16_t code;
    const KFTFont* font;
  };
  const Case cases[] = {
      {u'A', &f.cjk},   {u'M', &f.cjk},   {u'N', &f.latin}, {u'a', nullptr},  // no such font
      {u'b', &f.latin}, {u'y', &f.latin}, {0, &f.cjk},      {kOnlyCjk, &f.cjk}};
  for (const Case& c : cases) EXPECT_EQ(context.GetFallback(c.code), c.font) << int{c.code};
  context.SetFallbackFont(&f.symbols);  // overrides all of it
  for (const Case& c : cases) EXPECT_EQ(context.GetFallback(c.code), &f.symbols);
}

TEST(Fallback, EqualConfigurationsShareATable) {
  ASSERT_EQ(KFTFallback::InstanceList, nullptr);
  Fonts a, b;
  const FontList first{&a.latin, &a.cjk}, same{&b.latin, &b.cjk}, swapped{&b.cjk, &b.latin};
  std::vector<KFTFontRange> ranges = {{'A', 'Z', 0, 1}}, like = {{'A', 'Z', 0, 2}},
                            unlike = {{'A', 'Z', 1, 1}}, none;
  const KArray<KFTFontRange> rangesArray = Array(ranges), likeArray = Array(like),
                             unlikeArray = Array(unlike), noneArray = Array(none);
  KFTFallback* table = KFTFallback::Instance(&first.array, nullptr);
  EXPECT_EQ(table->refCount, 1);
  struct Case {
    const FontList* fonts;
    const KArray<KFTFontRange>* ranges;
    bool shared;
  };
  const Case cases[] = {{&same, nullptr, true},
                        {&same, &noneArray, true},
                        {&swapped, nullptr, false},
                        {&same, &rangesArray, false}};
  for (const Case& c : cases) {
    KFTFallback* other = KFTFallback::Instance(&c.fonts->array, c.ranges);
    EXPECT_EQ(other == table, c.shared);
    EXPECT_EQ(table->refCount, c.shared ? 2 : 1);
    EXPECT_EQ(Instances(), c.shared ? 1 : 2);
    KFTFallback::Release(other);
    EXPECT_EQ(Instances(), 1);
  }
  KFTFallback* ranged = KFTFallback::Instance(&first.array, &rangesArray);
  EXPECT_TRUE(ranged->Matches(&same.array, &likeArray));  // the last word does not count
  EXPECT_FALSE(ranged->Matches(&same.array, &unlikeArray));
  EXPECT_FALSE(ranged->Matches(&same.array, nullptr));
  EXPECT_FALSE(ranged->Matches(nullptr, &likeArray));
  EXPECT_GT(ranged->id, table->id);
  KFTFallback::Release(table);
  KFTFallback::Release(table);  // not one any more
  KFTFallback::Release(nullptr);
  EXPECT_EQ(Instances(), 1);
  KFTFallback::Release(ranged);
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
  EXPECT_EQ(KFTFallback::Instance(nullptr, nullptr), nullptr);
}

TEST(Fallback, TablesOutliveTheirFontsAndNeverTakeOthersForThem) {
  KFTFallback* table = nullptr;
  OnThread([&] {
    Fonts f;
    const FontList list{&f.latin, &f.cjk};
    table = KFTFallback::Instance(&list.array, nullptr);
  });
  EXPECT_EQ(table->GetFont(kOnlyCjk), 1);
  OnThread([&] {
    Fonts f;  // the same files, mapped anew
    const FontList list{&f.latin, &f.cjk};
    EXPECT_FALSE(table->Matches(&list.array, nullptr));
    KFTFallback* other = KFTFallback::Instance(&list.array, nullptr);
    EXPECT_NE(other, table);
    EXPECT_TRUE(f.latin.LoadFont(kSerif, 0));
    EXPECT_FALSE(other->Matches(&list.array, nullptr));
    KFTFallback::Release(other);
  });
  KFTFallback::Release(table);
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
}

TEST(Fallback, ContextsKeepReplaceAndReleaseTables) {
  Fonts f;
  const FontList both{&f.latin, &f.cjk}, one{&f.symbols}, nobody{nullptr, nullptr};
  const KArray<KFTFont*> hollow = {3, nullptr};
  std::vector<KFTFontRange> ranges = {{'A', 'Z', 1, 0}};
  const KArray<KFTFontRange> array = Array(ranges);
  {
    KFTFontContext context, other;
    context.SetFallbackFonts(&both.array, &array);
    other.SetFallbackFonts(&both.array, &array);
    KFTFallback* const table = context.fallback;
    EXPECT_EQ(table->refCount, 2);
    {
      FreeTypeCalls calls;
      context.SetFallbackFonts(&both.array, &array);
      context.SetFallbackFonts(&context.fallbackFonts, &table->ranges);  // its own
      EXPECT_EQ(calls.lookups, 0);
    }
    EXPECT_EQ(context.fallback, table);
    EXPECT_EQ(table->refCount, 2);
    EXPECT_EQ(context.GetFallback('A'), &f.cjk);
    context.SetFallbackFonts(&context.fallbackFonts, nullptr);
    EXPECT_EQ(context.GetFallback('A'), &f.latin);
    EXPECT_EQ(table->refCount, 1);
    context.SetFallbackFonts(&one.array, nullptr);
    EXPECT_EQ(context.GetFallback('A'), &f.symbols);
    context.SetFallbackFonts(&nobody.array, nullptr);
    EXPECT_EQ(context.GetFallback('A'), nullptr);
    for (const KArray<KFTFont*>* nothing :
         {static_cast<const KArray<KFTFont*>*>(nullptr), &hollow}) {
      context.SetFallbackFonts(&both.array, nullptr);
      context.SetFallbackFonts(nothing, &array);
      EXPECT_EQ(context.fallback, nullptr);
      EXPECT_EQ(context.fallbackFonts.count, 0u);
      EXPECT_EQ(context.GetFallback('A'), nullptr);
    }
    EXPECT_EQ(Instances(), 1);
  }
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
}

TEST(Fallback, HeightsAreTheTallestAtThePrimarySize) {
  Fonts f;
  KFTFontContext context;
  const FontList list{&f.latin, nullptr, &f.symbols};
  const auto heights = [&] {
    KFixed height = Px(-1), fallbackHeight = Px(-1);
    context.GetHeight(&height, nullptr);
    context.GetHeight(nullptr, &fallbackHeight);
    return std::pair(height, fallbackHeight);
  };
  context.SetFallbackFonts(&list.array, nullptr);
  EXPECT_EQ(heights(), std::pair(Px(0), Px(0)));
  context.SetFont(&f.cjk);
  f.cjk.SetFontSize(Px(50));
  const auto [height, fallbackHeight] = heights();
  EXPECT_EQ(f.latin.size, Px(50));
  EXPECT_EQ(f.symbols.size, Px(50));
  EXPECT_EQ(height, f.cjk.height);
  EXPECT_EQ(fallbackHeight, std::max(f.latin.height, f.symbols.height));
  EXPECT_NE(f.latin.height, f.symbols.height);
  context.SetFallbackFont(&f.latin);
  EXPECT_EQ(heights(), std::pair(f.cjk.height, f.latin.height));
}

}  // namespace
