// KDisplay: the kinds of display a frame can be shown on.
#ifndef KALVORA_DISPLAY_KDISPLAY_H
#define KALVORA_DISPLAY_KDISPLAY_H

#include <cstdint>

/// Display kinds by value.
enum KDisplay : std::int32_t {
  KDisplayFramebuffer = 0,  ///< a framebuffer device, /dev/fb0 and so on
  KDisplayNone = 4,         ///< nothing is bound
  KDisplayShared = 5,       ///< the 320 x 480 surface in shared memory
  KDisplayKms = 6,          ///< the first connected output of a mode-setting driver, /dev/dri/card0
                            ///< and so on
};

#endif
