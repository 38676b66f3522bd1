// Text: a line from the warm cache, glyphs rendered anew, and more glyphs than the cache holds,
// with Cairo's show_glyphs drawing the same.
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/text/KFTCache.h"
#include "kalvora/text/KFTFont.h"

#ifdef KALVORA_BENCH_CAIRO
#include <cairo-ft.h>
#endif

namespace {

constexpr int kWidth = 800, kHeight = 160;
constexpr int kBaseline = 120;
constexpr const char* kLatin = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* kCjk = "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf";
constexpr std::u16string_view kLine = u"Sphinx of black quartz, judge my vow: 0123456789 & so on";

// A few hundred ideographs, of which a line shows eight at a time.
std::vector<unsigned short> Ideographs() {
  std::vector<unsigned short> codes;
  for (unsigned i = 0; i < 400; ++i) codes.push_back(static_cast<unsigned short>(0x4E00 + 7 * i));
  return codes;
}

struct Kalvora {
  KSoftPixmap pixmap;
  KFTFont font;
  KSoftContext2D context;

  Kalvora(const char* path, int size) {
    pixmap.Create(kWidth, kHeight, KFormat8888PM);
    context.RenderToTexture(&pixmap);
    context.Clear({255, 255, 255, 255});
    font.LoadFont(path, 0);
    font.SetFontSize(KFixed::FromInt(size));
    context.SetFont(&font);
    context.SetFillColor({20, 30, 60, 255});
  }
  void Draw(const unsigned short* codes, unsigned count) {
    context.DrawText(codes, count, {KFixed::FromInt(4), KFixed::FromInt(kBaseline)});
  }
};

void TextWarm(benchmark::State& state) {
  Kalvora k(kLatin, static_cast<int>(state.range(0)));
  const std::vector<unsigned short> codes(kLine.begin(), kLine.end());
  for (auto _ : state) k.Draw(codes.data(), static_cast<unsigned>(codes.size()));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
}
BENCHMARK(TextWarm)->Arg(12)->Arg(16)->Arg(24);

void TextCold(benchmark::State& state) {
  Kalvora k(kLatin, static_cast<int>(state.range(0)));
  const std::vector<unsigned short> codes(kLine.begin(), kLine.end());
  for (auto _ : state) {
    while (KFTCache::Thread()->lru) KFTCache::Thread()->Evict();
    k.Draw(codes.data(), static_cast<unsigned>(codes.size()));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
}
BENCHMARK(TextCold)->Arg(12)->Arg(16)->Arg(24);

// 400 ideographs of 48 pixels are some 800 KB: none is left when its turn comes again.
void TextThrash(benchmark::State& state) {
  Kalvora k(kCjk, 48);
  const std::vector<unsigned short> codes = Ideographs();
  for (auto _ : state) {
    for (std::size_t i = 0; i < codes.size(); i += 8) k.Draw(&codes[i], 8);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
}
BENCHMARK(TextThrash);

void TextTurned(benchmark::State& state) {
  Kalvora k(kLatin, 16);
  const std::vector<unsigned short> codes(kLine.begin(), kLine.end());
  k.context.Transform().Rotate(KFixed::FromInt(10));
  for (auto _ : state) k.Draw(codes.data(), static_cast<unsigned>(codes.size()));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
}
BENCHMARK(TextTurned);

// Every glyph's rectangle meets the clip path in the scan converter.
void TextInClipPath(benchmark::State& state) {
  Kalvora k(kLatin, 16);
  const std::vector<unsigned short> codes(kLine.begin(), kLine.end());
  KSoftPath lens;
  const auto at = [](int x, int y) { return KVertex2D{KFixed::FromInt(x), KFixed::FromInt(y)}; };
  lens.MoveTo(at(10, 110));
  lens.QuadTo(at(250, 90), at(500, 112));
  lens.QuadTo(at(250, 140), at(10, 110));
  lens.Close();
  k.context.SetClipPath(&lens, KFillNonZero);
  for (auto _ : state) k.Draw(codes.data(), static_cast<unsigned>(codes.size()));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(codes.size()));
}
BENCHMARK(TextInClipPath);

void MeasureText(benchmark::State& state) {
  Kalvora k(kLatin, 16);
  for (auto _ : state) {
    KVertex2D pen = KVertex2D::Origin;
    for (const char16_t c : kLine) k.font.AdvancePen(&pen, c, 0, &k.context);
    benchmark::DoNotOptimize(pen);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kLine.size()));
}
BENCHMARK(MeasureText);

#ifdef KALVORA_BENCH_CAIRO

// The same lines, unhinted, grey, glyph indices and positions known beforehand.
struct Cairo {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kWidth, kHeight);
  cairo_t* cr = cairo_create(surface);
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  cairo_font_face_t* font = nullptr;

  Cairo(const char* path, int size) {
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_source_rgb(cr, 20 / 255.0, 30 / 255.0, 60 / 255.0);
    FT_Init_FreeType(&library);
    FT_New_Face(library, path, 0, &face);
    font = cairo_ft_font_face_create_for_ft_face(face, FT_LOAD_NO_HINTING | FT_LOAD_NO_BITMAP);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr, options);
    cairo_font_options_destroy(options);
    cairo_set_font_face(cr, font);
    cairo_set_font_size(cr, size);
  }
  ~Cairo() {
    cairo_font_face_destroy(font);
    cairo_destroy(cr);
    cairo_surface_destroy(surface);
    cairo_debug_reset_static_data();
    FT_Done_FreeType(library);
  }
  Cairo(const Cairo&) = delete;
  Cairo& operator=(const Cairo&) = delete;

  template <typename Codes>
  std::vector<cairo_glyph_t> Glyphs(const Codes& codes, int perLine) {
    std::vector<cairo_glyph_t> glyphs;
    double x = 4;
    for (const auto code : codes) {
      cairo_glyph_t glyph = {FT_Get_Char_Index(face, code), x, kBaseline};
      cairo_text_extents_t extents;
      cairo_glyph_extents(cr, &glyph, 1, &extents);
      glyphs.push_back(glyph);
      x = glyphs.size() % static_cast<unsigned>(perLine) ? x + extents.x_advance : 4;
    }
    return glyphs;
  }
};

void CairoTextWarm(benchmark::State& state) {
  Cairo c(kLatin, static_cast<int>(state.range(0)));
  const std::vector<cairo_glyph_t> glyphs = c.Glyphs(kLine, 1000);
  for (auto _ : state) cairo_show_glyphs(c.cr, glyphs.data(), static_cast<int>(glyphs.size()));
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(glyphs.size()));
}
BENCHMARK(CairoTextWarm)->Arg(12)->Arg(16)->Arg(24);

// A size that was never used before has no glyphs.
void CairoTextCold(benchmark::State& state) {
  Cairo c(kLatin, static_cast<int>(state.range(0)));
  const std::vector<cairo_glyph_t> glyphs = c.Glyphs(kLine, 1000);
  double size = static_cast<double>(state.range(0));
  for (auto _ : state) {
    cairo_set_font_size(c.cr, size += 1e-5);
    cairo_show_glyphs(c.cr, glyphs.data(), static_cast<int>(glyphs.size()));
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(glyphs.size()));
}
BENCHMARK(CairoTextCold)->Arg(12)->Arg(16)->Arg(24);

void CairoTextThrash(benchmark::State& state) {
  Cairo c(kCjk, 48);
  const std::vector<cairo_glyph_t> glyphs = c.Glyphs(Ideographs(), 8);
  for (auto _ : state) {
    for (std::size_t i = 0; i < glyphs.size(); i += 8) cairo_show_glyphs(c.cr, &glyphs[i], 8);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(glyphs.size()));
}
BENCHMARK(CairoTextThrash);

#endif

}  // namespace
