// KFTFont: characters, advances and bounds.
#include <algorithm>

#include "kalvora/text/KFTCache.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/ft.h"

using kalvora::FromF26Dot6;
using kalvora::LoadFlags;

bool KFTFont::GlyphIndex(std::uint32_t code, std::uint32_t& index) const {
  if (!face) return false;
  KFTCache* cacheOfThread = KFTCache::Thread();
  KFTFaceEntry* entry = cacheOfThread ? cacheOfThread->FindEntry(file) : nullptr;
  std::uint32_t* slot = entry ? entry->Slot(code, faceIndex) : nullptr;
  if (!slot) return false;
  if (*slot == KFTCharPage::kUnknown) *slot = FT_Get_Char_Index(face, code);
  index = *slot;
  return true;
}

bool KFTFont::Exists(unsigned short ch) const {
  std::uint32_t index = 0;
  return GlyphIndex(ch, index) && index != 0;
}

void KFTFont::AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next,
                         KFTFontContext* ctx) {
  AdvancePenImpl(pen, ch, next, nullptr, ctx);
}

void KFTFont::AdvancePen(KVertex2D* pen, unsigned short ch, unsigned short next,
                         KFTFont* fallback) {
  AdvancePenImpl(pen, ch, next, fallback, nullptr);
}

void KFTFont::AdvancePenImpl(KVertex2D* pen, unsigned short ch, unsigned short next,
                             KFTFont* fallback, KFTFontContext* ctx) {
  std::uint32_t index = 0;
  if (!pen || !GlyphIndex(ch, index)) return;
  KFTFont* font = this;
  if (index == 0) {
    if (!fallback && ctx) fallback = ctx->GetFallback(ch);
    if (fallback && fallback->file) {
      font = fallback;
      font->SetFontSize(size);
      if (!font->GlyphIndex(ch, index)) return;
    }
  }
  if (FT_Load_Glyph(font->face, index, LoadFlags()) != 0) return;
  *pen = *pen + FromF26Dot6(font->face->glyph->advance);

  // Kerning never moves the pen, and must not: layouts made of these advances match what is drawn.
  // A font of this thread only has the next character looked up. (Of a font that this thread does
  // not know, kerning would count, a glyph against itself; but then there was no index above.)
  if (index == 0 || next == 0 || !FT_HAS_KERNING(font->face)) return;
  font->GlyphIndex(next, index);
}

void KFTFont::GetBound(KRect& rect, const unsigned short* text, unsigned count) const {
  if (!face || (!text && count > 0)) return;
  std::int64_t x = 0;
  std::int64_t y = 0;
  std::int64_t top = 0;
  std::int64_t bottom = 0;
  for (unsigned i = 0; i < count; ++i) {
    std::uint32_t index = 0;
    GlyphIndex(text[i], index);
    if (FT_Load_Glyph(face, index, LoadFlags()) != 0) continue;
    const FT_GlyphSlot glyph = face->glyph;
    const std::int64_t highest = y + glyph->metrics.horiBearingY;
    top = std::max(top, highest);
    bottom = std::min(bottom, highest - glyph->metrics.height);
    x += glyph->advance.x;
    y += glyph->advance.y;
  }
  rect = {0, 0, static_cast<std::int16_t>(kalvora::Ceil(FromF26Dot6(x))),
          static_cast<std::int16_t>(kalvora::Ceil(FromF26Dot6(top - bottom)))};
}
