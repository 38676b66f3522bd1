// The kinds of screens: a further one is a class of its own and one more row here.
#include "kalvora/display/screens/screens.h"

#include <cerrno>
#include <new>

#if KALVORA_FB
#include "kalvora/display/screens/KFbScreen.h"
#endif
#if KALVORA_SHM
#include "kalvora/display/screens/KShmScreen.h"
#endif
#if KALVORA_KMS
#include "kalvora/display/screens/KKmsScreen.h"
#endif
#include "kalvora/support/failure.h"

namespace kalvora {
namespace {

template <typename Screen>
KScreen* New() {
  return new (std::nothrow) Screen;
}

constexpr struct {
  KDisplay kind;
  const char* name;
  KScreen* (*make)();
} kScreens[] = {
#if KALVORA_FB
    {KDisplayFramebuffer, "framebuffer", New<KFbScreen>},
#else
    {KDisplayFramebuffer, "framebuffer", nullptr},
#endif
#if KALVORA_SHM
    {KDisplayShared, "shared-memory", New<KShmScreen>},
#else
    {KDisplayShared, "shared-memory", nullptr},
#endif
#if KALVORA_KMS
    {KDisplayKms, "mode-setting", New<KKmsScreen>},
#else
    {KDisplayKms, "mode-setting", nullptr},
#endif
};

}  // namespace

bool IsScreen(KDisplay kind) {
  for (const auto& row : kScreens) {
    if (row.kind == kind) return true;
  }
  return false;
}

KScreen* NewScreen(KDisplay kind, KError& error) {
  KScreen* screen = nullptr;
  for (const auto& row : kScreens) {
    if (row.kind != kind) continue;
    if (row.make == nullptr) {
      Fail(error, KErrorNotSupported, 0, "this library was built without %s displays", row.name);
      return nullptr;
    }
    screen = row.make();
  }
  if (screen == nullptr) Fail(error, KErrorMemory, ENOMEM, "no display");
  return screen;
}

}  // namespace kalvora
