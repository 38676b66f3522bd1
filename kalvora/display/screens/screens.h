// The table of the kinds of screens.
#ifndef KALVORA_DISPLAY_SCREENS_SCREENS_H
#define KALVORA_DISPLAY_SCREENS_SCREENS_H

#include "kalvora/display/screens/KScreen.h"

namespace kalvora {

/// Whether there is such a kind of display.
bool IsScreen(KDisplay kind);
/// A screen of a kind that there is, not opened yet. Null when it is not in this build, or when
/// memory has run out.
KScreen* NewScreen(KDisplay kind, KError& error);

}  // namespace kalvora

#endif
