// KSoftPixmap: the one image type: render target, pattern, alpha mask and glyph.
#ifndef KALVORA_CORE_KSOFTPIXMAP_H
#define KALVORA_CORE_KSOFTPIXMAP_H

#include <cstddef>
#include <cstdint>

#include "kalvora/core/KColor32.h"
#include "kalvora/core/KFormat.h"
#include "kalvora/core/KRect.h"
#include "kalvora/core/KSoftMatrix3D.h"

/// A rectangular pixel buffer with its format, stride, ownership, and what a pattern fill needs.
///
/// Rows lie `stride` bytes apart from `pixels` upward and hold width << pixelShift meaningful
/// bytes. Strides computed here are rounded up to multiples of 4; a stride given by the caller is
/// taken as it is. Memory that the pixmap allocated (`ownsPixels`) is freed when it is reshaped or
/// destroyed; memory given to it stays the caller's, and must not be what the pixmap itself owns.
/// Owned memory is less than 2 GB on every machine: larger pixmaps get none. Pixmaps cannot be
/// copied.
class KALVORA_API KSoftPixmap {
 public:
  std::uint32_t width = 0;        ///< columns
  std::uint32_t height = 0;       ///< rows
  KSoftMatrix3D transform;        ///< device pixels to pixmap coordinates, when used as a pattern
  KFormat format = KFormatMask8;  ///< what a pixel is
  KRepeatRule repeatRule = KRepeatClamp;  ///< what it shows outside, as a pattern
  std::uint32_t pixelShift = 0;           ///< log2 of the bytes of one pixel
  std::uint32_t stride = 0;               ///< bytes from one row to the next
  KSampling quality = KSamplingNearest;   ///< how it is sampled
  std::uint8_t* pixels = nullptr;         ///< first pixel; null: none
  bool ownsPixels = false;                ///< it frees them
  bool hasAlpha = false;                  ///< bit 0 of `format`
  bool targetFlag = false;                ///< the caller's flag of Wrap and Set; stored only

  KSoftPixmap() = default;
  ~KSoftPixmap();
  KSoftPixmap(const KSoftPixmap&) = delete;
  KSoftPixmap& operator=(const KSoftPixmap&) = delete;

  /// Shapes the pixmap, over `buffer` or, when that is null, over new, uncleared memory of its own.
  /// `stride` 0 computes one. The edge rule becomes clamp and the quality bilinear. When the memory
  /// cannot be had, `pixels` is null.
  void Create(unsigned width, unsigned height, KFormat format, void* buffer = nullptr,
              unsigned stride = 0);
  /// Puts the pixmap, at its present size, over the caller's buffer. False, and no change, when it
  /// is null.
  bool Wrap(KFormat format, void* buffer, unsigned stride, bool flag);
  /// Imports `data` (rows `stride` bytes apart, 0 = computed) without conversion into memory of the
  /// pixmap's own; null data only prepares the memory. Format 4 sets every top byte to 0xFF.
  /// Returns whether memory exists. The pixmap's own pixels may be imported too, in every Set
  /// and in CreateFromAlphaMask but for the Set of a rectangle, which refuses them.
  bool Set(KFormat format, const void* data, unsigned stride, bool flag);
  /// Imports with conversion from `dataFormat`. Formats 6 to 5 premultiply and store an alpha byte
  /// of 0; 5 to 6 divide; equal formats copy; other pairs prepare the memory only.
  void Set(KFormat format, const void* data, KFormat dataFormat, unsigned stride, bool flag);
  /// Writes tightly packed `data` into the rectangle, which is not checked against the pixmap. Data
  /// that begins within the pixmap's own pixels is refused: nothing is written.
  void Set(KRect rect, const void* data);
  /// Copies all rows, or those of the rectangle (not checked), tightly packed, to `buffer`.
  void Get(void* buffer) const;
  void Get(KRect rect, void* buffer) const;
  /// Shapes a format 5 pixmap whose every pixel is `color` scaled by mask / 256 (rows `maskStride`
  /// bytes apart, 0 = width). Any other format or a null mask leaves the pixmap empty and not
  /// owning.
  void CreateFromAlphaMask(KFormat format, unsigned width, unsigned height, KColor32 color,
                           const std::uint8_t* mask, unsigned maskStride);
  /// Makes this pixmap a copy of another, with pixels of its own and everything that a pattern fill
  /// reads. Memory that has the right size already is used again. False when there is none; then
  /// `pixels` is null.
  bool CopyFrom(const KSoftPixmap& from);
  /// Does nothing.
  void CreateAlphaMask(unsigned width, unsigned height, const void* data, unsigned stride);
  /// Stores the sampling quality, or nearest while the OnlyNearest flag is set.
  void SetQuality(KSampling quality);

  /// True when the rows are 32-bit words at addresses of words: what can be drawn, and drawn into.
  bool HasWords() const {
    return pixels && pixelShift == 2 &&
           (reinterpret_cast<std::uintptr_t>(pixels) | stride) % 4 == 0;
  }
  /// True when some byte lies in the rows of both pixmaps.
  bool Overlaps(const KSoftPixmap& other) const;
  /// First pixel of row y as 32-bit words (formats 4 to 6).
  std::uint32_t* Row32(unsigned y) const {
    return static_cast<std::uint32_t*>(static_cast<void*>(pixels + std::size_t{stride} * y));
  }

 private:
  std::uint64_t Bytes() const;
  bool Holds(const void* data) const;
  bool Adopt(KSoftPixmap& fresh);
  void Release();
  void Allocate();
  void SetFormat(KFormat format);
  // The computed stride; 0 when a row is too long for any memory.
  std::uint32_t PaddedStride() const;
  std::uint8_t* PixelAt(std::ptrdiff_t x, std::ptrdiff_t y) const {
    return pixels + y * static_cast<std::ptrdiff_t>(stride) + x * (std::ptrdiff_t{1} << pixelShift);
  }
};

#endif
