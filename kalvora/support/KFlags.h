// KFlags: the debug switches of the process, read from the environment when the library is loaded.
#ifndef KALVORA_SUPPORT_KFLAGS_H
#define KALVORA_SUPPORT_KFLAGS_H

#include <atomic>
#include <cstdint>

/// One switch. It reads and writes like a bool; any thread may do either at any time.
class KFlag {
 public:
  operator bool() const { return value_.load(std::memory_order_relaxed) != 0; }
  void operator=(bool on) { value_.store(on ? 1 : 0, std::memory_order_relaxed); }

 private:
  std::atomic<std::uint8_t> value_{0};
};

/// Seven switches of one byte each.
struct KFlags {
  KFlag IgnoreTransform;      ///< text ignores the context's transform
  KFlag DrawColoredOutlines;  ///< drawing shows its outlines
  KFlag DisplayFps;           ///< the display draws its frame rate
  KFlag IgnoreAlpha;          ///< patterns are drawn as if opaque
  KFlag OnlyNearest;          ///< pixmaps keep no sampling but nearest
  KFlag ShowMissingGlyphs;    ///< text prints the characters that no font holds
  KFlag UseFontHinting;       ///< glyphs are hinted

  /// Reads the environment variables K_IGNORE_TRANSFORM and so on: a switch is on when its variable
  /// is the number 1. Prints a line for each variable that is set.
  KFlags();
};

/// The process's switches.
extern KFlags Flags;

#endif
