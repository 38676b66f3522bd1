// kalvora-gallery: draws each picture of the gallery into a PNG and prints its time.
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include <sys/stat.h>

#include "kalvora/kalvora.h"

#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "examples/gallery/scenes.h"

namespace {

struct Scene {
  const char* name;
  void (*draw)(KSoftContext2D&);
  const char* shows;
};

constexpr Scene kScenes[] = {
    {"fill-rules", gallery::FillRules, "non-zero above, even-odd below"},
    {"transparency", gallery::Transparency, "translucent colours over one another"},
    {"rays", gallery::Rays, "edges at every angle, thinner than a pixel in the middle"},
    {"flowers", gallery::Flowers, "cubic and quadratic curves"},
    {"landscape", gallery::Landscape, "layers of translucent curves"},
    {"rosette", gallery::Rosette, "one leaf under many rotations"},
    {"squares", gallery::Squares, "scaled, turned and skewed squares"},
    {"gradients", gallery::Gradients, "linear and radial, padded and repeated"},
    {"strokes", gallery::Strokes, "caps, joins, dashes, pens, hair lines"},
    {"pixmaps", gallery::Pixmaps, "patterns, nearest, bilinear and bicubic scaling, opacity"},
    {"masks", gallery::Masks, "soft masks through colours, gradients, a pattern, a clip path"},
    {"clips", gallery::Clips, "clip paths by either rule, clip rectangles"},
    {"text", gallery::Text, "sizes, scripts, turned lines, outlines, a gradient"},
    {"paragraphs", gallery::Paragraphs, "text at four sizes, missing glyphs from fallback fonts"},
    {"turned-text", gallery::TurnedText, "text turned, scaled and skewed, beside its outlines"},
    {"painted-text", gallery::PaintedText, "text in gradients, a pattern, translucent, stroked"},
    {"clipped-text", gallery::ClippedText, "text through clip paths and a clip rectangle"},
    {"hit-map", gallery::HitMap, "which shape is where, asked point by point"},
};

double Milliseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

// Draws twice: the second frame is timed, with memory warm as in an application.
void Draw(const Scene& scene, const std::string& folder) {
  KSoftPixmap picture;
  picture.Create(gallery::kWidth, gallery::kHeight, KFormat8888PM);
  KSoftContext2D context;
  std::chrono::steady_clock::duration time{};
  for (int frame = 0; frame < 2; ++frame) {
    if (!picture.pixels || !context.RenderToTexture(&picture)) {
      throw examples::Error("not enough memory");
    }
    const auto start = std::chrono::steady_clock::now();
    context.Clear(KColor32(255, 255, 255, 255));
    scene.draw(context);
    context.Flip();
    time = std::chrono::steady_clock::now() - start;
  }
  const std::string path = folder + "/" + scene.name + ".png";
  examples::WritePng(picture, path);
  std::printf("%-36s %8.3f ms  %s\n", path.c_str(), Milliseconds(time), scene.shows);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: kalvora-gallery OUTDIR\n", stderr);
    return 1;
  }
  try {
    mkdir(argv[1], 0777);  // When it fails, writing the first picture says why.
    for (const Scene& scene : kScenes) Draw(scene, argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-gallery: %s\n", error.what());
    return 1;
  }
  return 0;
}
