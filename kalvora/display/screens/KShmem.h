// KShmem: the display surface in System V shared memory, where a viewer can look at it.
#ifndef KALVORA_DISPLAY_SCREENS_KSHMEM_H
#define KALVORA_DISPLAY_SCREENS_KSHMEM_H

/// One 320 x 480 picture of 32-bit pixels and, behind it, one spare row. Any thread may call.
struct KShmem {
  static constexpr int kKey = 4556;
  static constexpr unsigned kWidth = 320;
  static constexpr unsigned kHeight = 480;
  static constexpr unsigned kStride = kWidth * 4;
  static constexpr unsigned kBytes = kStride * (kHeight + 1);

  /// Attaches the segment, creating it when it is missing. Null when that fails; every result that
  /// is not null wants one Release.
  static void* Get();
  /// Detaches what Get returned. The segment itself stays.
  static void Release(void* p);
  /// The same for a bind that has failed: a segment that was made for it goes, too.
  static void Discard(void* p);
};

#endif
