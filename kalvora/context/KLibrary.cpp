// What was compiled in, and what was chosen at run time.
#include "kalvora/context/KLibrary.h"

#include "kalvora/paint/loops/loops.h"

#define KALVORA_TEXT_OF(x) #x
#define KALVORA_TEXT(x) KALVORA_TEXT_OF(x)

const char* KLibrary::Version() {
  return KALVORA_TEXT(KALVORA_VERSION_MAJOR) "." KALVORA_TEXT(
      KALVORA_VERSION_MINOR) "." KALVORA_TEXT(KALVORA_VERSION_PATCH);
}
const char* KLibrary::InstructionSet() { return kalvora::ChosenLoops().name; }
bool KLibrary::HasKms() { return KALVORA_KMS != 0; }
bool KLibrary::WantsDataMover() { return KALVORA_MSM_ADM != 0; }
