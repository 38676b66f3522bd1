// Text: lines in the library's own text call; and glyphs, as masks of a font's letters at the
// pixels where a line of text would set them.
#include <map>

#include <ft2build.h>
#include FT_FREETYPE_H

#include "bench/Workload.h"
#include "bench/scenes.h"

namespace bench {

namespace {

constexpr const char* kFont = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* kIdeographs = "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf";
constexpr std::u16string_view kLine =
    u"Sphinx of black quartz, judge my vow: 0123456789 & so on, as pangrams go.";

std::shared_ptr<const Mask> Copy(const FT_Bitmap& bitmap) {
  const int width = static_cast<int>(bitmap.width), height = static_cast<int>(bitmap.rows);
  auto mask = std::make_shared<Mask>(Mask{width, height, (width + 3) / 4 * 4, {}});
  mask->bytes.resize(static_cast<std::size_t>(mask->stride) * height);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      mask->bytes[static_cast<std::size_t>(y * mask->stride + x)] =
          bitmap.buffer[y * bitmap.pitch + x];
    }
  }
  return mask;
}

// Ten lines of text. Nothing is drawn when the font is not installed.
Scene Glyphs(int size) {
  Scene scene = Of({});
  Item& item = scene.items.front();
  item.kind = Item::Stamps;
  item.paint = Solid({20, 30, 60, 255});
  FT_Library library;
  FT_Face face;
  if (FT_Init_FreeType(&library)) return scene;
  if (!FT_New_Face(library, kFont, 0, &face)) {
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
    std::map<char16_t, std::shared_ptr<const Mask>> masks;
    for (int line = 0; line < 10; ++line) {
      int pen = 4;
      for (const char16_t code : kLine) {
        if (FT_Load_Char(face, code, FT_LOAD_RENDER | FT_LOAD_NO_HINTING)) continue;
        const FT_GlyphSlot glyph = face->glyph;
        auto& mask = masks[code];
        if (!mask) mask = Copy(glyph->bitmap);
        const int x = pen + glyph->bitmap_left, y = 40 + line * 50 - glyph->bitmap_top;
        if (mask->width > 0 && x + mask->width <= kWidth) item.stamps.push_back({mask, x, y});
        pen += static_cast<int>(glyph->advance.x >> 6);
      }
    }
    FT_Done_Face(face);
  }
  FT_Done_FreeType(library);
  return scene;
}

Item Line(std::u16string text, const char* font, double size, double x, double y, bool cold) {
  Item item;
  item.kind = Item::Text;
  item.paint = Solid({20, 30, 60, 255});
  item.text = std::move(text);
  item.font = font;
  item.size = size;
  item.box = {x, y, x, y};
  item.cold = cold;
  return item;
}

Scene Lines(double size, bool cold) {
  Scene scene;
  for (int i = 0; i < 10; ++i) {
    scene.items.push_back(Line(std::u16string(kLine), kFont, size, 4, 40 + i * 50, cold));
  }
  return scene;
}

// More glyphs than a cache of half a megabyte holds: none is left when its turn comes again.
Scene Ideographs() {
  Scene scene;
  for (int i = 0; i < 50; ++i) {
    std::u16string text;
    for (int k = 0; k < 8; ++k) text += static_cast<char16_t>(0x4E00 + 7 * (8 * i + k));
    scene.items.push_back(Line(text, kIdeographs, 48, 4 + i % 2 * 395, 50 + i % 10 * 55, false));
  }
  return scene;
}

}  // namespace

void AddText(Workloads& rows) {
  rows.insert(rows.end(), {
                              {"glyphs/12", 0.7, [] { return Glyphs(12); }},
                              {"glyphs/16", 0.6, [] { return Glyphs(16); }},
                              {"glyphs/24", 0.6, [] { return Glyphs(24); }},
                              {"text/warm-12", 0, [] { return Lines(12, false); }, true, 40},
                              {"text/warm-16", 0, [] { return Lines(16, false); }, true, 40},
                              {"text/warm-24", 0, [] { return Lines(24, false); }, true, 40},
                              {"text/cold-16", 0, [] { return Lines(16, true); }, true, 40},
                              {"text/ideographs-48", 0, Ideographs, true, 40},
                          });
}

}  // namespace bench
