// KFbScreen: a framebuffer device. A buffer is shown by panning to it.
#ifndef KALVORA_DISPLAY_SCREENS_KFBSCREEN_H
#define KALVORA_DISPLAY_SCREENS_KFBSCREEN_H

#include "kalvora/display/screens/KScreen.h"

struct fb_fix_screeninfo;
struct fb_var_screeninfo;

/// "/dev/fb<index>", whose whole memory is mapped; its buffers lie one behind the other.
class KFbScreen final : public KScreen {
 public:
  ~KFbScreen() override;

  bool Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) override;
  bool Look(unsigned index, KDisplayFacts& facts, KError& error) override;
  bool MakeBuffers(unsigned count, KError& error) override;
  std::uint8_t* Address(unsigned index) const override;
  int MoverFd(unsigned index) const override { return index < available_ ? fd_ : -1; }
  KShown Show(unsigned index, const KRect* dirty, bool force,
              const std::atomic<bool>& cancelled) override;
  int WaitForVsync() override;

 private:
  bool OpenDevice(unsigned index, KError& error);
  bool SetMode(fb_var_screeninfo& mode, unsigned bitsPerPixel, bool orSimilar, KError& error);
  bool TakeMode(const fb_var_screeninfo& mode, unsigned bitsPerPixel, KError& error);
  bool TakeMemory(fb_fix_screeninfo& memory, bool orSimilar, KError& error);
  bool TakeRows(const fb_var_screeninfo& mode, const fb_fix_screeninfo& memory, bool orSimilar,
                KError& error);
  bool Pan(fb_var_screeninfo& mode);
  bool Refused(const char* what, KError& error) const;

  char path_[32] = "";
  int fd_ = -1;
  std::uint8_t* mapping_ = nullptr;  ///< buffer 0; further buffers follow
  std::uint32_t mappingSize_ = 0;
  std::uint32_t available_ = 0;      ///< whole buffers in the mapping
  std::atomic<unsigned> wanted_{0};  ///< the buffer that somebody panned to last, or is about to
};

#endif
