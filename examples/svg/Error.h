// Error: what ends the program, with a message for its user.
#ifndef EXAMPLES_SVG_ERROR_H
#define EXAMPLES_SVG_ERROR_H

#include <stdexcept>

namespace svg {

struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace svg

#endif
