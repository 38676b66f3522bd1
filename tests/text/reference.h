// FreeType, asked directly.
#ifndef KALVORA_TESTS_TEXT_REFERENCE_H
#define KALVORA_TESTS_TEXT_REFERENCE_H

#include <cmath>

#include <ft2build.h>
#include <gtest/gtest.h>
#include FT_FREETYPE_H

#include "kalvora/core/KFixed.h"

// A face of FreeType's own at a size, and its quantities in pixels.
struct Reference {
  FT_Library library = nullptr;
  FT_Face face = nullptr;

  explicit Reference(const char* path, double pixels, int index = 0) {
    FT_Init_FreeType(&library);
    EXPECT_EQ(FT_New_Face(library, path, index, &face), 0);
    const auto size = static_cast<FT_F26Dot6>(std::lround(pixels * 64));
    EXPECT_EQ(FT_Set_Char_Size(face, size, size, 0, 0), 0);
  }
  Reference(const Reference&) = delete;
  Reference& operator=(const Reference&) = delete;
  ~Reference() { FT_Done_FreeType(library); }

  void Transform(const std::int32_t (&m)[4]) {
    FT_Matrix matrix = {m[0], m[1], m[2], m[3]};
    FT_Set_Transform(face, &matrix, nullptr);
  }
  KFixed Height() const { return Of(face->size->metrics.height); }
  KFixed Advance(unsigned code) const {
    EXPECT_EQ(FT_Load_Char(face, code, FT_LOAD_NO_BITMAP | FT_LOAD_NO_HINTING), 0);
    return Of(face->glyph->advance.x);
  }
  static KFixed Of(FT_Pos v) { return KFixed::FromRaw(static_cast<std::int32_t>(v * 1024)); }
};

#endif
