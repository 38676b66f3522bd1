// The pictures of the gallery: one function each, one file a theme.
#ifndef EXAMPLES_GALLERY_SCENES_H
#define EXAMPLES_GALLERY_SCENES_H

class KSoftContext2D;

namespace gallery {

/// Every picture has this size.
constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 480;

// fills.cpp
void FillRules(KSoftContext2D& context);
void Transparency(KSoftContext2D& context);
void Rays(KSoftContext2D& context);
// curves.cpp
void Flowers(KSoftContext2D& context);
void Landscape(KSoftContext2D& context);
// transforms.cpp
void Rosette(KSoftContext2D& context);
void Squares(KSoftContext2D& context);
// gradients.cpp
void Gradients(KSoftContext2D& context);
// pixmaps.cpp
void Pixmaps(KSoftContext2D& context);
// masks.cpp
void Masks(KSoftContext2D& context);
// strokes.cpp
void Strokes(KSoftContext2D& context);
// textpages.cpp
void Paragraphs(KSoftContext2D& context);
void TurnedText(KSoftContext2D& context);
void PaintedText(KSoftContext2D& context);
void ClippedText(KSoftContext2D& context);
// clips.cpp
void Clips(KSoftContext2D& context);
// text.cpp
void Text(KSoftContext2D& context);
// picking.cpp
void HitMap(KSoftContext2D& context);

}  // namespace gallery

#endif
