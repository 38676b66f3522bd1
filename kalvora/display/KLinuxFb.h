// KLinuxFb: puts rendered frames on a display: a framebuffer device, a mode-setting output, or a
// surface in shared memory.
#ifndef KALVORA_DISPLAY_KLINUXFB_H
#define KALVORA_DISPLAY_KLINUXFB_H

#include <cstdint>

#include "kalvora/core/KFormat.h"
#include "kalvora/core/KRect.h"
#include "kalvora/display/KDisplay.h"
#include "kalvora/display/KDisplayFacts.h"
#include "kalvora/export.h"
#include "kalvora/support/KError.h"

class KFbThread;
class KFlipper;
class KMsmAdm;
class KScreen;

/// A display with one, two or three buffers.
///
/// SetDisplay returns the buffer to draw the first frame into, Flip shows the drawn buffer and
/// returns the one for the next frame. With one buffer drawing is seen at once and nothing ever
/// pans: the choice for boards that cannot pan. With three buffers on either kind a thread of its
/// own shows the frames, and the renderer waits for it only when it is a whole frame ahead; should
/// that thread not answer within 200 ms, one line goes to the error log and flips are synchronous
/// from then on.
///
/// Keeping the back buffers current. With `copyBack` the next buffer starts as the frame just
/// shown; without it, it holds some older frame and has to be painted whole. Flip copies only what
/// must differ, under this contract:
///   - a frame that was painted whole (the first one, and the first after a Flip without copyBack)
///     is flipped with a null rectangle;
///   - a rectangle, when given, covers all that was drawn since the last Flip. It is clipped to the
///     screen; an empty one says that nothing was drawn.
/// Frame-rate digits (flag DisplayFps) stay in a buffer until its area is drawn again.
///
/// Kinds. A framebuffer device shows a buffer by panning to it. A driver that does not pan,
/// whatever it says about that beforehand, is found out by its answers: finished frames are then
/// copied to the buffer that it shows. A driver that answers as if it panned, and does not, cannot
/// be found out. A mode-setting output (kind 6; the library needs libdrm for it) is the first
/// connected connector of the card in its preferred mode, else in the first of its modes; pixels
/// are XRGB8888, or RGB565 where the driver takes nothing else. Buffers are shown by page flips,
/// whose events are the vertical sync. With one buffer, Flip hands the rectangle to drivers that
/// want to know what was drawn. While the output is unplugged, or somebody else controls it (is DRM
/// master), frames pass unseen; then they are seen again. Close brings the console's picture back.
///
/// Shadows. With formats 4 and 5 frames are drawn into 32-bit memory, and Flip converts what has
/// changed, where a device has 16 or 24 bits a pixel and refuses 32, or another order of colours,
/// or (a framebuffer device) rows with gaps between them, and where the screen is turned.
/// The other formats open a device as it is, and refuse one whose rows have gaps.
///
/// Copies between buffers of a framebuffer device go through the board's data mover unless the
/// library was built without it; the kinds 0 and 5 cannot be opened without the mover then, unless
/// they have a shadow.
///
/// All calls of one object come from one thread, the renderer. Failures are null or false, and
/// leave the display closed.
class KALVORA_API KLinuxFb {
 public:
  /// The flip thread is always allowed; whether there is one depends on the buffer count alone.
  static constexpr bool EnableAsyncFlip = true;

  /// A flip as it travels to the flip thread.
  struct KFlipData;

  KLinuxFb();
  ~KLinuxFb();
  KLinuxFb(const KLinuxFb&) = delete;
  KLinuxFb& operator=(const KLinuxFb&) = delete;

  /// Binds a display: kind 0 is the device "/dev/fb<fbIndex>" in the depth of `format`, kind 6 the
  /// mode-setting card "/dev/dri/card<fbIndex>", kind 5 the shared-memory surface; 1 to 3 buffers.
  /// Returns the buffer of the first frame, or null.
  void* SetDisplay(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount);
  /// Opens and maps a display alone, a device in its own depth when `bpp` is 0.
  bool Open(KDisplay kind, unsigned fbIndex, unsigned bpp);
  /// Releases everything; may be called at any time. A flip thread that is stuck in the driver
  /// keeps the device until it comes back.
  void Close();
  /// Shows the drawn buffer and returns the next, or null when no display is bound.
  void* Flip(bool copyBack, const KRect* dirty);

  /// What there is to tell about a display, and whether SetDisplay could open it with format 4 and
  /// one buffer, or why not. Shows nothing and changes nothing. Any thread may ask.
  static bool Look(KDisplay kind, unsigned index, KDisplayFacts& facts, KError& error);

  std::uint32_t Width() const;                           ///< pixels; 0 while closed
  std::uint32_t Height() const;                          ///< pixels; 0 while closed
  std::uint32_t Stride() const;                          ///< bytes
  KDisplay DisplayKind() const { return displayKind_; }  ///< KDisplayNone while closed
  bool IsAsync() const { return asyncFlip_; }            ///< a thread shows the frames
  /// Why the last SetDisplay or Open failed, or that it did not.
  const KError& LastError() const { return error_; }

  /// How many degrees clockwise frames are turned on their way to the screen, from the next
  /// SetDisplay with format 4 or 5 on: 0, 90, 180 or 270. False for others, which change nothing.
  bool SetRotation(unsigned degrees);
  /// Whether screens with less than 8 bits a channel are dithered (they are), from the next
  /// SetDisplay on; else colours are rounded to the nearest.
  void SetDithering(bool on) { dithering_ = on; }

  /// The frame-rate history: its number of samples (0 keeps it), its dump to the log, and the least
  /// time between two samples.
  void ResetFps(int capacity);
  void DumpFps();
  void SetFpsInterval(unsigned milliseconds);

  // The steps of Flip, one by one. Indices count buffers; those that do not exist are ignored.

  /// All of them, for the buffer that is shown and the one that was drawn.
  void ProcessFlip(unsigned front, unsigned back, bool copyBack, const KRect* dirty);
  /// Shows a buffer.
  void DisplayBuffer(unsigned index, const KRect* dirty, bool force);
  int WaitForVsync();  ///< the microseconds that it took; 0 where there is none
  /// Copies to buffer `next` what it lacks of buffer `back`.
  void TbufPreserve(int next, int back, bool copyBack, const KRect* dirty);
  void CopyRect(unsigned dst, unsigned src, const KRect* rect);  ///< null: all of it
  void DrawFps(int index);                                       ///< into a buffer

 private:
  friend class KFbThread;

  bool NeedFlipper();
  KScreen* Screen() const;
  bool Open(KDisplay kind, unsigned index, unsigned bpp, bool orSimilar);
  bool AddShadow();
  bool Bind(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount);
  bool StartMover();
  void* BackBuffer() const;
  bool MoveRect(unsigned dst, unsigned src, const KRect* rect);

  KFlipper* flipper_ = nullptr;  ///< null only when memory ran out
  KDisplay displayKind_ = KDisplayNone;
  bool asyncFlip_ = false;
  std::uint32_t backIndex_ = 0;
  bool hasPrevDirty_ = false;
  KRect prevDirty_{};
  KFbThread* flipWorker_ = nullptr;
  KMsmAdm* adm_ = nullptr;
  int fpsCapacity_ = 1;  ///< settings of the frame-rate history, for when the flipper is made anew
  int fpsIntervalMs_ = 500;
  unsigned rotation_ = 0;
  bool dithering_ = true;
  KError error_;
};

/// A stub: returns 0 and does nothing.
KALVORA_API int KGetDirtyRects(KRect*, unsigned, unsigned, unsigned);

#endif
