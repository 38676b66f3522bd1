// Whatever pixels, rows and direction a device has: it shows what was drawn upright into 32 bits.
#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/display/pixels/KPixelWriter.h"

#include "tests/display/rig.h"
#if KALVORA_KMS
#include "tests/display/card.h"
#endif

namespace {

/// A device, and how the library is to use it.
struct Case {
  bool isCard;
  unsigned bpp;
  bool bgr;
  unsigned padding;  ///< bytes behind rows, or what a card's rows are multiples of
  bool onlyDepth;    ///< 32 bits are refused
  bool isDirect;     ///< there is no shadow when it is not turned
};

const Case kCases[] = {
    {false, 32, false, 0, false, true},   {false, 32, true, 0, false, false},
    {false, 32, false, 24, false, false}, {false, 16, false, 0, false, true},
    {false, 16, false, 0, true, false},   {false, 16, true, 6, true, false},
    {false, 24, false, 0, true, false},   {false, 24, true, 5, true, false},
#if KALVORA_KMS
    {true, 32, false, 4, false, true},    {true, 32, false, 64, false, true},
    {true, 16, false, 4, true, false},    {true, 16, false, 128, true, false},
#endif
};

/// What a channel of 8 bits becomes on the screen, at a place of the pattern.
unsigned Cut(unsigned c, unsigned bits, unsigned x, unsigned y, bool dither) {
  constexpr unsigned kBayer[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
  const unsigned lost = 8 - bits;
  const unsigned noise = dither ? kBayer[y % 4][x % 4] * (1u << lost) / 16 : (1u << lost) / 2;
  return (c - (c >> bits) + noise) >> lost;
}

class Picture {
 public:
  Picture(std::uint32_t seed, const Case& board)
      : random(seed), c(board), width(1 + random.Below(150)), height(1 + random.Below(40)) {
    rotation = random.Below(4) * 90;
    dither = random.OneIn(2);
    buffers = 1 + seed % 3;
    lies = rotation % 180 != 0;
    picture.resize(std::size_t{width} * height);
  }

  void Run() {
    Rig rig(Board());
    rig.clockOffsetUs = 60000000;
#if KALVORA_KMS
    std::unique_ptr<Card> card;
    if (c.isCard) card = std::make_unique<Card>(CardSettings());
#endif
    KLinuxFb fb;
    EXPECT_TRUE(fb.SetRotation(rotation));
    fb.SetDithering(dither);
    auto* buffer = static_cast<std::uint32_t*>(
        fb.SetDisplay(c.isCard ? KDisplayKms : KDisplayFramebuffer, 0, KFormat0888PM, buffers));
    ASSERT_NE(buffer, nullptr) << fb.LastError().text;
    ASSERT_EQ(fb.Width(), width);
    ASSERT_EQ(fb.Height(), height);
    ASSERT_TRUE(fb.Stride() == width * 4 || (c.isCard && c.isDirect));
    bool current = false;
    for (unsigned frames = 1 + random.Below(8); frames > 0; --frames) {
      KRect dirty = Draw(buffer, fb.Stride() / 4, !current);
      const bool given = current && !random.OneIn(4);
      current = !random.OneIn(4) || buffers == 1;
      buffer = static_cast<std::uint32_t*>(fb.Flip(current, given ? &dirty : nullptr));
      ASSERT_NE(buffer, nullptr);
      if (buffers == 3) continue;  // its thread shows the frame a little later
#if KALVORA_KMS
      if (card) Compare(card->Shown());
#endif
      if (!c.isCard) Compare(rig.Screen());
    }
#if KALVORA_KMS
    if (card && buffers == 3) {
      EXPECT_TRUE(fb.IsAsync());
      for (int ms = 0; Differing(card->Shown()) != 0 && ms < 20000; ++ms) usleep(1000);
      Compare(card->Shown());
    }
#endif
    fb.Close();
    if (!c.isCard) Compare(rig.Screen());
#if KALVORA_KMS
    EXPECT_TRUE(!card || card->ShowsConsole());
#endif
    EXPECT_EQ(rig.TakeLog(), "");
  }

 private:
  sim::Settings Board() const {
    sim::Settings s = Rig::Tiny(buffers);
    s.width = lies ? height : width;
    s.height = lies ? width : height;
    s.bpp = c.bpp;
    s.bgr = c.bgr;
    s.linePadding = c.padding;
    s.onlyDepth = c.onlyDepth;
    return s;
  }
#if KALVORA_KMS
  Card::Settings CardSettings() const {
    Card::Settings s;
    s.width = lies ? height : width;
    s.height = lies ? width : height;
    s.pitchAlign = c.padding;
    s.takesWords = c.bpp == 32;
    return s;
  }
#endif

  /// Fills some rectangles, and returns what holds them all.
  KRect Draw(std::uint32_t* buffer, std::size_t stride, bool whole) {
    KRect all{0, 0, 0, 0};
    for (unsigned i = whole ? 0 : 1; i < 4; ++i) {
      const auto w = static_cast<std::int16_t>(width);
      const auto h = static_cast<std::int16_t>(height);
      KRect r{0, 0, w, h};
      if (!whole || i > 0) {
        r.left = static_cast<std::int16_t>(random.Below(width));
        r.top = static_cast<std::int16_t>(random.Below(height));
        r.right = static_cast<std::int16_t>(random.Between(r.left + 1, w));
        r.bottom = static_cast<std::int16_t>(random.Between(r.top + 1, h));
      }
      for (int y = r.top; y < r.bottom; ++y) {
        for (int x = r.left; x < r.right; ++x) {
          const std::uint32_t word = random.Next();
          buffer[stride * static_cast<unsigned>(y) + static_cast<unsigned>(x)] = word;
          picture[width * static_cast<unsigned>(y) + static_cast<unsigned>(x)] = word;
        }
      }
      all = all.IsEmpty() ? r
                          : KRect{std::min(all.left, r.left), std::min(all.top, r.top),
                                  std::max(all.right, r.right), std::max(all.bottom, r.bottom)};
    }
    return all;
  }

  std::uint32_t Upright(unsigned x, unsigned y) const { return picture[width * y + x]; }

  /// The word that belongs to a pixel of the device.
  std::uint32_t Turned(unsigned x, unsigned y) const {
    switch (rotation) {
      case 90:
        return Upright(y, height - 1 - x);
      case 180:
        return Upright(width - 1 - x, height - 1 - y);
      case 270:
        return Upright(width - 1 - y, x);
      default:
        return Upright(x, y);
    }
  }

  void Compare(const std::vector<std::uint8_t>& screen) const {
    ASSERT_EQ(Differing(screen), 0u) << width << "x" << height << " turned " << rotation;
  }

  /// How many pixels of the screen are not those that were drawn.
  unsigned Differing(const std::vector<std::uint8_t>& screen) const {
    const unsigned columns = lies ? height : width;
    const unsigned rows = lies ? width : height;
    const std::size_t stride = screen.size() / rows;
    // A framebuffer that takes 32 bits is switched to them.
    const unsigned bytes = c.onlyDepth ? c.bpp / 8 : 4;
    unsigned wrong = 0;
    for (unsigned y = 0; y < rows; ++y) {
      for (unsigned x = 0; x < columns; ++x) {
        const std::uint8_t* const p = screen.data() + stride * y + std::size_t{bytes} * x;
        std::uint32_t shown = 0;
        for (unsigned i = 0; i < std::min(bytes, 3u); ++i) shown |= std::uint32_t{p[i]} << 8 * i;
        wrong += shown != Expected(Turned(x, y), bytes, x, y);
      }
    }
    return wrong;
  }

  std::uint32_t Expected(std::uint32_t word, unsigned bytes, unsigned x, unsigned y) const {
    unsigned red = word >> 16 & 255;
    const unsigned green = word >> 8 & 255;
    unsigned blue = word & 255;
    if (c.bgr) std::swap(red, blue);
    if (bytes != 2) return red << 16 | green << 8 | blue;
    return Cut(red, 5, x, y, dither) << 11 | Cut(green, 6, x, y, dither) << 5 |
           Cut(blue, 5, x, y, dither);
  }

  Random random;
  const Case& c;
  unsigned width, height, rotation, buffers;
  bool dither, lies;
  std::vector<std::uint32_t> picture;  ///< upright
};

/// The loops for wide vectors write what the plain ones do, and nothing else.
TEST(Shadows, AreWrittenAlikeByAllLoops) {
  if (kalvora::WidePixelLoops() == nullptr) GTEST_SKIP() << "no wide vectors";
  const KPixelLayout layouts[] = {KPixelLayout::Rgb565(),
                                  {{0, 5}, {5, 6}, {11, 5}, 0},
                                  {{10, 5}, {5, 5}, {0, 5}, 0x8000},
                                  {{8, 4}, {4, 4}, {0, 4}, 0xF000},
                                  {{0, 8}, {8, 8}, {16, 8}, 0xFF000000},
                                  KPixelLayout{},
                                  {{24, 8}, {16, 8}, {8, 8}, 0}};
  Random random(1);
  for (int i = 0; i < 3000; ++i) {
    const unsigned which = random.Below(std::size(layouts));
    const unsigned bits = which < 4 ? 16 : which < 6 && random.OneIn(2) ? 24 : 32;
    const bool dither = random.OneIn(2);
    KPixelWriter plain;
    KPixelWriter wide;
    ASSERT_TRUE(plain.Choose(layouts[which], bits, dither, &kalvora::PlainPixelLoops()));
    ASSERT_TRUE(wide.Choose(layouts[which], bits, dither, kalvora::WidePixelLoops()));
    std::vector<std::uint32_t> words(random.Below(200));
    for (std::uint32_t& word : words) word = random.Next();
    std::vector<std::uint8_t> expected(words.size() * 4 + 8, 0x11);
    std::vector<std::uint8_t> written = expected;
    const unsigned x = random.Below(9);
    const unsigned y = random.Below(9);
    const auto count = static_cast<unsigned>(words.size());
    plain.Write(expected.data(), words.data(), count, x, y);
    wide.Write(written.data(), words.data(), count, x, y);
    ASSERT_EQ(written, expected) << which << " " << bits;
    ASSERT_EQ(written[words.size() * bits / 8], 0x11);
  }
}

TEST(Shadows, AreTurnedByAllLoops) {
  constexpr int kSize = 20;
  Random random(2);
  std::vector<std::uint32_t> words(kSize * kSize);
  for (std::uint32_t& word : words) word = random.Next();
  const struct {
    std::ptrdiff_t first, right, down;
  } turns[] = {
      {kSize * (kSize - 1), -kSize, 1}, {kSize * kSize - 1, -1, -kSize}, {kSize - 1, kSize, -1}};
  for (const kalvora::PixelLoops* loops :
       {&kalvora::PlainPixelLoops(), kalvora::WidePixelLoops()}) {
    for (int i = 0; loops != nullptr && i < 500; ++i) {
      const auto& turn = turns[i % 3];
      const int columns = static_cast<int>(random.Below(kSize + 1));
      const int rows = static_cast<int>(random.Below(kSize + 1));
      std::uint32_t tile[kSize][kSize] = {};
      loops->turn(tile[0], kSize, columns, rows, &words[static_cast<std::size_t>(turn.first)],
                  turn.right, turn.down);
      for (int y = 0; y < kSize; ++y) {
        for (int x = 0; x < kSize; ++x) {
          const auto from = static_cast<std::size_t>(turn.first + turn.right * x + turn.down * y);
          ASSERT_EQ(tile[y][x], x < columns && y < rows ? words[from] : 0)
              << loops->name << ' ' << x << ' ' << y;
        }
      }
    }
  }
}

TEST(Shadows, ShowWhatIsDrawn) {
  for (const Case& c : kCases) {
    for (std::uint32_t seed = 0; seed < 150 && !HasFailure(); ++seed) {
      SCOPED_TRACE(testing::Message() << "case " << &c - kCases << ", seed " << seed);
      Picture(seed, c).Run();
    }
  }
}

}  // namespace
