// KShmScreen: the surface in shared memory. Frames are shown by copying them to it.
#ifndef KALVORA_DISPLAY_SCREENS_KSHMSCREEN_H
#define KALVORA_DISPLAY_SCREENS_KSHMSCREEN_H

#include "kalvora/display/screens/KScreen.h"

/// Buffer 0 is the surface, the others lie on the heap. Each has a spare row behind its picture,
/// like the surface itself: the renderer's coverage row.
class KShmScreen final : public KScreen {
 public:
  KShmScreen();
  ~KShmScreen() override;

  bool Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) override;
  bool Look(unsigned index, KDisplayFacts& facts, KError& error) override;
  bool MakeBuffers(unsigned count, KError& error) override;
  std::uint8_t* Address(unsigned index) const override {
    return index < 3 ? buffers_[index] : nullptr;
  }
  KShown Show(unsigned index, const KRect* dirty, bool force,
              const std::atomic<bool>& cancelled) override;

 private:
  std::uint8_t* buffers_[3]{};
};

#endif
