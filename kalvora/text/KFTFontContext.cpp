// KFTFontContext: fonts, fallbacks, transform, heights and bounds.
#include "kalvora/text/KFTFontContext.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <utility>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTLib.h"
#include "kalvora/text/codes.h"
#include "kalvora/text/ft.h"
#include "kalvora/text/glyphs/KFTCache.h"

using kalvora::IsLoaded;

namespace {

constexpr FT_Matrix kIdentity = {0x10000, 0, 0, 0x10000};

}  // namespace

// Made by whoever needs it first, when there was no memory for it before.
bool KFTFontContext::NeedMatrix() {
  if (!matrix) matrix = new (std::nothrow) FT_Matrix(kIdentity);
  return matrix;
}

KFTFontContext::KFTFontContext() {
  NeedMatrix();
  KFTLib::Thread();
  KFTCache::Thread();
}

KFTFontContext::~KFTFontContext() {
  delete matrix;
  KFTFallback::Release(fallback);
  std::free(listMemory_);
}

// Fallbacks ---------------------------------------------------------------------------------------

// Copies the list into memory that is kept for the next one. Null when memory runs out.
KFTFont** KFTFontContext::CopyList(const KArray<KFTFont*>& fonts) {
  if (fonts.count > listRoom_) {
    void* larger = std::calloc(fonts.count, sizeof(KFTFont*));
    if (!larger) return nullptr;
    std::free(listMemory_);
    listMemory_ = static_cast<KFTFont**>(larger);
    listRoom_ = fonts.count;
  }
  // The list may be this context's own, or its table's.
  if (fonts.data != listMemory_) std::copy(fonts.begin(), fonts.end(), listMemory_);
  return listMemory_;
}

void KFTFontContext::SetFallbackFonts(const KArray<KFTFont*>* fonts,
                                      const KArray<KFTFontRange>* ranges) {
  KFTFallback* chosen = nullptr;
  KArray<KFTFont*> list;
  const bool wanted = fonts && fonts->count > 0 && fonts->data;
  if (wanted && (list.data = CopyList(*fonts))) {
    list.count = fonts->count;
    chosen = fallback && fallback->Matches(&list, ranges) ? fallback
                                                          : KFTFallback::Instance(&list, ranges);
  }
  // The ranges may be the old table's: it goes last.
  if (chosen != fallback) KFTFallback::Release(fallback);
  fallbackFonts = list;
  fallback = chosen;
  fallbackLost_ = wanted && !chosen;
}

KFTFont* KFTFontContext::GetFallback(unsigned short ch) const {
  if (fallbackFont) return fallbackFont;
  if (!fallback) return nullptr;
  const unsigned index = fallback->GetFont(ch);
  return index < fallbackFonts.count ? fallbackFonts[index] : nullptr;
}

KFTFont* KFTFontContext::FallbackFor(std::uint32_t code) const {
  if (fallbackFont || code <= 0xFFFF) return GetFallback(static_cast<unsigned short>(code));
  if (!fallback) return nullptr;
  std::uint32_t index = 0;
  for (KFTFont* other : fallbackFonts) {
    if (IsLoaded(other) && other->GlyphIndex(code, index) && index != 0) return other;
  }
  return nullptr;
}

const KFTFont* KFTFontContext::FindGlyph(std::uint32_t code, std::uint32_t& index) const {
  if (!font || !font->GlyphIndex(code, index)) return nullptr;
  if (index != 0) return font;
  KFTFont* other = FallbackFor(code);
  if (!IsLoaded(other)) return font;
  other->SetFontSize(font->size);
  if (!other->GlyphIndex(code, index)) return nullptr;
  return index != 0 ? other : font;
}

// Transform and measures --------------------------------------------------------------------------

void KFTFontContext::SetTransform(const KSoftMatrix3D* m) {
  if (!IsLoaded(font) || !NeedMatrix()) return;
  *matrix = m ? kalvora::LinearPart(*m) : kIdentity;
  FT_Set_Transform(font->face, matrix, nullptr);
  if (IsLoaded(fallbackFont)) FT_Set_Transform(fallbackFont->face, matrix, nullptr);
  for (const KFTFont* other : fallbackFonts) {
    if (IsLoaded(other)) FT_Set_Transform(other->face, matrix, nullptr);
  }
}

void KFTFontContext::AdvancePen(KVertex2D* pen, std::string_view utf8) const {
  kalvora::Utf8Codes codes(utf8);
  std::uint32_t code, index;
  unsigned place;
  while (pen && codes.Next(code, place)) {
    const KFTFont* from = FindGlyph(code, index);
    if (from) *pen = *pen + from->GetGlyphAdvance(index);
  }
}

void KFTFontContext::GetHeight(KFixed* height, KFixed* fallbackHeight) const {
  KFixed largest = kalvora::kZero;
  if (font && fallbackHeight) {
    const auto measure = [&](KFTFont* other) {
      other->SetFontSize(font->size);
      largest = std::max(largest, other->GetFontHeight());
    };
    if (fallbackFont) {
      measure(fallbackFont);
    } else {
      for (KFTFont* other : fallbackFonts) {
        if (other) measure(other);
      }
    }
  }
  if (height) *height = font ? font->GetFontHeight() : kalvora::kZero;
  if (fallbackHeight) *fallbackHeight = largest;
}

// Bounds ------------------------------------------------------------------------------------------

namespace {

// floor(x m / 2^16) for the x of a box.
std::int64_t Mul(std::int64_t x, KFixed m) {
  return (x >> 16) * m.raw + ((x & 0xFFFF) * m.raw >> 16);
}

std::int16_t ToPixel(std::int64_t v) {
  return static_cast<std::int16_t>(std::clamp<std::int64_t>(v >> 16, INT16_MIN, INT16_MAX));
}

}  // namespace

bool KFTFontContext::ApproxBox(Box* box, unsigned count, KVertex2D origin,
                               const KVertex2D* positions, const KSoftMatrix3D& m) const {
  const bool mapped = !Flags.IgnoreTransform;
  if (mapped && !m.IsOrth()) return false;

  KFixed height, fallbackHeight;
  GetHeight(&height, &fallbackHeight);
  const std::int64_t line = std::max(height, fallbackHeight).raw;
  Box b = {origin.x.raw, origin.y.raw, origin.x.raw, origin.y.raw};
  if (positions) {
    b = {positions->x.raw, positions->y.raw, positions->x.raw, positions->y.raw};
    for (unsigned i = 1; i < count; ++i) {
      b.left = std::min<std::int64_t>(b.left, positions[i].x.raw);
      b.top = std::min<std::int64_t>(b.top, positions[i].y.raw);
      b.right = std::max<std::int64_t>(b.right, positions[i].x.raw);
      b.bottom = std::max<std::int64_t>(b.bottom, positions[i].y.raw);
    }
    b.right += line;
  } else {
    // No text is wider than what still can be mapped in 64 bits.
    constexpr std::int64_t kWidest = std::int64_t{1} << 46;
    b.right += std::clamp(std::int64_t{count} * line, -kWidest, kWidest);
  }
  b.top -= line;
  b.bottom += line;
  *box = b;
  if (!mapped) return true;

  if (m.identity) {
    // as it is
  } else if (m.linearIdentity) {
    *box = {b.left + m.m6.raw, b.top + m.m7.raw, b.right + m.m6.raw, b.bottom + m.m7.raw};
  } else {
    *box = {Mul(b.left, m.m0) + Mul(b.top, m.m3) + m.m6.raw,
            Mul(b.left, m.m1) + Mul(b.top, m.m4) + m.m7.raw,
            Mul(b.right, m.m0) + Mul(b.bottom, m.m3) + m.m6.raw,
            Mul(b.right, m.m1) + Mul(b.bottom, m.m4) + m.m7.raw};
  }
  if (box->left > box->right) std::swap(box->left, box->right);
  if (box->top > box->bottom) std::swap(box->top, box->bottom);
  return true;
}

bool KFTFontContext::GetApproxBounds(KRect* out, unsigned count, KVertex2D origin,
                                     const KVertex2D* positions, const KSoftMatrix3D& m) const {
  Box box;
  if (!out || !ApproxBox(&box, count, origin, positions, m)) return false;
  *out = {ToPixel(box.left), ToPixel(box.top), ToPixel(box.right), ToPixel(box.bottom)};
  return true;
}
