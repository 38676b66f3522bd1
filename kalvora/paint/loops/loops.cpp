// Loops: the choice of a width.
#include "kalvora/paint/loops/loops.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "kalvora/paint/loops/widths.h"
#include "kalvora/support/processor.h"

namespace kalvora {

#define KALVORA_DECLARE(width) \
  namespace width {            \
  extern const Loops kLoops;   \
  }
KALVORA_EACH_WIDTH(KALVORA_DECLARE)
#undef KALVORA_DECLARE

namespace {

#define KALVORA_TAKE(width) &width::kLoops,
constexpr const Loops* kCompiled[] = {KALVORA_EACH_WIDTH(KALVORA_TAKE)};
#undef KALVORA_TAKE

/// How many of them this processor has; each one includes those before it.
std::size_t CountUsable() {
  return std::min(std::size(kCompiled), 1 + static_cast<std::size_t>(WidestVectors()));
}

struct Usable {
  const Loops* loops[std::size(kCompiled) + 1] = {};
  const Loops* chosen = nullptr;

  Usable() {
    const std::size_t count = CountUsable();
    const char* wanted = std::getenv("K_WIDTH");
    chosen = kCompiled[count - 1];
    for (std::size_t i = 0; i < count; ++i) {
      loops[i] = kCompiled[i];
      if (wanted && std::strcmp(wanted, loops[i]->name) == 0) chosen = loops[i];
    }
  }
};

const Usable& Widths() {
  static const Usable usable;
  return usable;
}

}  // namespace

const Loops* const* UsableLoops() { return Widths().loops; }

const Loops& ChosenLoops() { return *Widths().chosen; }

}  // namespace kalvora
