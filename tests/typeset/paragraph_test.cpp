// Paragraphs: lines, places, edits, and what no font or no width can spoil.
#include <algorithm>
#include <set>
#include <thread>
#include <tuple>

#include "kalvora/kalvora.h"

#include "tests/common/Allocations.h"
#include "tests/common/Random.h"
#include "tests/typeset/faces.h"

namespace {

// Words, spaces, digits, brackets, marks and line ends of every kind of script, and bytes that are
// no UTF-8.
const char* const kBits[] = {"a",        "fi",     "AV",
                             "office",   " ",      "  ",
                             "\t",       "\n",     "\r\n",
                             ".",        ",",      "(",
                             ")",        "1",      "25",
                             "-",        "%",      "é",
                             "x̂",        "א",      "שלום",
                             "ב",        "ا",      "لا",
                             "سلام",     "٣",      "क्ष",
                             "हिन्दी",    "ที่",      "น้ำ",
                             "கொ",       "中",     "。",
                             "「",       "あ",     "한",
                             "글",       "😀",      "👨‍👩‍👧",
                             "🇩🇪",       "\u00AD", "\u00A0",
                             "\u200B",   "\u200D", "\u202E",
                             "\u2067",   "\u2069", "\xFF",
                             "\xE4\xB8", "\u0007", "\u0301"};

std::string RandomText(Random& random, unsigned most) {
  std::string text;
  for (unsigned n = random.Below(most); n > 0; --n) text += kBits[random.Below(std::size(kBits))];
  return text;
}

KParagraphFormat RandomFormat(Random& random) {
  KParagraphFormat format;
  format.width = random.OneIn(4) ? KUnlimited : KPixels(random.Between(-20, 400));
  format.align = static_cast<KTextAlign>(random.Below(4));
  format.direction = static_cast<KTextDirection>(random.Below(3));
  format.maxLines = random.OneIn(4) ? random.Between(1, 4) : 0;
  format.wrap = !random.OneIn(5);
  format.ellipsis = random.OneIn(3);
  return format;
}

// Clusters on a line that take space and are no spaces.
std::size_t CountSeen(const KParagraph& p, std::size_t index) {
  std::set<std::size_t> seen;
  for (const KPlacedGlyph& glyph : p.GlyphsOf(index)) {
    const bool blank = static_cast<unsigned char>(p.Text()[glyph.offset]) <= ' ';
    if (!blank && !p.SelectionBoxes(glyph.offset, p.NextPlace(glyph.offset)).empty()) {
      seen.insert(glyph.offset);
    }
  }
  return seen.size();
}

// What holds for every text and format.
void ExpectSound(const KParagraph& p) {
  const std::string& text = p.Text();
  const KParagraphFormat& format = p.Format();
  const KLength most = std::max<KLength>(format.width, 0);
  std::size_t at = 0;
  KLength top = 0, right = 0;
  for (std::size_t i = 0; i < p.LineCount(); ++i) {
    const KTextLine line = p.LineAt(i);
    ASSERT_EQ(line.begin, at);
    ASSERT_EQ(line.top, top);
    ASSERT_LE(line.width, p.Width());
    at = line.end;
    top += line.height;
    right = std::max(right, line.width);
    if (line.width > most && (format.wrap || format.ellipsis)) {
      ASSERT_LE(CountSeen(p, i), 1u) << "line " << i;
    }
    // All of it selected covers what is seen.
    KLength covered = 0;
    for (const KSelectionBox& box : p.SelectionBoxes(line.begin, line.end)) {
      if (box.top == line.top) covered += box.right - box.left;
    }
    ASSERT_GE(covered, line.width) << "line " << i;
  }
  ASSERT_EQ(top, p.Height());
  ASSERT_EQ(right, p.Width());
  ASSERT_TRUE(at == text.size() || !p.IsComplete());
  for (std::size_t i = 0; i < text.size(); i = p.NextPlace(i)) {
    ASSERT_GT(p.NextPlace(i), i);
    ASSERT_EQ(p.PreviousPlace(p.NextPlace(i)), i);
    if (!p.IsComplete()) continue;
    // Who clicks on a caret gets one that stands there.
    const KCaret caret = p.CaretAt({i, false});
    const KTextHit hit = p.HitTest(caret.x, caret.top);
    ASSERT_LE(std::abs(p.CaretAt(hit.place).x - caret.x), 1) << "byte " << i;
    ASSERT_EQ(p.LineOf(hit.place), p.LineOf({i, false})) << "byte " << i;
  }
}

TEST(Paragraph, IsSoundWhateverItShows) {
  const Faces faces;
  for (std::uint64_t seed = 0; seed < 800; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    KParagraph p = faces.Set(RandomText(random, 60), random.Between(1, 40));
    p.SetFormat(RandomFormat(random));
    if (random.OneIn(3))
      p.SetStyle(random.Below(20), random.Below(60), {faces.all[6], KFixed::FromInt(9), {}});
    ExpectSound(p);
    if (HasFatalFailure()) return;
  }
  // In the least width nothing is broken within words.
  const std::string_view words = "mmmm\u00ADim mmmmi";
  KParagraph p = faces.Set(words, 20);
  p.SetFormat({.width = p.LeastWidth()});
  for (std::size_t i = 1; i < p.LineCount(); ++i) {
    EXPECT_TRUE(words[p.LineAt(i).begin - 1] == ' ' || words[p.LineAt(i).begin - 1] == '\xAD') << i;
  }
  // Sizes are held for lines without characters, too.
  EXPECT_EQ(faces.Set("", 30000).Height(), faces.Set("a", 4096).Height());
}

void ExpectSame(const KParagraph& a, const KParagraph& b) {
  ASSERT_EQ(a.LineCount(), b.LineCount());
  for (std::size_t i = 0; i < a.LineCount(); ++i) {
    const std::vector<KPlacedGlyph> ours = a.GlyphsOf(i), theirs = b.GlyphsOf(i);
    ASSERT_EQ(ours.size(), theirs.size()) << "line " << i;
    for (std::size_t k = 0; k < ours.size(); ++k) {
      const auto word = [](const KPlacedGlyph& g) {
        return std::tuple(g.face, g.size, g.index, g.x, g.y, g.offset);
      };
      ASSERT_EQ(word(ours[k]), word(theirs[k])) << "line " << i << ", glyph " << k;
    }
  }
}

TEST(Paragraph, EditsGiveWhatANewTextGives) {
  const Faces faces;
  const KTextStyle small = {faces.all[0], KFixed::FromInt(11), {}};
  for (std::uint64_t seed = 0; seed < 60; ++seed) {
    Random random(seed);
    // Some are longer than the runs that are shaped at once.
    std::string text = RandomText(random, seed % 10 == 0 ? 9000 : 50);
    const KLength width = KPixels(random.Between(50, 400));
    KParagraph edited = faces.Set(text, 20, width);
    for (int edit = 0; edit < 8; ++edit) {
      const std::size_t begin = random.Below(static_cast<unsigned>(text.size() + 1));
      const std::size_t end = std::min(text.size(), begin + random.Below(12));
      const std::string added = RandomText(random, 4);
      edited.Height();
      ASSERT_TRUE(edited.Replace(begin, end, added));
      text.replace(begin, end - begin, added);
      ASSERT_EQ(edited.Text(), text);
      ExpectSame(edited, faces.Set(text, 20, width));
      if (HasFatalFailure()) FAIL() << "seed " << seed << ", edit " << edit;
    }
  }
  // What is deleted at the beginning does not lend its glyphs.
  KParagraph front = faces.Set("ab", 20);
  front.SetStyle(0, 1, {faces.all[0], KFixed::FromInt(20), KColor32(255, 0, 0, 255)});
  front.Height();
  front.Replace(0, 1, "");
  ExpectSame(front, faces.Set("b", 20));
  // Styles go with their characters.
  KParagraph styled = faces.Set("one two three", 20);
  styled.SetStyle(4, 7, small);
  styled.Replace(0, 3, "first");
  styled.Replace(9, 9, "ooo");
  EXPECT_EQ(styled.Text(), "first twoooo three");
  for (std::size_t i = 0; i < styled.Text().size(); ++i) {
    EXPECT_EQ(styled.StyleAt(i) == small, i >= 6 && i < 12) << i;
  }
}

// A picture of a paragraph, drawn by `draw`.
template <typename Draw>
std::vector<std::uint32_t> Picture(Draw draw) {
  KSoftPixmap picture;
  picture.Create(300, 200, KFormat0888PM);
  KSoftContext2D context;
  EXPECT_TRUE(context.RenderToTexture(&picture));
  context.Clear(KColor32(255, 255, 255, 255));
  context.SetFillColor(KColor32(200, 0, 0, 255));
  draw(context);
  return {picture.Row32(0), picture.Row32(200)};
}

TEST(Paragraph, DrawsItsGlyphsAndTakesNothingFromTheHeap) {
  const Faces faces;
  KParagraph p =
      faces.Set("Kalvora, \u0633\u0644\u0627\u0645, \u05E9\u05DC\u05D5\u05DD, \u0E19\u0E49\u0E33",
                24, KPixels(150));
  p.SetStyle(2, 12, {faces.all[0], KFixed::FromInt(15), {}});
  const KVertex2D origin = {KFixed::FromInt(20), KFixed::FromInt(30)};
  const auto byHand = Picture([&](KSoftContext2D& context) {
    for (std::size_t line = 0; line < p.LineCount(); ++line) {
      for (const KPlacedGlyph& g : p.GlyphsOf(line)) {
        const auto fixed = [](KLength v) { return KFixed::FromRaw(static_cast<std::int32_t>(v)); };
        const KVertex2D pen = origin + KVertex2D{fixed(g.x), fixed(g.y)};
        g.face->Font().SetFontSize(g.size);
        context.DrawGlyphs(&g.face->Font(), &g.index, &pen, 1);
      }
    }
  });
  const auto drawn = Picture([&](KSoftContext2D& context) { p.Draw(context, origin); });
  EXPECT_EQ(drawn, byHand);
  EXPECT_GT(std::count_if(drawn.begin(), drawn.end(), [](auto w) { return w != 0xFFFFFFFF; }), 500);

  // In a colour of its own, and what has none in the paint that was there.
  p.SetStyle(0, 2, {faces.all[0], KFixed::FromInt(24), KColor32(0, 0, 200, 255)});
  const auto colored = Picture([&](KSoftContext2D& context) {
    p.Draw(context, origin);
    context.SetFillColor(KColor32(200, 0, 0, 255));
    const Allocations counted;
    p.Draw(context, origin);
    EXPECT_EQ(counted.Count(), 0);
  });
  for (const std::uint32_t color : {0xFFC80000u, 0xFF0000C8u}) {
    EXPECT_NE(std::find(colored.begin(), colored.end(), color), colored.end()) << color;
  }
}

TEST(Paragraph, WorkIsBounded) {
  const Faces faces;
  // A million letters without a space, wider than 16.16; a hundred thousand characters of a book,
  // of marks on one letter, of brackets, of one ligature after the other, of soft hyphens, of tabs.
  KParagraph p = faces.Set(std::string(1000000, 'm'), 20);
  EXPECT_GT(p.Width(), KPixels(10000000));
  p.SetFormat({.width = KPixels(100)});
  EXPECT_GT(p.LineCount(), 100000u);
  const auto repeat = [](std::string_view bit, int count) {
    std::string text;
    for (; count > 0; --count) text += bit;
    return text;
  };
  for (const char* bit :
       {"a word or two, ", "\u0301", "(", "\u05D0[", "ffi", "\u00AD", "\t", " ", "\n",
        "\u0644\u0627", "\u202B", "\u2067a", "\U0001F468\u200D", "\u0E33", "\u4E2D"}) {
    for (const KLength width : {KUnlimited, KPixels(200), KLength{0}}) {
      KParagraphFormat format;
      format.width = width;
      format.align = KAlignJustify;
      p.SetFormat(format);
      p.SetText(repeat(bit, static_cast<int>(100000 / std::string_view(bit).size())));
      EXPECT_GE(p.LineCount(), 1u);
      const std::size_t end = p.Text().size();
      p.SelectionBoxes(0, end);
      EXPECT_EQ(p.PreviousPlace(p.NextPlace(end)), p.PreviousPlace(end));
      p.HitTest(INT64_MIN, INT64_MAX);
      p.HitTest(INT64_MAX, INT64_MIN);
    }
  }
  EXPECT_FALSE(p.SetText(std::string(KParagraph::kLongest + 1, ' ')));
  EXPECT_FALSE(p.Replace(0, 0, std::string(KParagraph::kLongest, ' ')));
  EXPECT_NE(p.Text(), "");
}

TEST(Paragraph, ShowsNothingWithoutFonts) {
  KTypeface empty;
  for (KTypeface* face : {static_cast<KTypeface*>(nullptr), &empty}) {
    KParagraph p;
    p.SetText("any text\nat all");
    p.SetStyle({face, KFixed::FromRaw(INT32_MIN), {}});
    p.SetFallbacks(std::span(&face, 1));
    p.SetFormat({.width = KPixels(5), .align = KAlignJustify, .maxLines = 1, .ellipsis = true});
    EXPECT_EQ(p.Width(), 0);
    EXPECT_EQ(p.GlyphsOf(0).size(), 0u);
    EXPECT_EQ(p.CaretAt({3, true}).x, 0);
    const auto picture =
        Picture([&](KSoftContext2D& context) { p.Draw(context, KVertex2D::Origin); });
    EXPECT_EQ(std::count(picture.begin(), picture.end(), 0xFFFFFFFF), 300 * 200);
  }
  EXPECT_FALSE(empty.Load("/etc/passwd"));
  EXPECT_EQ(empty.LastError().code, KErrorNotAFont);
  EXPECT_STRNE(empty.LastError().text, "");
  EXPECT_FALSE(empty.Load(nullptr));
  EXPECT_FALSE(empty.Load(kFontFiles[0].c_str(), 1));
  EXPECT_FALSE(empty.LoadFromMemory("OTTO", 4));
  EXPECT_FALSE(empty.IsLoaded());
}

TEST(Paragraph, ThreadsSetTextSideBySide) {
  const std::string text =
      "Kalvora \u0633\u0644\u0627\u0645 \u0939\u093F\u0928\u094D\u0926\u0940 \u4E2D\u6587";
  std::vector<std::uint32_t> pictures[3];
  std::unique_ptr<Faces> orphans;
  std::vector<std::thread> threads;
  for (auto& picture : pictures) {
    threads.emplace_back([&] {
      auto faces = std::make_unique<Faces>();
      const KParagraph p = faces->Set(text, 20, KPixels(200));
      picture = Picture([&](KSoftContext2D& context) { p.Draw(context, KVertex2D::Origin); });
      if (&picture == pictures) orphans = std::move(faces);
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(pictures[0], pictures[1]);
  EXPECT_EQ(pictures[0], pictures[2]);
  // Typefaces whose thread has ended still measure, and draw nothing.
  const KParagraph p = orphans->Set(text, 20);
  EXPECT_GT(p.Width(), KPixels(100));
  const auto blank = Picture([&](KSoftContext2D& context) { p.Draw(context, KVertex2D::Origin); });
  EXPECT_EQ(std::count(blank.begin(), blank.end(), 0xFFFFFFFF), 300 * 200);
}

}  // namespace
