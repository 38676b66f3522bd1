// Shaping with HarfBuzz, in font units: what a font says is scaled once, and never overflows.
#include "kits/typeset/shape.h"

#include <algorithm>
#include <span>

#include <hb.h>

#include "kalvora/typeset/KTypeface.h"

namespace kalvora::typeset {

namespace {

std::int32_t Saturate(std::int64_t v) {
  return static_cast<std::int32_t>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
}

// Font units into 16.16 pixels, to the nearest.
class Scale {
 public:
  Scale(hb_font_t* font, KFixed size)
      : size_(size.raw), units_(std::max(1u, hb_face_get_upem(hb_font_get_face(font)))) {}
  std::int32_t operator()(std::int64_t value) const {
    const std::int64_t scaled = value * size_ + units_ / 2;
    return Saturate(scaled >= 0 ? scaled / units_ : -((units_ - 1 - scaled) / units_));
  }

 private:
  std::int64_t size_, units_;
};

// Characters that have no look of their own: fonts would show boxes for them.
bool IsControl(hb_codepoint_t c) {
  return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029;
}

// Replaces them by one that HarfBuzz knows to be invisible.
void HideControls(hb_buffer_t* buffer) {
  unsigned count = 0;
  hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer, &count);
  for (unsigned i = 0; i < count; ++i) {
    if (IsControl(infos[i].codepoint)) infos[i].codepoint = 0x200B;
  }
}

// HarfBuzz tells a vowel of some scripts from the letter that it belongs to; readers do not.
void JoinClusters(const Content& content, std::uint32_t begin, std::span<Glyph> glyphs,
                  bool rightToLeft) {
  std::uint32_t cluster = begin, next = begin;
  for (std::size_t i = 0; i < glyphs.size(); ++i) {
    Glyph& glyph = glyphs[rightToLeft ? glyphs.size() - 1 - i : i];
    for (; next <= glyph.character; ++next) {
      if (content.units[next].cluster) cluster = next;
    }
    glyph.character = cluster;
  }
}

}  // namespace

Shaper::Shaper(const std::string& language)
    : buffer_(hb_buffer_create()),
      language_(hb_language_from_string(language.c_str(), static_cast<int>(language.size()))) {}

Shaper::~Shaper() { hb_buffer_destroy(buffer_); }

void Shaper::Begin(const Item& item) {
  hb_buffer_clear_contents(buffer_);
  hb_buffer_set_content_type(buffer_, HB_BUFFER_CONTENT_TYPE_UNICODE);
  hb_buffer_set_direction(buffer_, item.IsRightToLeft() ? HB_DIRECTION_RTL : HB_DIRECTION_LTR);
  hb_buffer_set_script(buffer_, static_cast<hb_script_t>(item.script));
  hb_buffer_set_language(buffer_, language_);
}

std::uint32_t Shaper::Finish(const Item& item, std::vector<Glyph>& glyphs) {
  hb_font_t* font = item.face->Shaping();
  hb_shape(font, buffer_, nullptr, 0);
  unsigned count = 0;
  const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer_, &count);
  const hb_glyph_position_t* places = hb_buffer_get_glyph_positions(buffer_, &count);
  const Scale scale(font, item.size);
  for (unsigned i = 0; i < count; ++i) {
    const bool unsafe =
        (hb_glyph_info_get_glyph_flags(&infos[i]) & HB_GLYPH_FLAG_UNSAFE_TO_BREAK) != 0;
    // HarfBuzz's y axis points up.
    glyphs.push_back({infos[i].codepoint, unsafe, infos[i].cluster, scale(places[i].x_advance),
                      scale(places[i].x_offset), scale(-std::int64_t{places[i].y_offset})});
  }
  return count;
}

std::uint32_t Shaper::ShapePart(const Content& content, const Item& item, std::uint32_t begin,
                                std::uint32_t end, std::vector<Glyph>& glyphs) {
  if (item.tab || !item.face || !item.face->IsLoaded()) return 0;
  Begin(item);
  hb_buffer_add_utf32(buffer_, reinterpret_cast<const std::uint32_t*>(content.characters.data()),
                      static_cast<int>(content.Size()), begin, static_cast<int>(end - begin));
  HideControls(buffer_);
  const std::uint32_t count = Finish(item, glyphs);
  JoinClusters(content, begin, {glyphs.end() - count, glyphs.end()}, item.IsRightToLeft());
  return count;
}

std::uint32_t Shaper::ShapeMark(std::u32string_view mark, const Item& item, std::uint32_t character,
                                std::vector<Glyph>& glyphs) {
  if (!item.face || !item.face->IsLoaded()) return 0;
  Begin(item);
  for (const char32_t c : mark) hb_buffer_add(buffer_, c, character);
  return Finish(item, glyphs);
}

}  // namespace kalvora::typeset
