// Shadows: what has changed, on its way to the screen.
#include "kalvora/display/screens/KShadowScreen.h"

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

KShadowScreen::KShadowScreen(KScreen* other, const KShadowStyle& how)
    : device_(other), style_(how) {
  isSurface = true;
  wantsMover = false;
}

KShadowScreen::~KShadowScreen() {
  device_->isBound = isBound;
  delete device_;
  for (std::uint8_t* frame : frames_) std::free(frame);
}

bool KShadowScreen::Open(unsigned, unsigned, bool, KError& error) {
  const bool lies = style_.rotation % 180 != 0;
  width = lies ? device_->height : device_->width;
  height = lies ? device_->width : device_->height;
  bpp = 32;
  stride = width * 4;
  if (width > 32767 || height > 32767 ||
      !writer_.Choose(device_->layout, device_->bpp, style_.dither)) {
    return kalvora::Fail(error, KErrorFormat, 0, "no way to write pixels of %u bits of this kind",
                         device_->bpp);
  }
  return true;
}

bool KShadowScreen::MakeBuffers(unsigned count, KError& error) {
  KError ignored;
  deviceBuffers_ = count > 1 && device_->MakeBuffers(2, ignored) ? 2 : 1;
  if (deviceBuffers_ == 1 && !device_->MakeBuffers(1, error)) return false;
  for (unsigned i = count > 1 ? 1 : 0; i < count; ++i) {
    frames_[i] = static_cast<std::uint8_t*>(std::calloc(std::size_t{height} + 1, stride));
    if (frames_[i] == nullptr) return kalvora::Fail(error, KErrorMemory, ENOMEM, "no back buffers");
  }
  missing_[0] = missing_[1] = Whole();
  return true;
}

KRect KShadowScreen::Whole() const { return {0, 0, Limit(width), Limit(height)}; }

KShown KShadowScreen::Show(unsigned index, const KRect* dirty, bool force,
                           const std::atomic<bool>& cancelled) {
  if (index == 0) return device_->Show(OnScreen(), nullptr, force, cancelled);
  if (index >= 3 || frames_[index] == nullptr) return KShown::kNot;
  Note(dirty);
  if (deviceBuffers_ == 2) {
    const unsigned buffer = 1 - OnScreen();
    KRect changed{};
    if (!Convert(buffer, index, changed, cancelled)) return KShown::kNot;
    if (device_->Show(buffer, &changed, false, cancelled) == KShown::kFlipped) {
      const std::lock_guard<std::mutex> guard(lock_);
      if (!cancelled) onScreen_ = buffer;
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
  if (index >= 3 || frames_[index] == nullptr) return;
  Note(dirty);
  ConvertOnScreen(index, never);
}

unsigned KShadowScreen::OnScreen() {
  const std::lock_guard<std::mutex> guard(lock_);
  return onScreen_;
}

/// A frame that differs within `dirty`: the device's buffers lack so much more.
void KShadowScreen::Note(const KRect* dirty) {
  const KRect changed = dirty != nullptr && !Flags.DisplayFps ? *dirty : Whole();
  const std::lock_guard<std::mutex> guard(lock_);
  for (KRect& m : missing_) m = Union(m, changed);
}

void KShadowScreen::ConvertOnScreen(unsigned index, const std::atomic<bool>& cancelled) {
  const unsigned buffer = OnScreen();
  KRect changed{};
  if (Convert(buffer, index, changed, cancelled)) device_->DrawnOver(buffer, &changed);
}

/// Writes what the device's buffer lacks, and says where, on the device. False when it was
/// cancelled; the buffer then lacks it still.
bool KShadowScreen::Convert(unsigned buffer, unsigned index, KRect& changed,
                            const std::atomic<bool>& cancelled) {
  {
    const std::lock_guard<std::mutex> guard(lock_);
    changed = ToDevice(missing_[buffer]);
  }
  std::uint8_t* const pixels = device_->Address(buffer);
  if (pixels == nullptr) return false;
  if (style_.rotation == 0) {
    WriteUpright(pixels, index, changed, cancelled);
  } else {
    WriteTurned(pixels, index, changed, cancelled);
  }
  const std::lock_guard<std::mutex> guard(lock_);
  if (cancelled) return false;
  missing_[buffer] = {};
  return true;
}

KRect KShadowScreen::ToDevice(const KRect& r) const {
  const auto fromRight = [&](std::int16_t v) {
    return static_cast<std::int16_t>(Limit(width) - v);
  };
  const auto fromBottom = [&](std::int16_t v) {
    return static_cast<std::int16_t>(Limit(height) - v);
  };
  switch (style_.rotation) {
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
    const void* const from = frames_[index] + stride * row + 4 * left;
    writer_.Write(pixels + device_->stride * row + device_->bpp / 8 * left,
                  static_cast<const std::uint32_t*>(from), count, static_cast<unsigned>(left),
                  static_cast<unsigned>(y));
  }
}

/// Turns tile by tile: of each row or column of the frame one or two lines of the cache are read,
/// and of each row of the device a piece is written.
void KShadowScreen::WriteTurned(std::uint8_t* pixels, unsigned index, const KRect& r,
                                const std::atomic<bool>& cancelled) {
  std::uint32_t tile[kTileRows][kTileColumns];
  for (int top = r.top; top < r.bottom && !cancelled; top += kTileRows) {
    const int rows = std::min(kTileRows, r.bottom - top);
    for (int left = r.left; left < r.right; left += kTileColumns) {
      const int columns = std::min(kTileColumns, r.right - left);
      ReadTile(index, left, top, columns, rows, &tile[0][0]);
      for (int y = 0; y < rows && !cancelled; ++y) {
        const auto at = device_->stride * static_cast<std::size_t>(top + y) +
                        device_->bpp / 8 * static_cast<std::size_t>(left);
        writer_.Write(pixels + at, tile[y], static_cast<unsigned>(columns),
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
  if (style_.rotation == 180) {
    first = lastRow + pitch - 1;
    right = -1;
    down = -pitch;
  } else if (style_.rotation == 270) {
    first = pitch - 1;
    right = pitch;
    down = -1;
  }
  const void* const words = frames_[index];
  const auto* from = static_cast<const std::uint32_t*>(words) + first + right * left + down * top;
  writer_.Turn()(tile, kTileColumns, columns, rows, from, right, down);
}
