// kalvora-gallery: draws each picture of the gallery into a PNG and prints its time.
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/stat.h>

#include "kalvora/kalvora.h"

#include "examples/common/Command.h"
#include "examples/common/Error.h"
#include "examples/common/files.h"
#include "examples/common/png.h"
#include "examples/gallery/Kit.h"
#include "examples/gallery/scenes.h"

namespace {

double Milliseconds(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

struct Options {
  bool half = false;
  bool check = false;
};

// Draws twice: the second frame is timed, with memory warm as in an application.
double Draw(const gallery::Scene& scene, KSoftPixmap& picture) {
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
  return Milliseconds(time);
}

unsigned Channel(std::uint32_t word, unsigned shift) { return word >> shift & 0xFF; }

// Each pixel is the mean of four.
void Halve(const KSoftPixmap& picture, KSoftPixmap& half) {
  half.Create(picture.width / 2, picture.height / 2, KFormat8888PM);
  if (!half.pixels) throw examples::Error("not enough memory");
  for (unsigned i = 0; i < half.width * half.height; ++i) {
    const unsigned x = i % half.width, y = i / half.width;
    const std::uint32_t* above = picture.Row32(2 * y) + 2 * x;
    const std::uint32_t* below = picture.Row32(2 * y + 1) + 2 * x;
    std::uint32_t mean = 0;
    for (unsigned shift = 0; shift < 32; shift += 8) {
      mean |= (Channel(above[0], shift) + Channel(above[1], shift) + Channel(below[0], shift) +
               Channel(below[1], shift) + 2) /
                  4
              << shift;
    }
    half.Row32(y)[x] = mean;
  }
}

int LargestDifference(const KSoftPixmap& a, const KSoftPixmap& b) {
  if (a.width != b.width || a.height != b.height) return 255;
  int largest = 0;
  for (unsigned i = 0; i < a.width * a.height; ++i) {
    const std::uint32_t p = a.Row32(i / a.width)[i % a.width],
                        q = b.Row32(i / a.width)[i % a.width];
    for (unsigned shift = 0; shift < 32; shift += 8) {
      largest = std::max(largest, std::abs(int(Channel(p, shift)) - int(Channel(q, shift))));
    }
  }
  return largest;
}

// Whether the file shows the picture, but for what another FreeType may draw otherwise.
bool IsCurrent(const KSoftPixmap& picture, const std::string& path) {
  const std::string file = examples::ReadInput(path);
  KSoftPixmap stored;
  return examples::ReadPng(file.data(), file.size(), stored) &&
         LargestDifference(picture, stored) <= 2;
}

void DrawAll(const Options& options, const std::string& folder) {
  if (!options.check && mkdir(folder.c_str(), 0777) != 0 && errno != EEXIST) {
    throw examples::Error(folder + ": " + std::strerror(errno));
  }
  for (const gallery::Scene& scene : gallery::kScenes) {
    KSoftPixmap full, half;
    const double time = Draw(scene, full);
    if (options.half) Halve(full, half);
    const KSoftPixmap& picture = options.half ? half : full;
    const std::string path = folder + "/" + scene.name + ".png";
    if (!options.check) {
      examples::WritePng(picture, path);
      std::printf("%-36s %8.3f ms  %s\n", path.c_str(), time, scene.shows);
    } else if (!IsCurrent(picture, path)) {
      throw examples::Error(path + ": is not what is drawn today");
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  const examples::Command command{
      "kalvora-gallery",
      "FOLDER",
      "Draws pictures that show what Kalvora can do as PNG files into a folder, which is made if\n"
      "there is none, and prints how long each took.",
      {{"--half", "", "half as large", [&](const std::string&) { options.half = true; }},
       {"--check", "", "writes nothing; fails when the folder has other pictures",
        [&](const std::string&) { options.check = true; }}},
      1,
      1};
  return examples::Run(command, argc, argv,
                       [&](const std::vector<std::string>& names) { DrawAll(options, names[0]); });
}
