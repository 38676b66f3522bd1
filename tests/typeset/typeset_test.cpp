// The parts of kalvora-text, and the program.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <unistd.h>

#include "examples/common/Error.h"
#include "examples/text/Typesetter.h"
#include "examples/text/utf8.h"
#include "tests/common/Random.h"

namespace {

const std::vector<std::string> kFonts = {
    "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
    "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf",
    "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf"};

TEST(Utf8, DecodesAndReplaces) {
  struct Case {
    std::string bytes;
    std::u32string characters;
  };
  const Case cases[] = {
      {"", U""},
      {"a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", U"a\u00E9\u4E2D\U0001F600"},
      {std::string("\0\x7F", 2), std::u32string(U"\0\x7F", 2)},
      {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       U"\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"},
      {"\xC0\x80", U"\uFFFD\uFFFD"},            // written too long
      {"\xE0\x9F\xBF", U"\uFFFD\uFFFD\uFFFD"},  // likewise
      {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},  // a surrogate
      {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xF8z\xFF", U"\uFFFDz\uFFFD"},
      {"\xE4\xB8", U"\uFFFD"},  // cut off
      {"\xE4\xB8z\x80", U"\uFFFDz\uFFFD"},
  };
  for (const Case& c : cases) EXPECT_EQ(typeset::DecodeUtf8(c.bytes), c.characters) << c.bytes;
}

struct Setting {
  KSoftPixmap picture;
  KSoftContext2D context;
  typeset::Fonts fonts{kFonts, KFixed::FromInt(20), context};
  typeset::Typesetter setter{fonts, context, false};

  Setting() {
    picture.Create(600, 40, KFormat0888PM);
    EXPECT_TRUE(context.RenderToTexture(&picture));
    fonts.Use();
  }
  // The first and the last column that a line draws in.
  std::pair<unsigned, unsigned> Ink(std::u32string_view line) {
    const KVertex2D start = {KFixed::FromInt(10), KFixed::FromInt(30)};
    context.Clear({255, 255, 255, 255});
    EXPECT_EQ(setter.DrawLine(line, start, KFixed::FromInt(580)), 0);
    unsigned first = picture.width, last = 0;
    for (unsigned i = 0; i < picture.width * picture.height; ++i) {
      if (picture.Row32(0)[i] == 0xFFFFFFFF) continue;
      first = std::min(first, i % picture.width);
      last = std::max(last, i % picture.width);
    }
    return {first, last};
  }
};

std::vector<std::u32string> Lines(std::initializer_list<const char32_t*> lines) {
  return {lines.begin(), lines.end()};
}

TEST(Typesetter, BreaksWhereLinesMayEnd) {
  Setting s;
  const KFixed wide = KFixed::FromInt(10000), narrow = s.setter.Measure(U"one two");
  EXPECT_EQ(s.setter.BreakLines(U"", wide), Lines({U""}));
  EXPECT_EQ(s.setter.BreakLines(U"one two three", wide), Lines({U"one two three"}));
  EXPECT_EQ(s.setter.BreakLines(U"one two three", narrow), Lines({U"one two", U"three"}));
  EXPECT_EQ(s.setter.BreakLines(U"one two   on", narrow), Lines({U"one two", U"on"}));
  const KFixed four = s.setter.Measure(U"\u4E2D\u4E2D\u4E2D\u4E2D");
  EXPECT_EQ(s.setter.BreakLines(U"\u4E2D\u4E2D\u4E2D\u4E2D\u3002\u4E2D", four),
            Lines({U"\u4E2D\u4E2D\u4E2D", U"\u4E2D\u3002\u4E2D"}));  // the stop stays behind it
  EXPECT_EQ(s.setter.BreakLines(U"mmmmm", s.setter.Measure(U"mm")), Lines({U"mm", U"mm", U"m"}));
  EXPECT_EQ(s.setter.BreakLines(U"\U0001F600\U0001F600", kalvora::kOne),
            Lines({U"\U0001F600", U"\U0001F600"}));
}

TEST(Typesetter, LinesFitAndLoseNothingButSpaces) {
  Setting s;
  constexpr std::u32string_view kAlphabet =
      U"abcdeiilmw    .,\u4E2D\u6587\u3002\u300C\u300D\u2705"
      U"\U0001F600\u0416";
  const auto dense = [](std::u32string_view text) {
    std::u32string letters;
    for (const char32_t c : text) {
      if (c != U' ') letters += c;
    }
    return letters;
  };
  for (std::uint64_t seed = 0; seed < 150; ++seed) {
    Random random(seed);
    std::u32string text;
    for (unsigned n = random.Below(120); n > 0; --n) {
      text += kAlphabet[random.Below(static_cast<unsigned>(kAlphabet.size()))];
    }
    const KFixed width = KFixed::FromInt(random.Between(1, 300));
    std::u32string all;
    for (const std::u32string& line : s.setter.BreakLines(text, width)) {
      EXPECT_TRUE(s.setter.Measure(line) <= width || dense(line).size() == 1) << seed;
      all += line;
    }
    EXPECT_EQ(dense(all), dense(text)) << seed;
  }
}

TEST(Typesetter, ShapesWhatMustBeShaped) {
  Setting s;
  EXPECT_LT(s.Ink(U"Latin").second, 100u);
  const auto [first, last] = s.Ink(U"\u0633\u0644\u0627\u0645");
  EXPECT_GT(first, 500u);  // set from the right
  EXPECT_LE(last, 590u);

  typeset::Shaper& shaper = s.fonts.Primary().shaper;
  const typeset::ShapedRun word = shaper.Shape(U"\u0628\u0628\u0628");
  EXPECT_EQ(word.characters, U"\uFE90\uFE92\uFE91");  // final, medial, initial: left to right
  EXPECT_EQ(shaper.Shape(U"\u0644\u0627").characters.size(), 1u);  // a ligature
  const auto width = [&](std::u32string_view text) { return shaper.Shape(text).width; };
  EXPECT_LT(width(U"AV"), width(U"A") + width(U"V"));  // kerned
  EXPECT_EQ(width(U""), kalvora::kZero);
  EXPECT_EQ(shaper.Shape(U"x\u0302").positions.size(), 2u);
  EXPECT_EQ(typeset::Shaper::ScriptRun(U"ab \u0628"), 3u);
}

TEST(Program, SetsTheSampleAndRefusesTheRest) {
  char folder[] = "/tmp/kalvora-typeset-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string out = std::string(folder) + "/out.png";
  const auto run = [&](const std::string& arguments) {
    return std::system((KALVORA_TEXT " " + arguments + " >/dev/null 2>&1").c_str());
  };
  for (const char* options : {"", "--shape", "--size 9 --width 200", "--width 100 --size 40"}) {
    EXPECT_EQ(run(std::string(options) + " " SAMPLE " " + out), 0) << options;
    std::ifstream file(out, std::ios::binary);
    const std::string png{std::istreambuf_iterator<char>(file), {}};
    EXPECT_EQ(png.substr(1, 3), "PNG") << options;
    EXPECT_GT(png.size(), 10000u) << options;
    unlink(out.c_str());
  }
  EXPECT_EQ(run("- " + out + " </dev/null"), 0);
  unlink(out.c_str());
  for (const char* arguments : {"", "one", "--size x a b", "--size 3 a b", "--font", "--loud a b",
                                "/absent out.png", "--font /etc/passwd " SAMPLE " out.png"}) {
    EXPECT_NE(run(arguments), 0) << arguments;
  }
  EXPECT_NE(access(out.c_str(), F_OK), 0);
  rmdir(folder);
  EXPECT_THROW(typeset::Typeface("/absent", KFixed::FromInt(9)), examples::Error);
}

}  // namespace
