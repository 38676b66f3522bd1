// KError: why a call failed, as a value, a sentence, and the system's error number.
#ifndef KALVORA_SUPPORT_KERROR_H
#define KALVORA_SUPPORT_KERROR_H

#include <cstdint>

/// Reasons of a failure. Values stay what they are; new ones come at the end.
enum KErrorCode : std::int32_t {
  KErrorNone = 0,           ///< nothing failed
  KErrorArgument = 1,       ///< an argument that makes no sense, such as four buffers
  KErrorMemory = 2,         ///< memory has run out
  KErrorNoDevice = 3,       ///< there is no such device, or nothing is connected to it
  KErrorPermission = 4,     ///< the user may not use the device or read the file
  KErrorBusy = 5,           ///< somebody else has the device
  KErrorDevice = 6,         ///< the driver refuses a request, or answers with nonsense
  KErrorFormat = 7,         ///< a pixel format that is not supported
  KErrorRows = 8,           ///< rows that do not lie as they must: padded, short or misaligned
  KErrorBuffers = 9,        ///< the device has no memory for so many buffers
  KErrorDataMover = 10,     ///< the board's data mover cannot be opened
  KErrorNotSupported = 11,  ///< the library was built without it
  KErrorFile = 12,          ///< the file cannot be read
  KErrorNotAFont = 13,      ///< the file holds no font that can be used
};

/// A failure, or that there was none. It owns its text and may be copied.
struct KError {
  KErrorCode code = KErrorNone;  ///< the reason
  int systemError = 0;           ///< errno of the system call that failed, 0 when it was none
  /// One sentence without a full stop and without a newline, such as "cannot open /dev/fb0:
  /// Permission denied"; empty when nothing failed.
  char text[192] = "";
};

#endif
