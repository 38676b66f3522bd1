// The fonts that the tests draw with, and small tools around them.
#ifndef KALVORA_TESTS_TEXT_FONTS_H
#define KALVORA_TESTS_TEXT_FONTS_H

#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"

// Debian packages fonts-dejavu-core, fonts-droid-fallback and fonts-symbola.
inline constexpr const char* kLatin = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
inline constexpr const char* kSerif = "/usr/share/fonts/truetype/dejavu/DejaVuSerif.ttf";
inline constexpr const char* kCjk = "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf";
inline constexpr const char* kSymbols =
    "/usr/share/fonts/truetype/ancient-scripts/Symbola_hint.ttf";

/// Characters by who has them among the three.
inline constexpr char16_t kOnlyCjk = u'\u56FD';
inline constexpr char16_t kOnlySymbols = u'\u2705';
inline constexpr char16_t kNowhere = u'\uE123';

inline KFixed Px(double pixels) { return KFixed(static_cast<float>(pixels)); }

inline const unsigned short* Codes(const char16_t* text) {
  return reinterpret_cast<const unsigned short*>(text);
}

/// An array as the library takes it.
template <typename T>
struct List {
  std::vector<T> items;
  KArray<T> array;

  List(std::initializer_list<T> list) : items(list) {
    array = {static_cast<std::uint32_t>(items.size()), items.data()};
  }
};
using FontList = List<KFTFont*>;
using RangeList = List<KFTFontRange>;

/// The three, loaded, and a context that shows the first.
struct Fonts {
  KFTFont latin, cjk, symbols;
  FontList fallbacks{&cjk, &symbols};
  KFTFontContext setting;

  Fonts() {
    EXPECT_TRUE(latin.LoadFont(kLatin, 0) && cjk.LoadFont(kCjk, 0) &&
                symbols.LoadFont(kSymbols, 0));
    setting.SetFont(&latin);
  }
};

inline std::string ReadFile(const char* path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

/// The big-endian word at a place of a font file, 0 where that ends.
inline std::uint32_t WordAt(const std::string& font, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = at; i < at + 4; ++i) {
    value = value << 8 | (i < font.size() ? static_cast<unsigned char>(font[i]) : 0);
  }
  return value;
}

/// How many tables a font has: 16 bytes each from byte 12, whose third word is the place.
inline unsigned TableCount(const std::string& font) { return WordAt(font, 4) >> 16; }

/// A file without a name.
class MemoryFile {
 public:
  const int fd = memfd_create("font", MFD_CLOEXEC);
  const std::string path = "/proc/self/fd/" + std::to_string(fd);

  explicit MemoryFile(const std::string& bytes) {
    EXPECT_EQ(write(fd, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
  }
  ~MemoryFile() { close(fd); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
};

/// Runs a piece of a test on a thread of its own, whose caches start empty and end with it.
template <typename Body>
void OnThread(Body body) {
  std::thread(body).join();
}

/// What `body` writes to standard output, also through the library.
template <typename Body>
std::string Printed(Body body) {
  std::fflush(stdout);
  testing::internal::CaptureStdout();
  body();
  std::fflush(stdout);
  return testing::internal::GetCapturedStdout();
}

#endif
