// Error: what ends the program, with a message for its user.
#ifndef EXAMPLES_COMMON_ERROR_H
#define EXAMPLES_COMMON_ERROR_H

#include <stdexcept>

namespace examples {

/// What was asked for cannot be done: exit status 1.
struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// What was asked for makes no sense: exit status 2.
struct UsageError : Error {
  using Error::Error;
};

}  // namespace examples

#endif
