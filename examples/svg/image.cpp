// Images: see the header.
#include "examples/svg/image.h"

#include "examples/common/png.h"
#include "examples/svg/Scanner.h"

namespace svg {

namespace {

int SixBits(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == '+') return 62;
  if (c == '/') return 63;
  return -1;
}

}  // namespace

std::optional<std::string> DecodeBase64(std::string_view text) {
  std::string bytes;
  std::uint32_t bits = 0;
  int count = 0;
  bool ended = false;
  for (const char c : text) {
    if (IsSpace(c)) continue;
    ended = ended || c == '=';
    if (c == '=') continue;
    const int six = SixBits(c);
    if (six < 0 || ended) return std::nullopt;
    bits = (bits << 6 | static_cast<std::uint32_t>(six)) & 0xFFFFFF;
    count += 6;
    if (count >= 8) {
      count -= 8;
      bytes += static_cast<char>(bits >> count & 0xFF);
    }
  }
  return bytes;
}

bool ReadDataImage(std::string_view uri, KSoftPixmap& picture) {
  constexpr std::string_view kMark = ";base64,";
  const std::size_t mark = uri.find(kMark);
  if (!uri.starts_with("data:") || mark == std::string_view::npos) return false;
  const auto bytes = DecodeBase64(uri.substr(mark + kMark.size()));
  return bytes && examples::ReadPng(bytes->data(), bytes->size(), picture);
}

}  // namespace svg
