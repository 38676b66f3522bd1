// kalvora-dashboard: an animated instrument panel on a framebuffer or in shared memory.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <getopt.h>

#include "examples/dashboard/Dashboard.h"

namespace {

constexpr char kUsage[] =
    "kalvora-dashboard [--display fb0|kms0|shm] [--rotate DEGREES] [--buffers N] [--frames N]\n"
    "                  [--font FILE] [--save FILE] [--hold]\n"
    "\n"
    "  --display fb0   the framebuffer device /dev/fb0 (fb1 and so on likewise); the default\n"
    "  --display kms0  the mode-setting card /dev/dri/card0 (kms1 and so on likewise)\n"
    "  --display shm   the shared-memory surface, to be seen with kalvora-viewer\n"
    "  --rotate DEGREES  turns the picture clockwise by 90, 180 or 270 degrees\n"
    "  --buffers N     1, 2 or 3 (3); 1 for boards that cannot pan\n"
    "  --frames N      ends after N frames (0: never)\n"
    "  --font FILE     the font of the lettering (DejaVu Sans)\n"
    "  --save FILE     at the end, draws the frames into a pixmap too and writes the last as a "
    "PPM\n"
    "                  file: what is on screen must look exactly so\n"
    "  --hold          then keeps the display open until a signal comes\n";

struct Options {
  KDisplay display = KDisplayFramebuffer;
  unsigned index = 0;
  unsigned rotation = 0;
  unsigned buffers = 3;
  unsigned frames = 0;
  const char* font = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
  const char* save = nullptr;
  bool hold = false;
};

bool ParseNumber(const char* text, unsigned most, unsigned& number) {
  char* end = nullptr;
  const unsigned long n = std::strtoul(text, &end, 10);
  number = static_cast<unsigned>(n);
  return *text >= '0' && *text <= '9' && *end == 0 && n <= most;
}

bool ParseDisplay(const char* name, Options& options) {
  if (std::strcmp(name, "shm") == 0) {
    options.display = KDisplayShared;
    return true;
  }
  if (std::strncmp(name, "kms", 3) == 0) {
    options.display = KDisplayKms;
    return ParseNumber(name + 3, 63, options.index);
  }
  return std::strncmp(name, "fb", 2) == 0 && ParseNumber(name + 2, 31, options.index);
}

bool Parse(int argc, char** argv, Options& options) {
  const option names[] = {
      {"display", required_argument, nullptr, 'd'}, {"buffers", required_argument, nullptr, 'b'},
      {"frames", required_argument, nullptr, 'f'},  {"font", required_argument, nullptr, 't'},
      {"save", required_argument, nullptr, 's'},    {"rotate", required_argument, nullptr, 'r'},
      {"hold", no_argument, nullptr, 'h'},          {nullptr, 0, nullptr, 0}};
  bool good = true;
  for (int name; good && (name = getopt_long(argc, argv, "", names, nullptr)) != -1;) {
    if (name == 't') options.font = optarg;
    if (name == 's') options.save = optarg;
    if (name == 'h') options.hold = true;
    good =
        name == 't' || name == 's' || name == 'h' ||
        (name == 'd' && ParseDisplay(optarg, options)) ||
        (name == 'r' && ParseNumber(optarg, 270, options.rotation) && options.rotation % 90 == 0) ||
        (name == 'b' && ParseNumber(optarg, 3, options.buffers) && options.buffers > 0) ||
        (name == 'f' && ParseNumber(optarg, 1000000000, options.frames));
  }
  return good && optind == argc;
}

volatile std::sig_atomic_t stopped = 0;

using Clock = std::chrono::steady_clock;

/// Draws frames until it has drawn enough, or until a signal. Frames are a sixtieth of a second
/// apart where nothing else holds them: a device with several buffers waits for its vertical sync.
unsigned Run(KSoftContext2D& context, const Options& options) {
  const bool paced = options.display != KDisplayShared && options.buffers > 1;
  dashboard::Dashboard panel(context, options.font);
  Clock::time_point due = Clock::now();
  unsigned n = 0;
  for (; (options.frames == 0 || n < options.frames) && stopped == 0; ++n) {
    const KRect dirty = panel.Draw(n);
    context.Flip(true, n == 0 ? nullptr : &dirty);
    if (paced) continue;
    due += std::chrono::microseconds(16667);
    std::this_thread::sleep_until(due);
  }
  return n;
}

bool WritePpm(const KSoftPixmap& picture, const char* path) {
  std::FILE* const file = std::fopen(path, "wb");
  if (file == nullptr) return false;
  std::fprintf(file, "P6 %u %u 255\n", picture.width, picture.height);
  for (unsigned y = 0; y < picture.height; ++y) {
    for (const std::uint32_t *p = picture.Row32(y), *end = p + picture.width; p < end; ++p) {
      const KColor32 c = KColor32::FromWord(*p);
      std::fprintf(file, "%c%c%c", c.red, c.green, c.blue);
    }
  }
  return std::fclose(file) == 0;
}

/// Draws the frames once more, without any display, and writes the last.
bool Save(unsigned width, unsigned height, unsigned frames, const Options& options) {
  KSoftPixmap picture;
  picture.Create(width, height, KFormat0888PM);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  if (picture.pixels == nullptr || !context.RenderToTexture(&picture)) return false;
  dashboard::Dashboard panel(context, options.font);
  for (unsigned n = 0; n < frames; ++n) panel.Draw(n);
  return WritePpm(picture, options.save);
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  if (!Parse(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  context.SetAttribute(4, options.rotation);
  if (!context.SetDisplay(options.display, options.index, KFormat0888PM, options.buffers)) {
    std::fprintf(stderr, "kalvora-dashboard: %s\n", context.LastError().text);
    return 1;
  }
  std::signal(SIGINT, [](int) { stopped = 1; });
  std::signal(SIGTERM, [](int) { stopped = 1; });
  const Clock::time_point start = Clock::now();
  const unsigned frames = Run(context, options);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  const KSoftPixmap& target = context.GetTarget();
  if (options.save != nullptr && !Save(target.width, target.height, frames, options)) {
    std::fprintf(stderr, "kalvora-dashboard: cannot write %s\n", options.save);
    return 1;
  }
  std::printf("%u frames in %.2f s: %.1f frames a second\n", frames, seconds, frames / seconds);
  std::fflush(stdout);
  while (options.hold && stopped == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return 0;
}
