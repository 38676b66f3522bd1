// Fallback tables: what they say, who shares them, and how a font context uses them.
#include <cstdlib>
#include <map>

#include <gtest/gtest.h>

#include "kalvora/text/KFTFallback.h"

#include "tests/common/Random.h"
#include "tests/text/calls.h"
#include "tests/text/fonts.h"
#include "tests/text/reference.h"

namespace {

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
    EXPECT_LE(calls.lookups, static_cast<int>(list.items.size()) * 0xFFFE);  // not 0 and 65535
    const auto has = [&](unsigned font, unsigned code) {
      const KFTFont* from = list.items[font];
      return from && from->Exists(static_cast<unsigned short>(code));
    };
    unsigned expected = 0;
    unsigned runs = 1;
    ASSERT_EQ(table->GetFont(0), 0);
    for (unsigned code = 1; code < 0xFFFF; ++code) {
      if (!has(expected, code)) {
        unsigned other = 0;
        while (other < list.items.size() && !has(other, code)) ++other;
        if (other < list.items.size()) expected = other, ++runs;
      }
      ASSERT_EQ(table->GetFont(static_cast<unsigned short>(code)), expected) << code;
    }
    EXPECT_EQ(table->GetFont(0xFFFF), expected);
    EXPECT_EQ(table->tableCount, runs);
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
  const RangeList ranges{
      {'A', 'M', 1, 0}, {'K', 'Z', 0, 0}, {'a', 'a', 9, 0}, {'z', 'x', 1, 0}, {0, 0, 1, 0}};
  KFTFontContext& context = f.setting;
  context.SetFallbackFonts(&list.array, &ranges.array);
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
  const FontList fonts{&a.latin, &a.cjk}, same{&b.latin, &b.cjk}, swapped{&b.cjk, &b.latin};
  const RangeList ranges{{'A', 'Z', 0, 1}}, none{};
  const RangeList like{{'A', 'Z', 0, 2}};  // the last word does not count
  const RangeList unlike{{'A', 'Z', 1, 1}}, more{{'A', 'Z', 0, 1}, {'a', 'z', 0, 1}};
  KFTFallback* const plain = KFTFallback::Instance(&fonts.array, nullptr);
  KFTFallback* const ranged = KFTFallback::Instance(&fonts.array, &ranges.array);
  EXPECT_GT(ranged->id, plain->id);
  struct Case {
    const FontList* fonts;
    const RangeList* ranges;
    KFTFallback* shared;
  };
  const Case cases[] = {{&same, nullptr, plain},   {&same, &none, plain},
                        {&same, &like, ranged},    {&same, &unlike, nullptr},
                        {&same, &more, nullptr},   {&swapped, nullptr, nullptr},
                        {&swapped, &like, nullptr}};
  for (const Case& c : cases) {
    KFTFallback* const other =
        KFTFallback::Instance(&c.fonts->array, c.ranges ? &c.ranges->array : nullptr);
    EXPECT_EQ(Instances(), c.shared ? 2 : 3);
    EXPECT_EQ(other->refCount, c.shared ? 2 : 1);
    EXPECT_TRUE(!c.shared || other == c.shared);
    KFTFallback::Release(other);
    EXPECT_EQ(Instances(), 2);
  }
  EXPECT_FALSE(plain->Matches(nullptr, nullptr));
  EXPECT_EQ(KFTFallback::Instance(nullptr, nullptr), nullptr);
  KFTFallback::Release(plain);
  KFTFallback::Release(plain);  // not one any more
  KFTFallback::Release(nullptr);
  EXPECT_EQ(Instances(), 1);
  KFTFallback::Release(ranged);
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
}

TEST(Fallback, TablesOutliveTheirFontsAndNeverTakeOthersForThem) {
  KFTFallback* tables[2];  // of the same files, mapped anew
  for (KFTFallback*& table : tables) {
    OnThread([&] {
      Fonts f;
      const FontList list{&f.latin, &f.cjk};
      table = KFTFallback::Instance(&list.array, nullptr);
      EXPECT_TRUE(f.latin.LoadFont(kSerif, 0));
      EXPECT_FALSE(table->Matches(&list.array, nullptr));
    });
  }
  EXPECT_NE(tables[0], tables[1]);
  EXPECT_EQ(tables[0]->GetFont(kOnlyCjk), 1);
  for (KFTFallback* table : tables) KFTFallback::Release(table);
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
}

TEST(Fallback, ContextsKeepReplaceAndReleaseTables) {
  Fonts f;
  const FontList both{&f.latin, &f.cjk}, one{&f.symbols}, nobody{nullptr, nullptr};
  const KArray<KFTFont*> hollow = {3, nullptr};
  const RangeList ranges{{'A', 'Z', 1, 0}};
  {
    KFTFontContext context, other;
    other.SetFallbackFonts(&both.array, &ranges.array);
    context.SetFallbackFonts(&both.array, &ranges.array);
    KFTFallback* const table = context.fallback;
    const FreeTypeCalls calls;
    context.SetFallbackFonts(&both.array, &ranges.array);
    context.SetFallbackFonts(&context.fallbackFonts, &table->ranges);  // its own
    EXPECT_EQ(calls.lookups, 0);
    EXPECT_EQ(context.fallback, table);
    EXPECT_EQ(table->refCount, 2);
    struct Case {
      const KArray<KFTFont*>* fonts;
      const KArray<KFTFontRange>* ranges;
      const KFTFont* font;  // for A
    };
    const Case cases[] = {{&context.fallbackFonts, &ranges.array, &f.cjk},
                          {&context.fallbackFonts, nullptr, &f.latin},
                          {&one.array, nullptr, &f.symbols},
                          {&nobody.array, nullptr, nullptr},
                          {&both.array, nullptr, &f.latin},
                          {nullptr, &ranges.array, nullptr},
                          {&both.array, nullptr, &f.latin},
                          {&hollow, &ranges.array, nullptr}};
    for (const Case& c : cases) {
      context.SetFallbackFonts(c.fonts, c.ranges);
      EXPECT_EQ(context.GetFallback('A'), c.font) << &c - cases;
    }
    EXPECT_EQ(context.fallback, nullptr);
    EXPECT_EQ(context.fallbackFonts.count, 0u);
    EXPECT_EQ(table->refCount, 1);
    EXPECT_EQ(Instances(), 1);
  }
  EXPECT_EQ(KFTFallback::InstanceList, nullptr);
}

TEST(Fallback, HeightsAreTheTallestAtThePrimarySize) {
  Fonts f;
  KFTFontContext context;
  const FontList list{&f.symbols, nullptr, &f.latin};  // the taller one first
  context.SetFallbackFonts(&list.array, nullptr);
  const auto expect = [&](KFixed height, KFixed fallbackHeight) {
    KFixed both[2] = {Px(-1), Px(-1)};
    context.GetHeight(&both[0], nullptr);
    context.GetHeight(nullptr, &both[1]);
    EXPECT_EQ(both[0], height);
    EXPECT_EQ(both[1], fallbackHeight);
  };
  expect(Px(0), Px(0));
  context.SetFont(&f.cjk);
  f.cjk.SetFontSize(Px(50));
  const KFixed latin = Reference(kLatin, 50).Height(), symbols = Reference(kSymbols, 50).Height();
  EXPECT_LT(latin, symbols);
  expect(f.cjk.height, symbols);
  context.SetFallbackFont(&f.latin);
  expect(f.cjk.height, latin);
}

}  // namespace
