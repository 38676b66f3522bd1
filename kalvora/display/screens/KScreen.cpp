// What all screens do alike: the first frame, clipping to the screen, and copies by the processor.
#include "kalvora/display/screens/KScreen.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>

#include "kalvora/support/KMem.h"
#include "kalvora/support/failure.h"

bool KScreen::ShowFirst(KError& error) {
  const std::atomic<bool> never{false};
  errno = 0;
  if (Show(0, nullptr, true, never) != KShown::kNot) return true;
  return kalvora::Fail(error, kalvora::ReasonOf(errno, KErrorDevice), errno,
                       "the display does not show its first buffer");
}

KRect KScreen::Clip(const KRect& rect) const {
  const auto clamp = [](std::int16_t v, std::uint32_t size) {
    const int end = static_cast<int>(std::min<std::uint32_t>(size, INT16_MAX));
    return static_cast<std::int16_t>(std::clamp<int>(v, 0, end));
  };
  const KRect clipped{clamp(rect.left, width), clamp(rect.top, height), clamp(rect.right, width),
                      clamp(rect.bottom, height)};
  return clipped.IsEmpty() ? KRect{0, 0, 0, 0} : clipped;
}

void KScreen::CopyRect(unsigned dst, unsigned src, const KRect* rect,
                       const std::atomic<bool>& cancelled) {
  char* to = reinterpret_cast<char*>(Address(dst));
  const char* from = reinterpret_cast<const char*>(Address(src));
  if (to == nullptr || from == nullptr) return;
  const std::uint32_t pixel = bpp >> 3;
  const std::size_t left = rect != nullptr ? static_cast<unsigned>(rect->left) : 0;
  const std::size_t top = rect != nullptr ? static_cast<unsigned>(rect->top) : 0;
  const std::size_t bottom = rect != nullptr ? static_cast<unsigned>(rect->bottom) : height;
  const unsigned rowBytes =
      rect != nullptr ? pixel * static_cast<unsigned>(rect->right - rect->left) : pixel * width;
  for (std::size_t y = top; y < bottom && !cancelled; ++y) {
    const std::size_t at = pixel * left + stride * y;
    KMem::Memcpy(to + at, from + at, rowBytes);
  }
}
