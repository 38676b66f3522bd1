// Broken font files: refused, or drawn as far as they go.
#include <algorithm>

#include <gtest/gtest.h>

#include "tests/common/Random.h"
#include "tests/common/Target.h"
#include "tests/text/exercise.h"
#include "tests/text/fonts.h"
#include "tests/text/tinyfonts.h"

namespace {

// A bitmap font, whose glyphs FreeType gives out as monochrome.
const std::string kBitmapFont =
    "STARTFONT 2.1\nFONT -k-Tiny-Medium-R-Normal--8-80-75-75-C-80-ISO10646-1\nSIZE 8 75 75\n"
    "FONTBOUNDINGBOX 8 8 0 0\nSTARTPROPERTIES 5\nFONT_ASCENT 8\nFONT_DESCENT 0\nDEFAULT_CHAR 65\n"
    "CHARSET_REGISTRY \"ISO10646\"\nCHARSET_ENCODING \"1\"\nENDPROPERTIES\nCHARS 2\n"
    "STARTCHAR A\nENCODING 65\nSWIDTH 1000 0\nDWIDTH 9 0\nBBX 8 4 0 1\nBITMAP\nFF\n81\n81\nFF\n"
    "ENDCHAR\n"
    "STARTCHAR t\nENCODING 116\nSWIDTH 500 0\nDWIDTH 4 0\nBBX 3 2 0 0\nBITMAP\nA0\n40\nENDCHAR\n"
    "ENDFONT\n";

// Where a font is worth breaking: anywhere, near its start, and at the start of a table.
std::size_t Place(const std::string& font, Random& random) {
  const auto size = static_cast<unsigned>(font.size());
  const unsigned tables = TableCount(font);
  const unsigned kind = random.Below(tables > 0 && tables < 40 ? 4 : 2);
  if (kind == 0) return random.Below(size);
  if (kind == 1) return random.Below(std::min(size, 400u));
  return (WordAt(font, 20 + 16 * random.Below(tables)) + random.Below(120)) % size;
}

// Bytes near what they were, any bytes, and sometimes not all of them.
std::string Broken(std::string font, Random& random) {
  for (unsigned count = 1 + random.Below(random.OneIn(3) ? 60 : 6); count > 0; --count) {
    char& byte = font[Place(font, random)];
    const int step = random.OneIn(2) ? random.Between(-3, 3) : static_cast<int>(random.Below(256));
    byte = static_cast<char>(byte + step);
  }
  if (random.OneIn(8)) {
    font.resize(random.Below(random.OneIn(2) ? 2000 : static_cast<unsigned>(font.size())));
  }
  return font;
}

std::string Bytes(const std::string& name) {
  if (name == "bitmap") return kBitmapFont;
  if (name == "layers") return {kLayers.begin(), kLayers.end()};
  if (name == "colours") return {kBitmaps.begin(), kBitmaps.end()};
  return ReadFile(name.c_str());
}

class HostileFonts : public testing::TestWithParam<const char*> {};

TEST_P(HostileFonts, NeverCrashHangOrLeak) {
  const std::string font = Bytes(GetParam());
  const auto exercise = [](const std::string& bytes, int index, int seed) {
    const MemoryFile file(bytes);
    bool loads = false;
    OnThread([&] { loads = ExerciseFont(file.path.c_str(), index, seed); });
    return loads;
  };
  EXPECT_TRUE(exercise(font, 0, 0));
  const int rounds = font.size() > 1000 ? 700 : 3000;
  int loaded = 0;
  for (int i = 0; i < rounds; ++i) {
    Random random(static_cast<std::uint64_t>(i));
    loaded += exercise(Broken(font, random), random.OneIn(20), i);
  }
  // Enough of them get as far as glyphs, and enough do not.
  EXPECT_GT(loaded, rounds / 20);
  EXPECT_LT(loaded, rounds);
}

INSTANTIATE_TEST_SUITE_P(Real, HostileFonts,
                         testing::Values(kLatin, kCjk, kSymbols, "bitmap", "layers", "colours"));

TEST(BitmapFonts, AreDrawnAtTheSizeTheyHave) {
  const MemoryFile file(kBitmapFont);
  OnThread([&] {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(file.path.c_str(), 0));
    EXPECT_EQ(font.GetAscend(), KFixed::FromInt(8));  // not those of 18 pixels
    EXPECT_EQ(font.GetFontHeight(), KFixed::FromInt(8));
    Target target(30, 12);
    target.context.Clear({0, 0, 0, 255});
    target.context.SetFont(&font);
    target.context.SetFillColor({255, 255, 255, 255});
    target.context.DrawText(Codes(u"AtA"), 3, P(1, 9));
    // A stands a pixel above the baseline, t on it.
    const auto row = [&](unsigned y) {
      std::string text;
      for (unsigned x = 1; x < 22; ++x) text += target.At(x, y) == 0xFFFFFFFF ? '#' : '.';
      return text;
    };
    EXPECT_EQ(row(3), ".....................");
    EXPECT_EQ(row(4), "########.....########");
    EXPECT_EQ(row(5), "#......#.....#......#");
    EXPECT_EQ(row(6), "#......#.....#......#");
    EXPECT_EQ(row(7), "########.#.#.########");
    EXPECT_EQ(row(8), "..........#..........");
    KSoftPath path;
    target.context.LoadChar(&path, 'A');  // it has no outline
    EXPECT_EQ(path.first, nullptr);
  });
}

}  // namespace
