// KMsmAdm: rectangle copies inside the framebuffer by the board's data mover.
#ifndef KALVORA_DISPLAY_KMSMADM_H
#define KALVORA_DISPLAY_KMSMADM_H

#include "kalvora/core/KRect.h"

/// The device "/dev/msm_adm", which copies 32-bit pixels without the processor. Errors of a copy
/// are not reported. One object belongs to one thread at a time.
class KMsmAdm {
 public:
  static constexpr char kPath[] = "/dev/msm_adm";

  KMsmAdm() = default;
  ~KMsmAdm() { Close(); }
  KMsmAdm(const KMsmAdm&) = delete;
  KMsmAdm& operator=(const KMsmAdm&) = delete;

  /// Opens the device, once. False when there is none.
  bool Open();
  void Close();
  /// Copies rectangle r2 of the memory behind fd2 (rows stride2 bytes apart) to r1 behind fd1: the
  /// driver takes the second set of arguments as the source. Rectangles lie at pixels of 4 bytes,
  /// counted from the start of the memory. Nothing happens while the device is closed.
  void Rectcpy32(int fd1, int fd2, const KRect& r1, const KRect& r2, int stride1, int stride2);

 private:
  int fd_ = -1;
};

#endif
