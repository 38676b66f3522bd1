// The fonts that these tests set text in.
#ifndef KALVORA_TESTS_TYPESET_FACES_H
#define KALVORA_TESTS_TYPESET_FACES_H

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kalvora/typeset/typeset.h"

inline const std::vector<std::string> kFontFiles = {
    "/usr/share/fonts/truetype/noto/NotoSans-Regular.ttf",
    "/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf",
    "/usr/share/fonts/truetype/noto/NotoSansHebrew-Regular.ttf",
    "/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf",
    "/usr/share/fonts/truetype/noto/NotoSansThai-Regular.ttf",
    "/usr/share/fonts/truetype/noto/NotoSansTamil-Regular.ttf",
    "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf",
    "/usr/share/fonts/truetype/nanum/NanumGothic.ttf",
    "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf"};

/// All of them, the first being the style's.
struct Faces {
  std::vector<std::unique_ptr<KTypeface>> owned;
  std::vector<KTypeface*> all;

  Faces() {
    for (const std::string& path : kFontFiles) {
      owned.push_back(std::make_unique<KTypeface>());
      EXPECT_TRUE(owned.back()->Load(path.c_str())) << path;
      all.push_back(owned.back().get());
    }
  }
  /// A paragraph in them.
  KParagraph Set(std::string_view text, int size, KLength width = KUnlimited) const {
    KParagraph paragraph;
    paragraph.SetStyle({all[0], KFixed::FromInt(size), {}});
    paragraph.SetFallbacks(std::span(all).subspan(1));
    KParagraphFormat format;
    format.width = width;
    paragraph.SetFormat(format);
    EXPECT_TRUE(paragraph.SetText(text));
    return paragraph;
  }
};

#endif
