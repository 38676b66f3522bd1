// KScreen: what a display is made of. Each kind of display is one class derived from it.
#ifndef KALVORA_DISPLAY_SCREENS_KSCREEN_H
#define KALVORA_DISPLAY_SCREENS_KSCREEN_H

#include <atomic>
#include <cstdint>

#include "kalvora/core/KRect.h"
#include "kalvora/display/KDisplay.h"
#include "kalvora/display/KDisplayFacts.h"
#include "kalvora/display/pixels/KPixelLayout.h"
#include "kalvora/support/KError.h"

/// What a screen did with a frame that it was to show.
enum class KShown {
  kFlipped,  ///< the buffer itself is on screen now
  kCopied,   ///< its picture is on screen, and the buffer is free again
  kNot,      ///< something else is on screen still
};

/// A screen: opened once, then shown frames, then destroyed, which closes it.
///
/// Open and MakeBuffers happen while nobody else can see the screen. After that two threads may be
/// in Show and WaitForVsync at once, when one of them was given up for stuck: a kind must survive
/// that. Who may touch which buffer is the flip protocol's affair (KFlipper, KFbThread).
class KScreen {
 public:
  /// The shape, fixed once it is open.
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t stride = 0;  ///< bytes from row to row
  std::uint32_t bpp = 0;     ///< bits of a pixel
  KPixelLayout layout;
  bool wantsShadow = false;  ///< the library cannot draw into it: other pixels, or other rows

  /// Traits of a kind.
  bool isSurface = false;   ///< frames are copied to buffer 0, and only the others take turns
  bool digitsLast = false;  ///< frame-rate digits go on the surface, behind the copy
  bool wantsMover = true;   ///< there is no such display without the board's data mover

  /// Set when a bind has succeeded: what was made for it stays behind.
  bool isBound = false;

  KScreen() = default;
  virtual ~KScreen() = default;
  KScreen(const KScreen&) = delete;
  KScreen& operator=(const KScreen&) = delete;

  /// Opens display number `index`, with `bitsPerPixel` unless that is 0. With `orSimilar` it may
  /// have other pixels or rows all the same, and wants a shadow then.
  virtual bool Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) = 0;
  /// Instead of Open: finds out what there is to tell, and whether words could be drawn into it,
  /// without changing anything. False with the reason when they could not.
  virtual bool Look(unsigned index, KDisplayFacts& facts, KError& error) = 0;
  /// Gives `count` buffers, 1 to 3, to the display.
  virtual bool MakeBuffers(unsigned count, KError& error) = 0;
  /// First pixel of a buffer, or null when there is no such buffer.
  virtual std::uint8_t* Address(unsigned index) const = 0;
  /// The descriptor of the memory in which the data mover finds the buffer, `index` times the
  /// height in rows from its start; -1 when the buffer lies elsewhere.
  virtual int MoverFd(unsigned) const { return -1; }

  /// Brings a buffer on screen, unless it is there already and `force` is false, or `cancelled`
  /// says so at the last moment. `dirty` is all that differs from the frame before; null:
  /// everything may.
  virtual KShown Show(unsigned index, const KRect* dirty, bool force,
                      const std::atomic<bool>& cancelled) = 0;
  /// Shows the first buffer, whatever is on screen: the end of a bind.
  virtual bool ShowFirst(KError& error);
  /// Tells that the buffer on screen was drawn into, within `dirty` or anywhere.
  virtual void DrawnOver(unsigned, const KRect*) {}
  /// Waits for the vertical sync and returns the microseconds that took; 0 when there is none.
  virtual int WaitForVsync() { return 0; }

  KRect Clip(const KRect& rect) const;
  /// Copies a rectangle, or everything when `rect` is null, from buffer to buffer by the processor.
  /// Stops before a row when `cancelled` says so.
  void CopyRect(unsigned dst, unsigned src, const KRect* rect, const std::atomic<bool>& cancelled);
};

#endif
