// KShadowScreen: another screen, drawn into by way of 32-bit memory.
#ifndef KALVORA_DISPLAY_SCREENS_KSHADOWSCREEN_H
#define KALVORA_DISPLAY_SCREENS_KSHADOWSCREEN_H

#include <mutex>

#include "kalvora/display/pixels/KPixelWriter.h"
#include "kalvora/display/screens/KScreen.h"

/// How a picture gets from the shadow to the screen.
struct KShadowStyle {
  unsigned rotation = 0;  ///< 0, 90, 180 or 270 degrees clockwise
  bool dither = true;     ///< where the screen has less than 8 bits a channel
};

/// A screen whose pixels, rows or direction are not those that the library draws. Frames are drawn
/// upright in memory; showing one converts what has changed into the other screen's back buffer,
/// and shows that. The other screen has two buffers where it can, or else one. Each frame in memory
/// has a spare row behind it, the renderer's coverage row.
class KShadowScreen final : public KScreen {
 public:
  /// Takes an open screen over.
  KShadowScreen(KScreen* device, const KShadowStyle& style);
  ~KShadowScreen() override;

  /// Takes on the shape of the other screen, which is open already.
  bool Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) override;
  bool Look(unsigned index, KDisplayFacts& facts, KError& error) override {
    return device_->Look(index, facts, error);
  }
  bool MakeBuffers(unsigned count, KError& error) override;
  std::uint8_t* Address(unsigned index) const override {
    return index < 3 ? frames_[index] : nullptr;
  }
  KShown Show(unsigned index, const KRect* dirty, bool force,
              const std::atomic<bool>& cancelled) override;
  bool ShowFirst(KError& error) override { return device_->ShowFirst(error); }
  void DrawnOver(unsigned index, const KRect* dirty) override;
  int WaitForVsync() override { return device_->WaitForVsync(); }

 private:
  static constexpr int kTileColumns = 64;
  static constexpr int kTileRows = 32;

  KRect Whole() const;
  KRect ToDevice(const KRect& rect) const;
  unsigned OnScreen();
  void Note(const KRect* dirty);
  void ConvertOnScreen(unsigned index, const std::atomic<bool>& cancelled);
  bool Convert(unsigned buffer, unsigned index, KRect& changed, const std::atomic<bool>& cancelled);
  void WriteUpright(std::uint8_t* pixels, unsigned index, const KRect& rect,
                    const std::atomic<bool>& cancelled);
  void WriteTurned(std::uint8_t* pixels, unsigned index, const KRect& rect,
                   const std::atomic<bool>& cancelled);
  void ReadTile(unsigned index, int left, int top, int columns, int rows,
                std::uint32_t* tile) const;

  KScreen* const device_;
  const KShadowStyle style_;
  KPixelWriter writer_;
  std::uint8_t* frames_[3]{};
  unsigned deviceBuffers_ = 1;

  std::mutex lock_;        ///< guards what follows, and is never held for long
  unsigned onScreen_ = 0;  ///< the device's buffer on screen
  KRect missing_[2]{};     ///< what the device's buffers lack of the latest frame
};

#endif
