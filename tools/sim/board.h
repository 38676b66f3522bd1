// The simulated board of one process: which files it has, and what it was told to be.
#ifndef KALVORA_TOOLS_SIM_BOARD_H
#define KALVORA_TOOLS_SIM_BOARD_H

#include <cstdint>
#include <string>

#include "tools/sim/device.h"

namespace sim {

/// "/dev/fb0", "/dev/msm_adm", and the recorder of frames. The environment says how they are:
///
///   KALVORA_SIM_SIZE=320x480   pixels
///   KALVORA_SIM_DEPTH=32       bits a pixel: 8, 16, 24 or 32
///   KALVORA_SIM_BUFFERS=3      whole pictures in the memory
///   KALVORA_SIM_HZ=60          vertical syncs a second; 0: as fast as anybody asks
///   KALVORA_SIM_PANNING=1      the driver can pan
///   KALVORA_SIM_VSYNC=1        the driver can wait for vertical syncs
///   KALVORA_SIM_MOVER=1        there is a data mover
///   KALVORA_SIM_PNG=           an existing folder for frame-0000.png (the first picture) and so on
class Board {
 public:
  /// The process's board, made by the first call.
  static Board& Get();
  /// The same, or null while nobody has made it.
  static Board* Existing();

  /// A descriptor for a path that the board has, -1 with an error in errno when it lacks it now, or
  /// kNotOurs.
  static constexpr int kNotOurs = -2;
  int Open(const char* path);
  /// Answers a request for one of the board's descriptors: 0, or -1 with errno; or kNotOurs.
  int Ioctl(int descriptor, unsigned request, void* argument);
  /// Writes the last frame, in case that it was never panned to.
  void Finish();

 private:
  Board();
  void Record(const Frame& frame);

  bool hasMover;
  std::string folder;
  int frames = 0;
  std::uint64_t lastHash = 0;
  int moverFd;
  Framebuffer fb;
};

}  // namespace sim

#endif
