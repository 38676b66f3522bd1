// The pictures of the gallery: one function each, one file a theme.
#ifndef EXAMPLES_GALLERY_SCENES_H
#define EXAMPLES_GALLERY_SCENES_H

class KSoftContext2D;

namespace gallery {

class Kit;

/// Every picture has this size.
constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;

struct Scene {
  const char* name;
  void (*draw)(KSoftContext2D&, Kit&);
  const char* shows;
};

constexpr int kSceneCount = 19;
extern const Scene kScenes[kSceneCount];

// fills.cpp
void FillRules(KSoftContext2D& context, Kit& kit);
void Transparency(KSoftContext2D& context, Kit& kit);
void Rays(KSoftContext2D& context, Kit& kit);
// curves.cpp
void Flowers(KSoftContext2D& context, Kit& kit);
void Landscape(KSoftContext2D& context, Kit& kit);
// flatness.cpp
void Flatness(KSoftContext2D& context, Kit& kit);
// transforms.cpp
void Rosette(KSoftContext2D& context, Kit& kit);
void Squares(KSoftContext2D& context, Kit& kit);
// gradients.cpp
void Gradients(KSoftContext2D& context, Kit& kit);
// pixmaps.cpp
void Pixmaps(KSoftContext2D& context, Kit& kit);
// masks.cpp
void Masks(KSoftContext2D& context, Kit& kit);
// strokes.cpp
void Strokes(KSoftContext2D& context, Kit& kit);
// textpages.cpp
void Paragraphs(KSoftContext2D& context, Kit& kit);
void TurnedText(KSoftContext2D& context, Kit& kit);
void PaintedText(KSoftContext2D& context, Kit& kit);
void ClippedText(KSoftContext2D& context, Kit& kit);
// clips.cpp
void Clips(KSoftContext2D& context, Kit& kit);
// text.cpp
void Text(KSoftContext2D& context, Kit& kit);
// picking.cpp
void HitMap(KSoftContext2D& context, Kit& kit);

}  // namespace gallery

#endif
