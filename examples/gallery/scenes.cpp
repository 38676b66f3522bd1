// The table of the gallery's pictures.
#include "examples/gallery/scenes.h"

namespace gallery {

const Scene kScenes[kSceneCount] = {
    {"fill-rules", FillRules, "non-zero above, even-odd below"},
    {"transparency", Transparency, "translucent colours over one another"},
    {"rays", Rays, "edges at every angle, thinner than a pixel in the middle"},
    {"flowers", Flowers, "cubic and quadratic curves"},
    {"landscape", Landscape, "layers of translucent curves"},
    {"flatness", Flatness, "curves at 2, 1/2, 1/8 and 1/32 of a pixel"},
    {"rosette", Rosette, "one leaf under many rotations"},
    {"squares", Squares, "scaled, turned and skewed squares"},
    {"gradients", Gradients, "linear and radial, padded and repeated"},
    {"strokes", Strokes, "caps, joins, dashes, pens, hair lines"},
    {"pixmaps", Pixmaps, "patterns, nearest, bilinear and bicubic scaling, opacity"},
    {"masks", Masks, "soft masks through colours, gradients, a pattern, a clip path"},
    {"clips", Clips, "clip paths by either rule, clip rectangles"},
    {"text", Text, "sizes, scripts, turned lines, outlines, a gradient"},
    {"paragraphs", Paragraphs, "text at four sizes, missing glyphs from fallback fonts"},
    {"turned-text", TurnedText, "text turned, scaled and skewed, beside its outlines"},
    {"painted-text", PaintedText, "text in gradients, a pattern, translucent, stroked"},
    {"clipped-text", ClippedText, "text through clip paths and a clip rectangle"},
    {"hit-map", HitMap, "which shape is where, asked point by point"},
};

}  // namespace gallery
