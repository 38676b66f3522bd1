// Shadows: what has changed, on its way to the screen.
#include "kalvora/display/KShadowScreen.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include "kalvora/support/KFlags.h"
#include "kalvora/support/failure.h"

namespace {

std::int16_t Limit(std::uint32_t v) { return static_cast<std::int16_t>(std::min(v, 32767u)); }

KRect Union(const KRect& a, const KRect& b) {
  if (a.IsEmpty()) return b;
  if (b.IsEmpty()) return a;
  return {std::min(a.left, b.left), std::min(a.top, b.top), std::max(a.right, b.right),
          std::max(a.bottom, b.bottom)};
}

}  // namespace

KShadowScreen::KShadowScreen(KScreen* other, const KShadowStyle& how) : device(other), style(how) {
  isSurface = true;
  wantsMover = false;
}

KShadowScreen::~KShadowScreen() {
  device->isBound = isBound;
  delete device;
  for (std::uint8_t* frame : frames) std::free(frame);
}

bool KShadowScreen::Open(unsigned, unsigned, bool, KError& error) {
  const bool lies = style.rotation % 180 != 0;
  width = lies ? device->height : device->width;
  height = lies ? device->width : device->height;
  bpp = 32;
  stride = width * 4;
  if (width > 32767 || height > 32767 ||
      !writer.Choose(device->layout, device->bpp, style.dither)) {
    return kalvora::Fail(error, KErrorFormat, 0, "no way to write pixels of %u bits of this kind",
                         device->bpp);
  }
  return true;
}

bool KShadowScreen::MakeBuffers(unsigned count, KError& error) {
  KError ignored;
  deviceBuffers = count > 1 && device->MakeBuffers(2, ignored) ? 2 : 1;
  if (deviceBuffers == 1 && !device->MakeBuffers(1, error)) return false;
  for (unsigned i = count > 1 ? 1 : 0; i < count; ++i) {
    frames[i] = static_cast<std::uint8_t*>(std::calloc(std::size_t{height} + 1, stride));
    if (frames[i] == nullptr) return kalvora::Fail(error, KErrorMemory, ENOMEM, "no back buffers");
  }
  missing[0] = missing[1] = Whole();
  return true;
}

KRect KShadowScreen::Whole() const { return {0, 0, Limit(width), Limit(height)}; }

KShown KShadowScreen::Show(unsigned index, const KRect* dirty, bool force,
                           const std::atomic<bool>& cancelled) {
  if (index == 0) return device->Show(OnScreen(), nullptr, force, cancelled);
  if (index >= 3 || frames[index] == nullptr) return KShown::kNot;
  Note(dirty);
  if (deviceBuffers == 2) {
    const unsigned buffer = 1 - OnScreen();
    KRect changed{};
    if (!Convert(buffer, index, changed, cancelled)) return KShown::kNot;
    if (device->Show(buffer, &changed, false, cancelled) == KShown::kFlipped) {
      const std::lock_guard<std::mutex> guard(lock);
      if (!cancelled) onScreen = buffer;
      return KShown::kCopied;
    }
    if (cancelled) return KShown::kNot;
  }
  // A device that stays where it is gets the frame there.
  ConvertOnScreen(index, cancelled);
  return KShown::kCopied;
}

void KShadowScreen::DrawnOver(unsigned index, const KRect* dirty) {
  const std::atomic<bool> never{false};
  if (index >= 3 || frames[index] == nullptr) return;
  Note(dirty);
  ConvertOnScreen(index, never);
}

unsigned KShadowScreen::OnScreen() {
  const std::lock_guard<std::mutex> guard(lock);
  return onScreen;
}

/// A frame that differs within `dirty`: the device's buffers lack so much more.
void KShadowScreen::Note(const KRect* dirty) {
  const KRect changed = dirty != nullptr && !Flags.DisplayFps ? *dirty : Whole();
  const std::lock_guard<std::mutex> guard(lock);
  for (KRect& m : missing) m = Union(m, changed);
}

void KShadowScreen::ConvertOnScreen(unsigned index, const std::atomic<bool>& cancelled) {
  const unsigned buffer = OnScreen();
  KRect changed{};
  if (Convert(buffer, index, changed, cancelled)) device->DrawnOver(buffer, &changed);
}

/// Writes what the device's buffer lacks, and says where, on the device. False when it was
/// cancelled; the buffer then lacks it still.
bool KShadowScreen::Convert(unsigned buffer, unsigned index, KRect& changed,
                            const std::atomic<bool>& cancelled) {
  {
    const std::lock_guard<std::mutex> guard(lock);
    changed = ToDevice(missing[buffer]);
  }
  std::uint8_t* const pixels = device->Address(buffer);
  if (pixels == nullptr) return false;
  if (style.rotation == 0) {
    WriteUpright(pixels, index, changed, cancelled);
  } else {
    WriteTurned(pixels, index, changed, cancelled);
  }
  const std::lock_guard<std::mutex> guard(lock);
  if (cancelled) return false;
  missing[buffer] = {};
  return true;
}

KRect KShadowScreen::ToDevice(const KRect& r) const {
  const auto fromRight = [&](std::int16_t v) {
    return static_cast<std::int16_t>(Limit(width) - v);
  };
  const auto fromBottom = [&](std::int16_t v) {
    return static_cast<std::int16_t>(Limit(height) - v);
  };
  switch (style.rotation) {
    case 90:
      return {fromBottom(r.bottom), r.left, fromBottom(r.top), r.right};
    case 180:
      return {fromRight(r.right), fromBottom(r.bottom), fromRight(r.left), fromBottom(r.top)};
    case 270:
      return {r.top, fromRight(r.right), r.bottom, fromRight(r.left)};
    default:
      return r;
  }
}

void KShadowScreen::WriteUpright(std::uint8_t* pixels, unsigned index, const KRect& r,
                                 const std::atomic<bool>& cancelled) {
  const std::size_t left = static_cast<unsigned>(r.left);
  const unsigned count = static_cast<unsigned>(std::max(r.right - r.left, 0));
  for (int y = r.top; y < r.bottom && !cancelled; ++y) {
    const auto row = static_cast<std::size_t>(y);
    const void* const from = frames[index] + stride * row + 4 * left;
    writer.Write(pixels + device->stride * row + device->bpp / 8 * left,
                 static_cast<const std::uint32_t*>(from), count, static_cast<unsigned>(left),
                 static_cast<unsigned>(y));
  }
}

/// Turns tile by tile: of each row or column of the frame a line of the cache is read, and of each
/// row of the device a piece is written.
void KShadowScreen::WriteTurned(std::uint8_t* pixels, unsigned index, const KRect& r,
                                const std::atomic<bool>& cancelled) {
  std::uint32_t tile[kTileRows][kTileColumns];
  for (int top = r.top; top < r.bottom && !cancelled; top += kTileRows) {
    const int rows = std::min(kTileRows, r.bottom - top);
    for (int left = r.left; left < r.right; left += kTileColumns) {
      const int columns = std::min(kTileColumns, r.right - left);
      ReadTile(index, left, top, columns, rows, &tile[0][0]);
      for (int y = 0; y < rows && !cancelled; ++y) {
        const auto at = device->stride * static_cast<std::size_t>(top + y) +
                        device->bpp / 8 * static_cast<std::size_t>(left);
        writer.Write(pixels + at, tile[y], static_cast<unsigned>(columns),
                     static_cast<unsigned>(left), static_cast<unsigned>(top + y));
      }
    }
  }
}

/// The pixels that come to lie at the device's columns from `left` and rows from `top`.
void KShadowScreen::ReadTile(unsigned index, int left, int top, int columns, int rows,
                             std::uint32_t* tile) const {
  const auto pitch = static_cast<std::ptrdiff_t>(width);
  const std::ptrdiff_t lastRow = pitch * (static_cast<std::ptrdiff_t>(height) - 1);
  // Where the device's first pixel comes from, and the steps to its right and lower neighbours.
  std::ptrdiff_t first = lastRow;
  std::ptrdiff_t right = -pitch;
  std::ptrdiff_t down = 1;
  if (style.rotation == 180) {
    first = lastRow + pitch - 1;
    right = -1;
    down = -pitch;
  } else if (style.rotation == 270) {
    first = pitch - 1;
    right = pitch;
    down = -1;
  }
  const void* const words = frames[index];
  const auto* from = static_cast<const std::uint32_t*>(words) + first + right * left + down * top;
  for (int x = 0; x < columns; ++x, from += right) {
    for (int y = 0; y < rows; ++y) tile[y * kTileColumns + x] = from[down * y];
  }
}
