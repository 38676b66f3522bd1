// The same text in the same fonts, set by Pango: the same glyphs in the same order at the same
// places within a pixel, and the same lines.
#include <cmath>
#include <cstdlib>

#include <fontconfig/fontconfig.h>
#include <pango/pangofc-font.h>
#include <pango/pangoft2.h>

#include "tests/typeset/faces.h"

namespace {

struct Placed {
  std::string font;
  unsigned glyph;
  double x;
};
struct SetLine {
  std::size_t begin;
  std::vector<Placed> glyphs;  // those that are seen
};

constexpr int kSize = 24;

// A font map that knows nothing but our fonts, without hinting.
class Pango {
 public:
  // The font of emoji, which Pango would show digits in too, and does not scale, comes last.
  explicit Pango(bool emoji) : config_(FcConfigCreate()), map_(pango_ft2_font_map_new()) {
    for (std::size_t i = 0; i < kFontFiles.size() - !emoji; ++i) {
      FcConfigAppFontAddFile(config_, reinterpret_cast<const FcChar8*>(kFontFiles[i].c_str()));
    }
    pango_fc_font_map_set_config(PANGO_FC_FONT_MAP(map_), config_);
    pango_ft2_font_map_set_resolution(PANGO_FT2_FONT_MAP(map_), 72, 72);
    pango_fc_font_map_set_default_substitute(
        PANGO_FC_FONT_MAP(map_),
        [](FcPattern* pattern, void*) { FcPatternAddBool(pattern, FC_HINTING, FcFalse); }, nullptr,
        nullptr);
    context_ = pango_font_map_create_context(map_);
    pango_context_set_round_glyph_positions(context_, FALSE);
  }
  ~Pango() {
    g_object_unref(context_);
    g_object_unref(map_);
    FcConfigDestroy(config_);
  }

  std::vector<SetLine> Set(const std::string& text, int width) {
    PangoLayout* layout = pango_layout_new(context_);
    PangoFontDescription* font = pango_font_description_from_string(
        "Noto Sans, Noto Naskh Arabic, Noto Sans Hebrew, Noto Sans Devanagari, Noto Sans Thai, "
        "Noto Sans Tamil, Droid Sans Fallback, NanumGothic");
    pango_font_description_set_absolute_size(font, kSize * PANGO_SCALE);
    pango_layout_set_font_description(layout, font);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_width(layout, width * PANGO_SCALE);
    PangoAttrList* attributes = pango_attr_list_new();
    pango_attr_list_insert(attributes, pango_attr_insert_hyphens_new(FALSE));
    pango_layout_set_attributes(layout, attributes);
    pango_attr_list_unref(attributes);
    pango_layout_set_text(layout, text.data(), static_cast<int>(text.size()));
    std::vector<SetLine> lines;
    PangoLayoutIter* iter = pango_layout_get_iter(layout);
    do {
      lines.push_back(Line(iter));
    } while (pango_layout_iter_next_line(iter));
    pango_layout_iter_free(iter);
    pango_font_description_free(font);
    g_object_unref(layout);
    return lines;
  }

 private:
  static SetLine Line(PangoLayoutIter* iter) {
    PangoRectangle extents;
    pango_layout_iter_get_line_extents(iter, nullptr, &extents);
    double x = extents.x;
    PangoLayoutLine* line = pango_layout_iter_get_line_readonly(iter);
    SetLine set = {static_cast<std::size_t>(line->start_index), {}};
    for (GSList* runs = line->runs; runs; runs = runs->next) {
      const auto* run = static_cast<PangoLayoutRun*>(runs->data);
      FcChar8* file = nullptr;
      FcPatternGetString(PANGO_FC_FONT(run->item->analysis.font)->font_pattern, FC_FILE, 0, &file);
      for (int i = 0; i < run->glyphs->num_glyphs; ++i) {
        const PangoGlyphInfo& info = run->glyphs->glyphs[i];
        if (info.glyph != PANGO_GLYPH_EMPTY) {
          const unsigned glyph = info.glyph & PANGO_GLYPH_UNKNOWN_FLAG ? 0 : info.glyph;
          set.glyphs.push_back(
              {reinterpret_cast<char*>(file), glyph, (x + info.geometry.x_offset) / PANGO_SCALE});
        }
        x += info.geometry.width;
      }
    }
    return set;
  }

  FcConfig* config_;
  PangoFontMap* map_;
  PangoContext* context_;
};

std::vector<SetLine> SetHere(const Faces& faces, const std::string& text, int width) {
  const KParagraph paragraph = faces.Set(text, kSize, KPixels(width));
  std::vector<SetLine> lines;
  for (std::size_t i = 0; i < paragraph.LineCount(); ++i) {
    SetLine line = {paragraph.LineAt(i).begin, {}};
    for (const KPlacedGlyph& glyph : paragraph.GlyphsOf(i)) {
      std::size_t font = 0;
      while (faces.all[font] != glyph.face) ++font;
      line.glyphs.push_back({kFontFiles[font], glyph.index, static_cast<double>(glyph.x) / 65536});
    }
    lines.push_back(line);
  }
  return lines;
}

// Spaces are no glyphs to see: libraries stretch, hide and drop them in their own ways.
void DropSpaces(const Faces& faces, SetLine& line) {
  std::erase_if(line.glyphs, [&](const Placed& placed) {
    for (std::size_t i = 0; i < kFontFiles.size(); ++i) {
      if (placed.font == kFontFiles[i]) {
        return faces.all[i]->GlyphOf(U' ') == placed.glyph;
      }
    }
    return false;
  });
}

void Compare(const Faces& faces, Pango& pango, const std::string& text, int width, double within) {
  std::vector<SetLine> ours = SetHere(faces, text, width), theirs = pango.Set(text, width);
  ASSERT_EQ(ours.size(), theirs.size()) << text << ", width " << width;
  for (std::size_t i = 0; i < ours.size(); ++i) {
    SCOPED_TRACE(text + ", width " + std::to_string(width) + ", line " + std::to_string(i));
    ASSERT_EQ(ours[i].begin, theirs[i].begin);
    DropSpaces(faces, ours[i]);
    DropSpaces(faces, theirs[i]);
    ASSERT_EQ(ours[i].glyphs.size(), theirs[i].glyphs.size());
    for (std::size_t k = 0; k < ours[i].glyphs.size(); ++k) {
      const Placed &a = ours[i].glyphs[k], &b = theirs[i].glyphs[k];
      ASSERT_EQ(a.font, b.font) << "glyph " << k;
      ASSERT_EQ(a.glyph, b.glyph) << "glyph " << k;
      ASSERT_LT(std::abs(a.x - b.x), within) << "glyph " << k;
    }
  }
}

TEST(Pango, SetsTheSameGlyphsAtTheSamePlaces) {
  const char* const texts[] = {
      "The quick brown fox jumps over the lazy dog. AVATAR, To We, fi ffl; 1,250.75 (really?)",
      "Ξεσκεπάζω τὴν ψυχοφθόρα βδελυγμία, πολυτονικό: ᾄδω, ἐὰν 25% τῶν ἀνθρώπων",
      "Съешь ещё этих мягких французских булок, да выпей чаю — «и точка».",
      "العربية تُكتب من اليمين إلى اليسار وتتصل حروفها بعضها ببعض، فلا بد من تشكيلها قبل الرسم.",
      "السعر 1250 ريال (قبل 15%) في Kalvora 2.0 يوم 12/03/2025، لا غير!",
      "כל בני האדם נולדו בני חורין ושווים בערכם ובזכויותיהם. מחיר: 1,250 ש״ח (כולל מע״מ 17%).",
      "שָׁלוֹם עוֹלָם with English, numbers 3.14 and (brackets [nested]) in הסוף.",
      "English with עברית 123 and العربية 456, mixed; \"quotes\" – and the end.",
      "सभी मनुष्यों को गौरव और अधिकारों के मामले में जन्मजात स्वतन्त्रता और समानता प्राप्त है। क्षत्रिय हिन्दी १२३",
      "มนุษย์ทั้งหลายเกิดมามีอิสระและเสมอภาคกันในเกียรติศักดิ์ ที่นี่ น้ำ ๑๒๓",
      "மனிதப் பிறிவியினர் சகலரும் சுதந்திரமாகவே பிறக்கின்றனர்; கொக்கோ ஸ்ரீ ௧௨௩",
      "人人生而自由，在尊严和权利上一律平等。他们赋有理性和良心（并应以兄弟关系的精神相对待）。",
      "すべての人間は、生まれながらにして自由であり、かつ、「尊厳」と権利とについて平等である。",
      "모든 인간은 태어날 때부터 자유로우며 그 존엄과 권리에 있어 동등하다. 한글 (2025년)",
      "Combining: q̃ x̂ ȩ́ a̋̈ ﬁ; zero\u200Bwidth, soft\u00ADhyphen, no\u00A0break, "
      "e\u0301e\u0323\u0301",
      "abc ابج 12 abc (ابج) - 5+6=11, $100, 20°C, a/b, שלום-עולם: x=5; لا",
  };
  Pango pango(false);
  const Faces faces;
  for (const std::string text : texts) {
    const bool thai = text.find("\u0E19") != std::string::npos;  // Pango has a dictionary for it
    for (const int width : {10000, 300, 137}) {
      if (!thai || width == 10000) Compare(faces, pango, text, width, 1);
    }
  }
  Pango emoji(true);
  Compare(faces, emoji,
          "Emoji 😀 family 👨‍👩‍👧 flags 🇩🇪🇯🇵 hands 👍🏽 heart ❤️ "
          "text "
          "☺︎ "
          "end",
          10000, 1e9);
}

}  // namespace
