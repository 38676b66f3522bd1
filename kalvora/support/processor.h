// What the processor can do that not every one of its family can.
#ifndef KALVORA_SUPPORT_PROCESSOR_H
#define KALVORA_SUPPORT_PROCESSOR_H

namespace kalvora {

/// Vector instructions; a processor that has some has those before them too.
enum class Vectors {
  kNone,
  k16Bytes,  ///< SSE2, NEON
  k32Bytes,  ///< AVX2
};

/// The widest that the processor has and the system saves. Asks anew each time.
Vectors WidestVectors();

}  // namespace kalvora

#endif
