// kalvora-dashboard: an animated instrument panel on a framebuffer or in shared memory.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <thread>
#include <vector>

#include "examples/common/Command.h"
#include "examples/common/Error.h"
#include "examples/common/files.h"
#include "examples/dashboard/Dashboard.h"

namespace {

constexpr char kFont[] = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

struct Options {
  KDisplay display = KDisplayFramebuffer;
  unsigned index = 0;
  unsigned rotation = 0;
  unsigned buffers = 3;
  unsigned frames = 0;
  std::string font;
  std::string save;
  bool hold = false;
};

unsigned ToUnsigned(const std::string& text, int low, int high) {
  return static_cast<unsigned>(examples::ToNumber(text, low, high));
}

void SetDisplay(Options& options, const std::string& value) {
  const struct {
    std::string name;
    KDisplay kind;
    int last;
  } kKinds[] = {{"fb", KDisplayFramebuffer, 31}, {"kms", KDisplayKms, 63}};
  options.display = KDisplayShared;
  if (value == "shm") return;
  for (const auto& kind : kKinds) {
    if (!value.starts_with(kind.name)) continue;
    options.display = kind.kind;
    options.index = ToUnsigned(value.substr(kind.name.size()), 0, kind.last);
    return;
  }
  throw examples::UsageError("'" + value + "' is none of fb0, kms0, shm");
}

examples::Command CommandLine(Options& options) {
  return {"kalvora-dashboard",
          "",
          "Shows an animated instrument panel on a display, until it is stopped.",
          {{"--display", "WHICH",
            "fb0: the framebuffer device /dev/fb0 (fb1 and so on likewise);\n"
            "kms0: the mode-setting card /dev/dri/card0 (kms1 and so on likewise);\n"
            "shm: the shared-memory surface, to be seen with kalvora-viewer (fb0)",
            [&](const std::string& value) { SetDisplay(options, value); }},
           {"--rotate", "DEGREES", "turns the picture clockwise: 0, 90, 180 or 270 (0)",
            [&](const std::string& value) {
              options.rotation =
                  90 * static_cast<unsigned>(examples::ToChoice(value, {"0", "90", "180", "270"}));
            }},
           {"--buffers", "N", "1, 2 or 3; 1 for boards that cannot pan (3)",
            [&](const std::string& value) { options.buffers = ToUnsigned(value, 1, 3); }},
           {"--frames", "N", "ends after N frames; 0: never (0)",
            [&](const std::string& value) { options.frames = ToUnsigned(value, 0, 1000000000); }},
           {"--font", "FILE", "the font of the lettering (DejaVu Sans)",
            [&](const std::string& value) { options.font = value; }},
           {"--save", "FILE",
            "at the end, draws the frames into a pixmap too and writes the last as a\n"
            "PPM file: what is on screen must look exactly so",
            [&](const std::string& value) { options.save = value; }},
           {"--hold", "", "then keeps the display open until a signal comes",
            [&](const std::string&) { options.hold = true; }}}};
}

volatile std::sig_atomic_t stopped = 0;

using Clock = std::chrono::steady_clock;

/// Draws frames until it has drawn enough, or until a signal. Frames are a sixtieth of a second
/// apart where nothing else holds them: a device with several buffers waits for its vertical sync.
unsigned Animate(KSoftContext2D& context, const Options& options) {
  const bool paced = options.display != KDisplayShared && options.buffers > 1;
  dashboard::Dashboard panel(context, options.font.c_str());
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

void WritePpm(const KSoftPixmap& picture, const std::string& path) {
  examples::OutputFile file(path);
  std::fprintf(file.Stream(), "P6 %u %u 255\n", picture.width, picture.height);
  for (unsigned y = 0; y < picture.height; ++y) {
    for (const std::uint32_t *p = picture.Row32(y), *end = p + picture.width; p < end; ++p) {
      const KColor32 c = KColor32::FromWord(*p);
      std::fprintf(file.Stream(), "%c%c%c", c.red, c.green, c.blue);
    }
  }
  file.Finish();
}

/// Draws the frames once more, without any display, and writes the last.
void Save(unsigned width, unsigned height, unsigned frames, const Options& options) {
  KSoftPixmap picture;
  picture.Create(width, height, KFormat0888PM);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  if (picture.pixels == nullptr || !context.RenderToTexture(&picture)) {
    throw examples::Error(context.LastError().text);
  }
  dashboard::Dashboard panel(context, options.font.c_str());
  for (unsigned n = 0; n < frames; ++n) panel.Draw(n);
  WritePpm(picture, options.save);
}

// A font that was asked for must be one; without the usual one there is no lettering.
void CheckFont(Options& options) {
  const bool isAskedFor = !options.font.empty();
  if (!isAskedFor) options.font = kFont;
  KFTFont font;
  if (font.LoadFont(options.font.c_str(), 0)) return;
  const std::string reason = font.LastError().text;
  if (isAskedFor) throw examples::Error(reason);
  std::fprintf(stderr, "kalvora-dashboard: %s; there is no lettering\n", reason.c_str());
}

void Show(Options options) {
  examples::ProtectInputs({options.font}, options.save);
  CheckFont(options);
  KSoftContext2D context;
  context.SetFlatness(KFixed(0.125f));
  context.SetAttribute(4, options.rotation);
  if (!context.SetDisplay(options.display, options.index, KFormat0888PM, options.buffers)) {
    throw examples::Error(context.LastError().text);
  }
  std::signal(SIGINT, [](int) { stopped = 1; });
  std::signal(SIGTERM, [](int) { stopped = 1; });
  const Clock::time_point start = Clock::now();
  const unsigned frames = Animate(context, options);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  const KSoftPixmap& target = context.GetTarget();
  if (!options.save.empty()) Save(target.width, target.height, frames, options);
  std::printf("%u frames in %.2f s: %.1f frames a second\n", frames, seconds, frames / seconds);
  std::fflush(stdout);
  while (options.hold && stopped == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

}  // namespace

int main(int argc, char** argv) {
  Options options;
  return examples::Run(CommandLine(options), argc, argv,
                       [&](const std::vector<std::string>&) { Show(options); });
}
