// Error: what ends the program, with a message for its user.
#ifndef EXAMPLES_COMMON_ERROR_H
#define EXAMPLES_COMMON_ERROR_H

#include <stdexcept>

namespace examples {

struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace examples

#endif
