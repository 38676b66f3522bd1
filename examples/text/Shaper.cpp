// Shaping with HarfBuzz.
#include "examples/text/Shaper.h"

#include <hb.h>

namespace typeset {

namespace {

hb_script_t ScriptOf(char32_t character) {
  return hb_unicode_script(hb_unicode_funcs_get_default(), character);
}

bool IsAnyScript(hb_script_t script) {
  return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

// The script of the first character that has one.
hb_script_t ScriptOf(std::u32string_view text) {
  for (const char32_t character : text) {
    const hb_script_t script = ScriptOf(character);
    if (!IsAnyScript(script)) return script;
  }
  return HB_SCRIPT_COMMON;
}

}  // namespace

Shaper::Shaper(const std::string& path, KFixed size) {
  hb_blob_t* file = hb_blob_create_from_file(path.c_str());
  hb_face_t* face = hb_face_create(file, 0);
  font_ = hb_font_create(face);
  hb_font_set_scale(font_, size.raw, size.raw);  // positions come out in 16.16 pixels
  hb_face_destroy(face);
  hb_blob_destroy(file);
}

Shaper::~Shaper() { hb_font_destroy(font_); }

void Shaper::MapGlyphs() {
  hb_set_t* all = hb_set_create();
  hb_face_collect_unicodes(hb_font_get_face(font_), all);
  for (hb_codepoint_t code = HB_SET_VALUE_INVALID; hb_set_next(all, &code);) {
    hb_codepoint_t glyph = 0;
    if (hb_font_get_nominal_glyph(font_, code, &glyph)) characters_.emplace(glyph, code);
  }
  hb_set_destroy(all);
}

ShapedRun Shaper::Shape(std::u32string_view text) {
  if (characters_.empty()) MapGlyphs();
  hb_buffer_t* buffer = hb_buffer_create();
  const int length = static_cast<int>(text.size());
  for (const char32_t character : text) hb_buffer_add(buffer, character, 0);
  hb_buffer_set_content_type(buffer, HB_BUFFER_CONTENT_TYPE_UNICODE);
  if (length > 0) hb_buffer_guess_segment_properties(buffer);
  hb_shape(font_, buffer, nullptr, 0);

  unsigned count = 0;
  const hb_glyph_info_t* infos = hb_buffer_get_glyph_infos(buffer, &count);
  const hb_glyph_position_t* places = hb_buffer_get_glyph_positions(buffer, &count);
  ShapedRun run;
  KVertex2D pen = KVertex2D::Origin;
  for (unsigned i = 0; i < count; ++i) {
    const auto fixed = [](hb_position_t v) { return KFixed::FromRaw(v); };
    if (const auto found = characters_.find(infos[i].codepoint); found != characters_.end()) {
      run.characters.push_back(found->second);
      // HarfBuzz's y axis points up.
      run.positions.push_back(
          {pen.x + fixed(places[i].x_offset), pen.y - fixed(places[i].y_offset)});
    } else {
      ++run.lost;
    }
    pen = pen + KVertex2D{fixed(places[i].x_advance), -fixed(places[i].y_advance)};
  }
  run.width = pen.x;
  hb_buffer_destroy(buffer);
  return run;
}

bool Shaper::NeedsShaping(std::u32string_view text) {
  switch (ScriptOf(text)) {
    case HB_SCRIPT_ARABIC:
    case HB_SCRIPT_SYRIAC:
    case HB_SCRIPT_NKO:
    case HB_SCRIPT_HEBREW:
    case HB_SCRIPT_DEVANAGARI:
    case HB_SCRIPT_BENGALI:
    case HB_SCRIPT_TAMIL:
    case HB_SCRIPT_THAI:
      return true;
    default:
      return false;
  }
}

bool Shaper::IsRightToLeft(std::u32string_view text) {
  return hb_script_get_horizontal_direction(ScriptOf(text)) == HB_DIRECTION_RTL;
}

bool Shaper::Joins(char32_t character) {
  switch (hb_unicode_general_category(hb_unicode_funcs_get_default(), character)) {
    case HB_UNICODE_GENERAL_CATEGORY_NON_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_ENCLOSING_MARK:
    case HB_UNICODE_GENERAL_CATEGORY_SPACE_SEPARATOR:
    case HB_UNICODE_GENERAL_CATEGORY_FORMAT:
      return true;
    default:
      return false;
  }
}

std::size_t Shaper::ScriptRun(std::u32string_view text) {
  hb_script_t run = HB_SCRIPT_COMMON;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const hb_script_t script = ScriptOf(text[i]);
    if (IsAnyScript(script)) continue;
    if (run != HB_SCRIPT_COMMON && script != run) return i;
    run = script;
  }
  return text.size();
}

}  // namespace typeset
