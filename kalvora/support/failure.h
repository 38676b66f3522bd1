// Filling in a KError, in one line with the return.
#ifndef KALVORA_SUPPORT_FAILURE_H
#define KALVORA_SUPPORT_FAILURE_H

#include "kalvora/support/KError.h"

namespace kalvora {

/// Notes a failure and returns false. `systemError` is an errno, whose text is appended, or 0. A
/// text that is too long is cut off.
bool Fail(KError& error, KErrorCode code, int systemError, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/// The reason that an errno stands for, or `otherwise` where it could be anything.
KErrorCode ReasonOf(int systemError, KErrorCode otherwise);

}  // namespace kalvora

#endif
