// Broken font files: refused, or drawn as far as they go.
#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "tests/common/Random.h"
#include "tests/context/Target.h"
#include "tests/text/exercise.h"
#include "tests/text/fonts.h"

namespace {

using Bytes = std::vector<char>;

Bytes Read(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A bitmap font, whose glyphs FreeType gives out as monochrome.
constexpr char kBitmapFont[] =
    "STARTFONT 2.1\nFONT -k-Tiny-Medium-R-Normal--8-80-75-75-C-80-ISO10646-1\nSIZE 8 75 75\n"
    "FONTBOUNDINGBOX 8 8 0 0\nSTARTPROPERTIES 5\nFONT_ASCENT 8\nFONT_DESCENT 0\nDEFAULT_CHAR 65\n"
    "CHARSET_REGISTRY \"ISO10646\"\nCHARSET_ENCODING \"1\"\nENDPROPERTIES\nCHARS 2\n"
    "STARTCHAR A\nENCODING 65\nSWIDTH 1000 0\nDWIDTH 9 0\nBBX 8 4 0 1\nBITMAP\nFF\n81\n81\nFF\n"
    "ENDCHAR\n"
    "STARTCHAR t\nENCODING 116\nSWIDTH 500 0\nDWIDTH 4 0\nBBX 3 2 0 0\nBITMAP\nA0\n40\nENDCHAR\n"
    "ENDFONT\n";

// A font in a file that is changed in place and put right again.
class Victim {
 public:
  explicit Victim(Bytes bytes) : bytes_(std::move(bytes)), fd_(memfd_create("font", MFD_CLOEXEC)) {
    path = "/proc/self/fd/" + std::to_string(fd_);
    Write(0, bytes_.size());
  }
  ~Victim() { close(fd_); }
  Victim(const Victim&) = delete;
  Victim& operator=(const Victim&) = delete;

  // Breaks the file in one of many ways. Most of what counts lies in the first bytes and at the
  // starts of tables.
  void Break(Random& random) {
    if (random.OneIn(8)) {
      Truncate(random.Below(random.OneIn(2) ? 2000 : static_cast<unsigned>(bytes_.size())));
    }
    for (unsigned count = 1 + random.Below(random.OneIn(3) ? 60 : 6); count > 0; --count) {
      const unsigned length = random.OneIn(4) ? 1 + random.Below(64) : 1;
      const std::size_t at = Place(random);
      for (std::size_t i = at; i < std::min(at + length, bytes_.size()); ++i) {
        char byte = bytes_[i];
        switch (random.Below(4)) {
          case 0:
            byte = static_cast<char>(byte ^ 1 << random.Below(8));
            break;
          case 1:
            byte = random.OneIn(2) ? '\0' : '\xFF';
            break;
          case 2:
            byte = static_cast<char>(byte + random.Between(-3, 3));
            break;
          default:
            byte = static_cast<char>(random.Next());
        }
        if (i < size_ && pwrite(fd_, &byte, 1, static_cast<off_t>(i)) == 1) changed_.push_back(i);
      }
    }
  }
  void Truncate(std::size_t size) {
    size_ = size;
    ASSERT_EQ(ftruncate(fd_, static_cast<off_t>(size)), 0);
  }
  void Mend() {
    if (size_ < bytes_.size()) Write(size_, bytes_.size() - size_);
    for (const std::size_t i : changed_) Write(i, 1);
    changed_.clear();
  }

  std::string path;

 private:
  void Write(std::size_t at, std::size_t count) {
    size_ = bytes_.size();
    const auto written = pwrite(fd_, bytes_.data() + at, count, static_cast<off_t>(at));
    ASSERT_EQ(written, static_cast<ssize_t>(count));
  }
  std::size_t Place(Random& random) const {
    const auto size = static_cast<unsigned>(bytes_.size());
    const auto word = [&](std::size_t at) {
      std::uint32_t value = 0;
      for (std::size_t i = at; i < at + 4 && i < size; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes_[i]);
      }
      return value;
    };
    const unsigned tables = size > 6 ? word(2) >> 16 : 0;
    switch (random.Below(tables > 0 && tables < 40 ? 4 : 2)) {
      case 0:
        return random.Below(size);
      case 1:
        return random.Below(std::min(size, 400u));
      default:
        return (word(12 + 16 * random.Below(tables) + 8) + random.Below(120)) % size;
    }
  }

  Bytes bytes_;
  int fd_;
  std::size_t size_ = 0;
  std::vector<std::size_t> changed_;
};

class HostileFonts : public testing::TestWithParam<const char*> {};

TEST_P(HostileFonts, NeverCrashHangOrLeak) {
  Victim victim(*GetParam() ? Read(GetParam()) : Bytes(kBitmapFont, std::end(kBitmapFont) - 1));
  const int rounds = *GetParam() ? 700 : 3000;
  int loaded = 0;
  OnThread([&] { EXPECT_TRUE(ExerciseFont(victim.path.c_str(), 0, 0)); });
  for (int i = 0; i < rounds; ++i) {
    Random random(static_cast<std::uint64_t>(i));
    victim.Break(random);
    OnThread([&] { loaded += ExerciseFont(victim.path.c_str(), random.Below(20) / 19, i); });
    victim.Mend();
  }
  // Enough of them get as far as glyphs, and enough do not.
  EXPECT_GT(loaded, rounds / 20);
  EXPECT_LT(loaded, rounds);
  OnThread([&] { EXPECT_TRUE(ExerciseFont(victim.path.c_str(), 0, 0)); });
}

INSTANTIATE_TEST_SUITE_P(Real, HostileFonts, testing::Values(kLatin, kCjk, kSymbols, ""));

TEST(BitmapFonts, MayEndAnywhere) {
  for (std::size_t length = 0; length < sizeof kBitmapFont; ++length) {
    Victim victim(Bytes(kBitmapFont, kBitmapFont + length));
    OnThread([&] { ExerciseFont(victim.path.c_str(), 0, static_cast<int>(length)); });
  }
}

TEST(BitmapFonts, AreDrawnAtTheSizeTheyHave) {
  Victim victim(Bytes(kBitmapFont, std::end(kBitmapFont) - 1));
  OnThread([&] {
    KFTFont font;
    ASSERT_TRUE(font.LoadFont(victim.path.c_str(), 0));
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
