// KSoftPixmap: memory, import and export.
#include "kalvora/core/KSoftPixmap.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "kalvora/core/channels.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/support/KMem.h"

namespace {

// Rows need not be word aligned: a caller's stride is taken as it is.
std::uint32_t LoadWord(const std::uint8_t* p) {
  std::uint32_t word;
  std::memcpy(&word, p, sizeof word);
  return word;
}

void StoreWord(std::uint8_t* p, std::uint32_t word) { std::memcpy(p, &word, sizeof word); }

void CopyBytes(std::uint8_t* dst, const std::uint8_t* src, std::size_t bytes) {
  KMem::Memcpy(reinterpret_cast<char*>(dst), reinterpret_cast<const char*>(src),
               static_cast<unsigned>(bytes));
}

// A source and a destination of pixel rows, each with its own stride.
struct Rows {
  std::uint8_t* dst;
  std::size_t dstStride;
  const std::uint8_t* src;
  std::size_t srcStride;
  std::size_t count;

  void Copy(std::size_t bytes) const {
    for (std::size_t y = 0; y < count; ++y) {
      CopyBytes(dst + y * dstStride, src + y * srcStride, bytes);
    }
  }

  // Writes convert(word) for each of `width` words a row.
  template <typename Convert>
  void ConvertWords(std::size_t width, Convert convert) const {
    for (std::size_t y = 0; y < count; ++y) {
      std::uint8_t* to = dst + y * dstStride;
      const std::uint8_t* from = src + y * srcStride;
      for (std::size_t x = 0; x < width; ++x)
        StoreWord(to + x * 4, convert(LoadWord(from + x * 4)));
    }
  }
};

std::uint32_t ForceAlpha(std::uint32_t word) { return word | 0xFF000000; }

// The alpha byte comes out as 0: an import of straight pixels stores none, and users count on it.
std::uint32_t PreMultiplied(std::uint32_t word) {
  return KColor32::FromWord(word).PreMultiply().Word() & 0x00FFFFFF;
}

// Not the inverse of PreMultiplied. Alpha 191 scales all channels by 5/4, 254 and 0 copy, and the
// others divide each channel by alpha to a ratio, which rounds to 0 or 1: exports have these
// values.
std::uint32_t Straight(std::uint32_t word) {
  const std::uint32_t alpha = word >> 24;
  const std::uint32_t t = alpha + (alpha >> 7);
  if (t == 192) {
    return kalvora::Pack(kalvora::Lo(word) * 5 >> 2, kalvora::Hi(word) * 5 >> 2);
  }
  if (t == 255 || t == 0) return word;
  KFixed r, g, b, a;
  KColor32::FromWord(word).GetColor(r, g, b, a);
  const auto pack = [](KFixed v) { return static_cast<unsigned>(kalvora::RoundPixel(v)); };
  return KColor32(pack(r / a), pack(g / a), pack(b / a), pack(a)).Word();
}

}  // namespace

// Shape and memory --------------------------------------------------------------------------------

KSoftPixmap::~KSoftPixmap() { Release(); }

void KSoftPixmap::Release() {
  if (ownsPixels) std::free(pixels);
  pixels = nullptr;
  ownsPixels = false;
}

// What the rows reach over, from the first byte to the last pixel.
std::uint64_t KSoftPixmap::Bytes() const {
  return height == 0 ? 0
                     : std::uint64_t{height - 1} * stride + (std::uint64_t{width} << pixelShift);
}

// Takes memory for the rows, with the padding of the last. What a 32-bit machine could not hold is
// refused on every machine.
void KSoftPixmap::Allocate() {
  const std::uint64_t rowBytes = std::uint64_t{width} << pixelShift;
  const std::uint64_t padding = stride > rowBytes && height != 0 ? stride - rowBytes : 0;
  const std::uint64_t bytes = Bytes() + padding;
  if (bytes > INT32_MAX) return;
  pixels = static_cast<std::uint8_t*>(std::malloc(bytes > 0 ? static_cast<std::size_t>(bytes) : 1));
  ownsPixels = pixels != nullptr;
}

void KSoftPixmap::SetFormat(KFormat newFormat) {
  format = newFormat;
  hasAlpha = (format & 1) != 0;
  if (format <= 0) {
    pixelShift = 0;
  } else if (format <= 3) {
    pixelShift = 1;
  } else if (format <= 6) {
    pixelShift = 2;
  }
}

std::uint32_t KSoftPixmap::PaddedStride() const {
  const std::uint64_t bytes = ((std::uint64_t{width} << pixelShift) + 3) & ~std::uint64_t{3};
  return bytes <= INT32_MAX ? static_cast<std::uint32_t>(bytes) : 0;
}

void KSoftPixmap::Create(unsigned newWidth, unsigned newHeight, KFormat newFormat, void* buffer,
                         unsigned newStride) {
  Release();
  width = newWidth;
  height = newHeight;
  targetFlag = false;
  SetFormat(newFormat);
  stride = newStride != 0 ? newStride : PaddedStride();
  repeatRule = KRepeatClamp;
  SetQuality(KSamplingBilinear);
  if (stride == 0 && width != 0) return;  // rows too long for any memory
  if (buffer == nullptr) {
    Allocate();
  } else {
    pixels = static_cast<std::uint8_t*>(buffer);
  }
}

bool KSoftPixmap::Wrap(KFormat newFormat, void* buffer, unsigned newStride, bool flag) {
  if (buffer == nullptr) return false;
  Create(width, height, newFormat, buffer, newStride);
  targetFlag = flag;
  return true;
}

void KSoftPixmap::SetQuality(KSampling newQuality) {
  quality = Flags.OnlyNearest ? KSamplingNearest : newQuality;
}

// Import ------------------------------------------------------------------------------------------

bool KSoftPixmap::Holds(const void* data) const {
  const auto at = reinterpret_cast<std::uintptr_t>(data);
  const auto begin = reinterpret_cast<std::uintptr_t>(pixels);
  return pixels && at >= begin && at - begin < Bytes();
}

bool KSoftPixmap::Overlaps(const KSoftPixmap& other) const {
  return Holds(other.pixels) || other.Holds(pixels);
}

bool KSoftPixmap::CopyFrom(const KSoftPixmap& from) {
  const bool fits = ownsPixels && from.pixels && Bytes() == from.Bytes() && stride == from.stride &&
                    height == from.height && pixelShift == from.pixelShift;
  if (!fits) Release();
  width = from.width;
  height = from.height;
  stride = from.stride;
  transform = from.transform;
  format = from.format;
  repeatRule = from.repeatRule;
  pixelShift = from.pixelShift;
  quality = from.quality;
  hasAlpha = from.hasAlpha;
  targetFlag = from.targetFlag;
  if (!from.pixels) return false;
  if (!fits) Allocate();
  if (pixels) CopyBytes(pixels, from.pixels, static_cast<std::size_t>(Bytes()));
  return pixels != nullptr;
}

// What a pixmap makes of its own pixels is made beside them, and then takes their place.
bool KSoftPixmap::Adopt(KSoftPixmap& fresh) {
  if (!fresh.pixels) return false;
  Release();
  SetFormat(fresh.format);
  pixels = std::exchange(fresh.pixels, nullptr);
  ownsPixels = std::exchange(fresh.ownsPixels, false);
  width = fresh.width;
  height = fresh.height;
  stride = fresh.stride;
  targetFlag = fresh.targetFlag;
  return true;
}

bool KSoftPixmap::Set(KFormat newFormat, const void* data, unsigned dataStride, bool flag) {
  if (ownsPixels && Holds(data)) {
    KSoftPixmap fresh;
    fresh.width = width;
    fresh.height = height;
    return fresh.Set(newFormat, data, dataStride, flag) && Adopt(fresh);
  }
  if (ownsPixels && newFormat != format) Release();
  targetFlag = flag;
  SetFormat(newFormat);
  if (dataStride == 0) dataStride = PaddedStride();
  if (!ownsPixels) {
    // Memory of the caller's is never written: the pixmap moves to its own.
    pixels = nullptr;
    stride = dataStride;
    if (stride != 0 || width == 0) Allocate();
  }
  if (data == nullptr || pixels == nullptr) return pixels != nullptr;

  const Rows rows = {pixels, stride, static_cast<const std::uint8_t*>(data), dataStride, height};
  if (format == KFormat0888PM) {
    rows.ConvertWords(width, ForceAlpha);
  } else {
    rows.Copy(std::min(stride, dataStride));
  }
  return true;
}

void KSoftPixmap::Set(KFormat newFormat, const void* data, KFormat dataFormat, unsigned dataStride,
                      bool flag) {
  if (ownsPixels && Holds(data)) {
    KSoftPixmap fresh;
    fresh.width = width;
    fresh.height = height;
    fresh.Set(newFormat, data, dataFormat, dataStride, flag);
    Adopt(fresh);
    return;
  }
  if (!Set(newFormat, nullptr, dataStride, flag) || data == nullptr) return;
  if (dataStride == 0) dataStride = PaddedStride();

  const Rows rows = {pixels, stride, static_cast<const std::uint8_t*>(data), dataStride, height};
  if (format == KFormat8888PM && dataFormat == KFormat8888Straight) {
    rows.ConvertWords(width, PreMultiplied);
  } else if (format == KFormat8888Straight && dataFormat == KFormat8888PM) {
    rows.ConvertWords(width, Straight);
  } else if (format == dataFormat) {
    rows.Copy(std::min(stride, dataStride));
  }
}

void KSoftPixmap::Set(KRect rect, const void* data) {
  if (rect.IsEmpty() || data == nullptr || pixels == nullptr || Holds(data)) return;
  const std::size_t columns = static_cast<std::size_t>(rect.right - rect.left);
  const std::size_t rowBytes = columns << pixelShift;
  const Rows rows = {PixelAt(rect.left, rect.top), stride, static_cast<const std::uint8_t*>(data),
                     rowBytes, static_cast<std::size_t>(rect.bottom - rect.top)};
  if (format == KFormat0888PM) {
    rows.ConvertWords(columns, ForceAlpha);
  } else {
    rows.Copy(rowBytes);
  }
}

void KSoftPixmap::CreateFromAlphaMask(KFormat newFormat, unsigned newWidth, unsigned newHeight,
                                      KColor32 color, const std::uint8_t* mask,
                                      unsigned maskStride) {
  if (ownsPixels && Holds(mask)) {
    KSoftPixmap fresh;
    fresh.CreateFromAlphaMask(newFormat, newWidth, newHeight, color, mask, maskStride);
    if (Adopt(fresh)) return;
    mask = nullptr;  // no such pixmap, or no memory: left empty
  }
  Release();
  width = newWidth;
  height = newHeight;
  format = newFormat;
  targetFlag = false;
  if (format != KFormat8888PM || mask == nullptr) return;

  SetFormat(format);
  stride = PaddedStride();
  if (stride == 0 && width != 0) return;
  Allocate();
  if (pixels == nullptr) return;
  if (maskStride == 0) maskStride = width;
  const std::uint32_t word = color.Word();
  for (std::size_t y = 0; y < height; ++y) {
    const std::uint8_t* weights = mask + y * maskStride;
    std::uint8_t* row = pixels + y * stride;
    for (std::size_t x = 0; x < width; ++x)
      StoreWord(row + x * 4, kalvora::Scale(word, weights[x]));
  }
}

void KSoftPixmap::CreateAlphaMask(unsigned, unsigned, const void*, unsigned) {}

// Export ------------------------------------------------------------------------------------------

void KSoftPixmap::Get(void* buffer) const {
  if (buffer == nullptr || pixels == nullptr) return;
  const std::size_t rowBytes = std::size_t{width} << pixelShift;
  Rows{static_cast<std::uint8_t*>(buffer), rowBytes, pixels, stride, height}.Copy(rowBytes);
}

void KSoftPixmap::Get(KRect rect, void* buffer) const {
  if (rect.IsEmpty() || buffer == nullptr || pixels == nullptr) return;
  const std::size_t rowBytes = static_cast<std::size_t>(rect.right - rect.left) << pixelShift;
  Rows{static_cast<std::uint8_t*>(buffer), rowBytes, PixelAt(rect.left, rect.top), stride,
       static_cast<std::size_t>(rect.bottom - rect.top)}
      .Copy(rowBytes);
}
