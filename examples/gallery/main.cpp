// kalvora-gallery: draws each picture of the gallery into a PNG and prints its time.
#include <chrono>
#include <cstdio>
#include <exception>
#include <string>

#include <sys/stat.h>

#include "kalvora/kalvora.h"

#include "examples/common/Error.h"
#include "examples/common/png.h"
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"

namespace {

double Milliseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

// Draws twice: the second frame is timed, with memory warm as in an application.
void Draw(const gallery::Scene& scene, const std::string& folder) {
  KSoftPixmap picture;
  picture.Create(gallery::kWidth, gallery::kHeight, KFormat8888PM);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  gallery::Kit kit;
  std::chrono::steady_clock::duration time{};
  for (int frame = 0; frame < 2; ++frame) {
    if (!picture.pixels || !context.RenderToTexture(&picture)) {
      throw examples::Error("not enough memory");
    }
    const auto start = std::chrono::steady_clock::now();
    context.Clear(KColor32(255, 255, 255, 255));
    kit.NextFrame();
    scene.draw(context, kit);
    context.Flip();
    time = std::chrono::steady_clock::now() - start;
  }
  const std::string path = folder + "/" + scene.name + ".png";
  examples::WritePng(picture, path);
  std::printf("%-36s %8.3f ms  %s\n", path.c_str(), Milliseconds(time), scene.shows);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || argv[1][0] == '-') {
    std::fputs("usage: kalvora-gallery OUTDIR\n", stderr);
    return 1;
  }
  try {
    mkdir(argv[1], 0777);  // When it fails, writing the first picture says why.
    for (const gallery::Scene& scene : gallery::kScenes) Draw(scene, argv[1]);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "kalvora-gallery: %s\n", error.what());
    return 1;
  }
  return 0;
}
