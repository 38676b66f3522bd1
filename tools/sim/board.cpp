// The board's settings, its two devices, and its frames as files.
#include "tools/sim/board.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include "tools/sim/png.h"

namespace sim {
namespace {

constexpr unsigned kCopyRequest = 0x40044B01;

std::atomic<Board*> existing{nullptr};

[[noreturn]] void Refuse(const char* name, const char* value) {
  std::fprintf(stderr, "libkalvora-sim: %s=%s makes no sense\n", name, value);
  std::_Exit(2);
}

unsigned Number(const char* name, unsigned fallback, unsigned least, unsigned most) {
  const char* const value = std::getenv(name);
  if (value == nullptr) return fallback;
  char* end = nullptr;
  const unsigned long n = std::strtoul(value, &end, 10);
  if (end == value || *end != 0 || n < least || n > most) Refuse(name, value);
  return static_cast<unsigned>(n);
}

Settings FromEnvironment() {
  Settings s;
  if (const char* const size = std::getenv("KALVORA_SIM_SIZE")) {
    char rest = 0;
    if (std::sscanf(size, "%ux%u%c", &s.width, &s.height, &rest) != 2 || s.width == 0 ||
        s.height == 0 || s.width > 8192 || s.height > 8192) {
      Refuse("KALVORA_SIM_SIZE", size);
    }
  }
  s.bpp = Number("KALVORA_SIM_DEPTH", 32, 8, 32);
  if (s.bpp % 8 != 0) Refuse("KALVORA_SIM_DEPTH", std::getenv("KALVORA_SIM_DEPTH"));
  s.linePadding = Number("KALVORA_SIM_PADDING", 0, 0, 4096);
  s.bgr = Number("KALVORA_SIM_BGR", 0, 0, 1) != 0;
  s.onlyDepth = Number("KALVORA_SIM_ONLY_DEPTH", 0, 0, 1) != 0;
  s.buffers = Number("KALVORA_SIM_BUFFERS", 3, 1, 16);
  s.hz = Number("KALVORA_SIM_HZ", 60, 0, 1000000);
  s.panning = Number("KALVORA_SIM_PANNING", 1, 0, 1) != 0;
  s.vsync = Number("KALVORA_SIM_VSYNC", 1, 0, 1) != 0;
  return s;
}

std::uint64_t Hash(const Frame& frame) {
  std::uint64_t hash = 14695981039346656037u;
  for (std::size_t i = 0; i < std::size_t{frame.stride} * frame.height; ++i) {
    hash = (hash ^ frame.pixels[i]) * 1099511628211u;
  }
  return hash;
}

}  // namespace

Board& Board::Get() {
  static Board* const board = existing = new Board;  // never destroyed: threads may outlive main
  return *board;
}

Board* Board::Existing() { return existing; }

Board::Board()
    : hasMover(Number("KALVORA_SIM_MOVER", 1, 0, 1) != 0),
      moverFd(memfd_create("kalvora-sim-mover", MFD_CLOEXEC)),
      fb(FromEnvironment()) {
  if (const char* const path = std::getenv("KALVORA_SIM_PNG")) folder = path;
  if (!folder.empty()) {
    fb.OnFrame([this](const Frame& frame) { Record(frame); });
  }
}

int Board::Open(const char* path) {
  if (std::strcmp(path, "/dev/fb0") == 0) return fb.Open();
  if (std::strcmp(path, "/dev/msm_adm") != 0) return kNotOurs;
  if (hasMover) return fcntl(moverFd, F_DUPFD, 0);
  errno = ENOENT;
  return -1;
}

int Board::Ioctl(int descriptor, unsigned request, void* argument) {
  int error = ENOTTY;
  if (fb.Owns(descriptor)) {
    error = fb.Ioctl(request, argument);
  } else if (SameFile(descriptor, moverFd)) {
    if (request == kCopyRequest) error = fb.CopyRect(static_cast<const std::uint32_t*>(argument));
  } else {
    return kNotOurs;
  }
  errno = error;
  return error == 0 ? 0 : -1;
}

void Board::Record(const Frame& frame) {
  char name[32];
  std::snprintf(name, sizeof name, "/frame-%04d.png", frames++);
  lastHash = Hash(frame);
  if (!WritePng(frame, folder + name)) {
    std::fprintf(stderr, "libkalvora-sim: cannot write %s%s\n", folder.c_str(), name);
    folder.clear();
    std::_Exit(2);
  }
}

void Board::Finish() {
  if (folder.empty()) return;
  const Frame frame = fb.Shown();
  if (frames == 0 || Hash(frame) != lastHash) Record(frame);
}

}  // namespace sim
