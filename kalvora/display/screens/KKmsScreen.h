// KKmsScreen: an output of a mode-setting driver. A buffer is shown by a page flip to it.
#ifndef KALVORA_DISPLAY_SCREENS_KKMSSCREEN_H
#define KALVORA_DISPLAY_SCREENS_KKMSSCREEN_H

#include <cstddef>

#include <sys/types.h>

#include "kalvora/display/screens/KPageFlips.h"
#include "kalvora/display/screens/KScreen.h"

/// The first connected connector of "/dev/dri/card<index>" in its preferred mode, else the first of
/// its modes. Pixels are XRGB8888, or RGB565 where the driver takes nothing else. Rows are as far
/// apart as the driver wants them. What was on screen before comes back when the screen goes.
class KKmsScreen final : public KScreen {
 public:
  KKmsScreen() { wantsMover = false; }
  ~KKmsScreen() override;

  bool Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) override;
  bool Look(unsigned index, KDisplayFacts& facts, KError& error) override;
  bool MakeBuffers(unsigned count, KError& error) override;
  std::uint8_t* Address(unsigned index) const override {
    return index < 3 ? buffers_[index].pixels : nullptr;
  }
  KShown Show(unsigned index, const KRect* dirty, bool force,
              const std::atomic<bool>& cancelled) override;
  bool ShowFirst(KError& error) override;
  void DrawnOver(unsigned index, const KRect* dirty) override;
  int WaitForVsync() override { return output_.Wait(); }

 private:
  /// Memory for one frame, and the framebuffer that shows it.
  struct Buffer {
    std::uint32_t handle = 0;
    std::uint32_t framebuffer = 0;
    std::uint32_t pitch = 0;
    std::uint8_t* pixels = nullptr;
    std::size_t bytes = 0;
  };

  bool ChooseOutput(KError& error);
  bool TryConnector(const drmModeRes& resources, std::uint32_t id);
  std::uint32_t ChooseCrtc(const drmModeRes& resources, const drmModeConnector& connector) const;
  bool MakeBuffer(Buffer& buffer, unsigned depth);
  void Release(Buffer& buffer);
  void RestoreConsole();

  char path_[32] = "";
  pid_t owner_ = 0;  ///< the process that opened it; a forked child leaves the output alone
  KPageFlips output_;
  drmModeCrtcPtr console_ = nullptr;  ///< what was on screen before
  std::atomic<bool> isShown_{false};  ///< it has had a frame on screen
  Buffer buffers_[3];
};

#endif
