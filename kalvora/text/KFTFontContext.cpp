// KFTFontContext: fonts, fallbacks, transform and heights.
#include "kalvora/text/KFTFontContext.h"

#include <algorithm>
#include <cstdlib>
#include <new>

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
