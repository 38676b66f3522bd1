// What the text sources share of FreeType. Not part of the public headers.
#ifndef KALVORA_TEXT_FT_H
#define KALVORA_TEXT_FT_H

#include <cstdint>

#include <ft2build.h>
#include FT_FREETYPE_H
#include FT_OUTLINE_H

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/core/KVertex2D.h"
#include "kalvora/support/KFlags.h"
#include "kalvora/text/KFTFont.h"

namespace kalvora {

/// A 26.6 number as 16.16, in single precision: floor plus fraction, also below zero.
inline KFixed FromF26Dot6(std::int64_t v) {
  return KFixed(static_cast<float>(v >> 6) + static_cast<float>(v & 63) * 0.015625f);
}

/// A 26.6 vector in the drawing's space, where y grows downward.
inline KVertex2D FromF26Dot6(const FT_Vector& v) { return {FromF26Dot6(v.x), -FromF26Dot6(v.y)}; }

/// The linear part of a matrix, in FreeType's order.
inline FT_Matrix LinearPart(const KSoftMatrix3D& m) {
  return {m.m0.raw, m.m1.raw, m.m3.raw, m.m4.raw};
}

inline bool IsLoaded(const KFTFont* font) { return font && font->face; }

/// Whether the glyphs of a font keep the shapes that it gives them.
inline bool IsUnhinted(const KFTFont& font) {
  const KHinting hinting = font.GetHinting();
  return hinting == KHintingNone || (hinting == KHintingDefault && !Flags.UseFontHinting);
}

/// How the glyphs of a font are loaded to be measured and to be rendered.
inline FT_Int32 LoadFlags(const KFTFont& font) {
  if (IsUnhinted(font)) return FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING;
  const bool light = font.GetHinting() == KHintingLight;
  return FT_LOAD_NO_BITMAP | (light ? FT_LOAD_TARGET_LIGHT : FT_LOAD_DEFAULT);
}

}  // namespace kalvora

#endif
