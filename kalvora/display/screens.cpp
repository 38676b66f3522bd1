// The kinds of screens: a further one is a class of its own and one more row here.
#include "kalvora/display/screens.h"

#include <new>

#include "kalvora/display/KFbScreen.h"
#include "kalvora/display/KShmScreen.h"

namespace kalvora {
namespace {

template <typename Screen>
KScreen* New() {
  return new (std::nothrow) Screen;
}

constexpr struct {
  KDisplay kind;
  KScreen* (*make)();
} kScreens[] = {
    {KDisplayFramebuffer, New<KFbScreen>},
    {KDisplayShared, New<KShmScreen>},
};

}  // namespace

bool IsScreen(KDisplay kind) {
  for (const auto& row : kScreens) {
    if (row.kind == kind) return true;
  }
  return false;
}

KScreen* NewScreen(KDisplay kind) {
  for (const auto& row : kScreens) {
    if (row.kind == kind) return row.make();
  }
  return nullptr;
}

}  // namespace kalvora
