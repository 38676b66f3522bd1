// Everything that can be done with a font that may be broken.
#ifndef KALVORA_TESTS_TEXT_EXERCISE_H
#define KALVORA_TESTS_TEXT_EXERCISE_H

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/text/KFTFont.h"

/// Loads, measures and draws a face. False when it does not load. Call it on a thread of its own:
/// the file is mapped until the thread ends.
inline bool ExerciseFont(const char* path, int index, int seed) {
  KFTFont font;
  if (!font.LoadFont(path, index)) return false;
  static constexpr char16_t kText[] = u"Atg&j\u00E5\u0416\u4E2D\u2705\uE123 .";
  const auto* text = reinterpret_cast<const unsigned short*>(kText);
  constexpr unsigned kCount = sizeof kText / sizeof *kText - 1;
  const auto fixed = [](int v) { return KFixed::FromInt(v); };

  KSoftPixmap pixmap;
  pixmap.Create(100, 60, KFormat8888PM);
  KSoftContext2D context;
  if (!context.RenderToTexture(&pixmap)) return false;
  context.Clear({0, 0, 0, 255});
  context.SetFont(&font);
  KFTFont* fonts[] = {&font};
  const KArray<KFTFont*> list = {1, fonts};
  if (seed % 16 == 0) context.SetFallbackFonts(&list, nullptr);
  font.SetFontSize(fixed(seed % 3 == 0 ? 200 : 10 + seed % 20));
  KVertex2D pen = KVertex2D::Origin;
  for (unsigned i = 0; i < kCount; ++i) font.AdvancePen(&pen, text[i], text[i / 2], &context);
  KRect bound = {};
  font.GetBound(bound, text, kCount);
  context.DrawText(text, kCount, {fixed(2), fixed(40)});
  // What has come since, on the same glyphs: UTF-8, indices, quarters, hinting, measures.
  font.SetHinting(static_cast<KHinting>(seed % 4));
  context.SetAttribute(6, seed & 1);
  context.DrawText("Bt\u0416\U0001F600\xFF", {fixed(2), fixed(40)});
  const KVertex2D places[] = {{fixed(9), fixed(20)}, {fixed(30), fixed(50)}};
  for (std::uint32_t glyph = 0; glyph < 6; glyph += 2) {
    const std::uint32_t glyphs[] = {glyph, glyph + 1};
    KGlyphExtents extents;
    if (font.GetGlyphExtents(glyph, extents)) context.MeasureGlyphs(&font, glyphs, places, 2);
    context.DrawGlyphs(&font, glyphs, places, 2);
    context.DrawGlyphPaths(&font, glyphs, places, 2);
  }
  context.Transform().Rotate(fixed(30));
  context.DrawText(text, kCount, {fixed(2), fixed(40)});
  context.DrawTextWithPaths(text, kCount, {fixed(2), fixed(20)}, nullptr);
  return true;
}

#endif
