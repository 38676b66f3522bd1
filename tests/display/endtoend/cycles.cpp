// Opens and closes a display many times, with one to three buffers, and checks that nothing is
// left:
//
//   kalvora_display_cycles fb|kms N
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "kalvora/context/KSoftContext2D.h"

namespace {

struct Held {
  long descriptors = 0, mappings = 0;
  bool operator==(const Held&) const = default;
};

Held Count() {
  Held held;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    ++held.descriptors;
  }
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);)
    held.mappings += line.find("/dev/") < line.size();
  return held;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const KDisplay kind = std::strcmp(argv[1], "kms") == 0 ? KDisplayKms : KDisplayFramebuffer;
  const Held before = Count();
  KSoftContext2D context;
  for (int i = 0; i < std::atoi(argv[2]); ++i) {
    const unsigned buffers = kind == KDisplayKms ? 1 + static_cast<unsigned>(i) % 3 : 1;
    if (!context.SetDisplay(kind, 0, KFormat0888PM, buffers)) {
      std::printf("cycle %d: %s\n", i, context.LastError().text);
      return 1;
    }
    context.Clear(KColor32(0, 0, static_cast<unsigned>(i) & 255, 255));
    context.Flip(true, nullptr);
    context.RenderToTexture(nullptr);
  }
  const Held after = Count();
  std::printf("%ld descriptors before, %ld after; %ld mappings of devices after\n",
              before.descriptors, after.descriptors, after.mappings);
  return before == after ? 0 : 1;
}
