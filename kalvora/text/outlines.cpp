// KFTFontContext: glyph outlines as paths.
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/ft.h"

using kalvora::FromF26Dot6;

namespace {

KSoftPath& PathOf(void* user) { return *static_cast<KSoftPath*>(user); }

// Decomposition always goes on: when memory runs out the path lacks the segment.
constexpr int kGoOn = 0;

}  // namespace

const FT_Outline_Funcs KFTFontContext::funcs = {
    .move_to =
        [](const FT_Vector* to, void* path) {
          PathOf(path).MoveTo(FromF26Dot6(*to));
          return kGoOn;
        },
    .line_to =
        [](const FT_Vector* to, void* path) {
          PathOf(path).LineTo(FromF26Dot6(*to));
          return kGoOn;
        },
    .conic_to =
        [](const FT_Vector* control, const FT_Vector* to, void* path) {
          PathOf(path).QuadTo(FromF26Dot6(*control), FromF26Dot6(*to));
          return kGoOn;
        },
    .cubic_to =
        [](const FT_Vector* control1, const FT_Vector* control2, const FT_Vector* to, void* path) {
          PathOf(path).CubicTo(FromF26Dot6(*control1), FromF26Dot6(*control2), FromF26Dot6(*to));
          return kGoOn;
        },
    .shift = 0,
    .delta = 0,
};

namespace {

// Into an empty path; nothing when the glyph has no outline. Contours are closed: a stroke joins
// where they begin.
void TakeOutline(FT_GlyphSlotRec& glyph, KSoftPath& path) {
  if (glyph.format != FT_GLYPH_FORMAT_OUTLINE) return;
  FT_Outline_Decompose(&glyph.outline, &KFTFontContext::funcs, &path);
  for (KSegment* s = path.first; s; s = s->next) {
    if (s->Opens()) s->header |= 2;
  }
}

}  // namespace

void KFTFontContext::LoadChar(KSoftPath* path, int ch) {
  LoadOutline(path, static_cast<std::uint32_t>(ch & 0xFFFF));
}

void KFTFontContext::LoadOutline(KSoftPath* path, std::uint32_t code) {
  if (!path || !kalvora::IsLoaded(font)) return;
  path->Rewind();
  // Other contexts may share the face: it must show what this one's matrix says.
  FT_Set_Transform(font->face, matrix, nullptr);
  if (FT_Load_Char(font->face, code, kalvora::LoadFlags(*font)) == 0) {
    TakeOutline(*font->face->glyph, *path);
  }
}

void KFTFontContext::LoadGlyph(KSoftPath* path, const KFTFont* from, std::uint32_t glyph) {
  if (!path) return;
  path->Rewind();
  if (!kalvora::IsLoaded(from)) return;
  if (FT_Load_Glyph(from->face, glyph, kalvora::LoadFlags(*from) | FT_LOAD_IGNORE_TRANSFORM) == 0) {
    TakeOutline(*from->face->glyph, *path);
  }
}
