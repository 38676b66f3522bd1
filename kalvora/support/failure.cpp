// The sentence of a failure, and the meaning of error numbers.
#include "kalvora/support/failure.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace kalvora {

bool Fail(KError& error, KErrorCode code, int systemError, const char* format, ...) {
  error.code = code;
  error.systemError = systemError;
  std::va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(error.text, sizeof error.text, format, arguments);
  va_end(arguments);
  const int size = sizeof error.text;
  if (systemError != 0 && length >= 0 && length < size) {
    errno = systemError;  // what %m writes
    std::snprintf(error.text + length, static_cast<std::size_t>(size - length), ": %m");
  }
  return false;
}

KErrorCode ReasonOf(int systemError, KErrorCode otherwise) {
  switch (systemError) {
    case ENOENT:
    case ENODEV:
    case ENXIO:
      return KErrorNoDevice;
    case EACCES:
    case EPERM:
      return KErrorPermission;
    case EBUSY:
      return KErrorBusy;
    case ENOMEM:
      return KErrorMemory;
    default:
      return otherwise;
  }
}

}  // namespace kalvora
