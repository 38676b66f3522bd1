// Flips on a mode-setting card and looks how regularly, for tools/vm-test:
//
//   kalvora_display_flips BUFFERS BITS mode|any PICTURE [COMMAND...]
//
// Says how fast frames are shown, which with "mode" must be the mode's rate. With a command the
// card is lost to it, as on a switch of consoles; frames pass unseen until it ends, and are then
// seen as before. At the end PICTURE holds what is on screen, until the program is killed.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>
#include <xf86drm.h>
#include <xf86drmMode.h>

#include "kalvora/display/KLinuxFb.h"

namespace {

/// The descriptor by which this process has the card open.
int CardOfThisProcess() {
  for (int fd = 0; fd < 64; ++fd) {
    char target[64] = "";
    const std::string link = "/proc/self/fd/" + std::to_string(fd);
    const ssize_t n = readlink(link.c_str(), target, sizeof target - 1);
    if (n > 0 && std::strncmp(target, "/dev/dri/card", 13) == 0) return fd;
  }
  return -1;
}

/// Milliseconds of a frame of the mode that is set; 0 when there is none.
double FrameOfMode(int card) {
  drmModeRes* const resources = drmModeGetResources(card);
  double frame = 0;
  for (int i = 0; resources != nullptr && i < resources->count_crtcs; ++i) {
    drmModeCrtc* const crtc = drmModeGetCrtc(card, resources->crtcs[i]);
    if (crtc != nullptr && crtc->mode_valid != 0 && crtc->mode.clock != 0) {
      frame = double{1} * crtc->mode.htotal * crtc->mode.vtotal / crtc->mode.clock;
    }
    drmModeFreeCrtc(crtc);
  }
  drmModeFreeResources(resources);
  return frame;
}

class Flips {
 public:
  Flips(unsigned buffers, unsigned bits)
      : bits_(bits),
        pixels_(
            display_.SetDisplay(KDisplayKms, 0, bits == 16 ? KFormat16 : KFormat0888PM, buffers)) {}
  const char* Refusal() const { return pixels_ == nullptr ? display_.LastError().text : nullptr; }

  /// Draws and shows a frame; the milliseconds since the one before.
  double Next() {
    ++frame_;
    const unsigned rows = frame_ > 3 ? kMoving : display_.Height();
    for (unsigned y = 0; y < rows; ++y) {
      auto* const row = static_cast<std::uint8_t*>(pixels_) + std::size_t{display_.Stride()} * y;
      const unsigned grey = Grey(y);
      if (bits_ == 16) {
        std::fill_n(reinterpret_cast<std::uint16_t*>(row), display_.Width(),
                    static_cast<std::uint16_t>(grey << 11 | grey << 6 | grey));
      } else {
        std::memset(row, static_cast<int>(grey << 3 | grey >> 2), 4 * display_.Width());
      }
    }
    pixels_ = display_.Flip(false, nullptr);
    const auto now = std::chrono::steady_clock::now();
    const std::chrono::duration<double, std::milli> took = now - last_;
    last_ = now;
    return took.count();
  }
  /// The time between frames of which half are faster, which load does not move; whether it is
  /// that of the mode.
  bool Measure(int count, double frameOfMode) {
    std::vector<double> times;
    Next();
    Next();
    for (int i = 0; i < count; ++i) times.push_back(Next());
    double all = 0;
    for (const double t : times) all += t;
    std::sort(times.begin(), times.end());
    const double middle = times[times.size() / 2];
    std::printf("%d frames, %.2f a second, half within %.2f ms; ", count, 1000 * count / all,
                middle);
    return std::abs(middle - frameOfMode) < 0.04 * frameOfMode &&
           1000 * count / all < 1020 / frameOfMode;
  }
  bool Save(const char* path) const {
    FILE* const file = std::fopen(path, "wb");
    if (file == nullptr) return false;
    std::fprintf(file, "P6\n%u %u\n255\n", display_.Width(), display_.Height());
    for (unsigned y = 0; y < display_.Height(); ++y) {
      // What 16 bits make of it: green has one bit more, which is 0.
      const unsigned grey = Grey(y);
      const unsigned green = bits_ == 16 ? grey << 3 | grey >> 3 : grey << 3 | grey >> 2;
      const auto wide = static_cast<int>(grey << 3 | grey >> 2);
      for (unsigned x = 0; x < display_.Width(); ++x) {
        std::fputc(wide, file);
        std::fputc(static_cast<int>(green), file);
        std::fputc(wide, file);
      }
    }
    return std::fclose(file) == 0;
  }

 private:
  static constexpr unsigned kMoving = 64;  ///< rows that change from frame to frame

  unsigned Grey(unsigned y) const { return (y < kMoving ? y + frame_ : y) / 8 % 32; }

  KLinuxFb display_;
  unsigned bits_;
  unsigned frame_ = 0;
  void* pixels_;
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

/// Gives the card away, and takes it back when the command has ended. False when it failed.
bool LoseTo(char** command, int card, Flips& flips) {
  if (drmDropMaster(card) != 0) return false;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    if (std::freopen("/dev/null", "w", stdout) != nullptr) execvp(command[0], command);
    _exit(127);
  }
  int status = 0;
  int unseen = 0;
  double longest = 0;
  for (; waitpid(child, &status, WNOHANG) == 0; ++unseen) longest = std::max(longest, flips.Next());
  std::printf("%d frames unseen, %.0f ms at most; ", unseen, longest);
  return status == 0 && unseen > 1 && drmSetMaster(card) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  Flips flips(static_cast<unsigned>(std::atoi(argv[1])), static_cast<unsigned>(std::atoi(argv[2])));
  if (flips.Refusal() != nullptr) {
    std::printf("%s\n", flips.Refusal());
    return 1;
  }
  const int card = CardOfThisProcess();
  const double frame = FrameOfMode(card);
  const bool isTimed = std::strcmp(argv[3], "mode") == 0;
  std::printf("mode: %.2f ms; ", frame);
  bool good = flips.Measure(180, frame) || !isTimed;
  if (argc > 5)
    good = LoseTo(argv + 5, card, flips) && (flips.Measure(90, frame) || !isTimed) && good;
  good = flips.Save(argv[4]) && good;
  std::printf("%s\n", good ? "as it should be" : "wrong");
  std::fflush(stdout);
  std::signal(SIGTERM, [](int) {});
  if (good) pause();
  return good ? 0 : 1;
}
