// kalvora-gallery: draws each picture of the gallery into a PNG and prints its time.
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "kalvora/kalvora.h"

#include "examples/common/Command.h"
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

void DrawAll(const std::string& folder) {
  if (mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
    throw examples::Error(folder + ": " + std::strerror(errno));
  }
  for (const gallery::Scene& scene : gallery::kScenes) Draw(scene, folder);
}

}  // namespace

int main(int argc, char** argv) {
  const examples::Command command{
      "kalvora-gallery",
      "FOLDER",
      "Draws pictures that show what Kalvora can do as PNG files into a folder, which is made if\n"
      "there is none, and prints how long each took.",
      {},
      1,
      1};
  return examples::Run(command, argc, argv,
                       [](const std::vector<std::string>& names) { DrawAll(names[0]); });
}
