// Loading faces.
#include "kalvora/typeset/KTypeface.h"

#include <cstdint>
#include <cstdio>

#include <hb-ot.h>
#include <hb.h>

namespace {

// A face's font in font units; null when the file has no such face or no glyphs.
hb_font_t* OpenFont(hb_blob_t* file, int index) {
  hb_font_t* font = nullptr;
  hb_face_t* face = hb_face_create(file, static_cast<unsigned>(index));
  if (hb_face_count(file) > static_cast<unsigned>(index) && hb_face_get_glyph_count(face) > 0) {
    const int units = static_cast<int>(hb_face_get_upem(face));
    font = hb_font_create(face);
    hb_font_set_scale(font, units, units);
    hb_font_make_immutable(font);
  }
  hb_face_destroy(face);
  return font;
}

}  // namespace

KTypeface::KTypeface() = default;

KTypeface::~KTypeface() { Unload(); }

void KTypeface::Unload() {
  hb_font_destroy(hbFont_);
  hbFont_ = nullptr;
  colors_ = false;
  error_ = {};
  font_.Release(nullptr);
}

bool KTypeface::Fail(KErrorCode code, const char* why) {
  font_.Release(nullptr);
  error_.code = code;
  std::snprintf(error_.text, sizeof error_.text, "%s", why);
  return false;
}

// Shaping has a mapping of its own: that of the library's font goes when its thread ends.
bool KTypeface::Load(const char* path, int index) {
  Unload();
  if (!path || index < 0)
    return Fail(KErrorArgument, "a typeface needs a path and an index from 0");
  if (font_.LoadFont(path, index)) return Open(hb_blob_create_from_file(path), index);
  error_ = font_.LastError();
  return false;
}

bool KTypeface::LoadFromMemory(const void* data, std::size_t size, int index) {
  Unload();
  if (!data || size > INT32_MAX || index < 0) {
    return Fail(KErrorArgument, "a typeface needs data, up to 2 GB, and an index from 0");
  }
  if (font_.LoadFontFromMemory(data, size, index)) {
    return Open(hb_blob_create(static_cast<const char*>(data), static_cast<unsigned>(size),
                               HB_MEMORY_MODE_READONLY, nullptr, nullptr),
                index);
  }
  error_ = font_.LastError();
  return false;
}

// Takes the blob, which lives on in the font.
bool KTypeface::Open(hb_blob_t* file, int index) {
  hbFont_ = OpenFont(file, index);
  hb_blob_destroy(file);
  if (!hbFont_) return Fail(KErrorNotAFont, "the file holds no TrueType or OpenType face");
  hb_face_t* face = hb_font_get_face(hbFont_);
  colors_ = hb_ot_color_has_png(face) || hb_ot_color_has_layers(face) || hb_ot_color_has_svg(face);
  return true;
}

std::uint32_t KTypeface::GlyphOf(char32_t character) const {
  hb_codepoint_t glyph = 0;
  const bool found = hbFont_ && hb_font_get_nominal_glyph(hbFont_, character, &glyph);
  return found ? glyph : 0;
}
