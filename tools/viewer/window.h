// The viewer's window.
#ifndef KALVORA_TOOLS_VIEWER_WINDOW_H
#define KALVORA_TOOLS_VIEWER_WINDOW_H

#include "tools/viewer/surface.h"

/// Shows the surface, live, at `zoom` window pixels a pixel, until the user closes the window;
/// waits for it where there is none. Throws examples::Error where no window can be shown.
void ShowWindow(Surface& surface, int zoom);

#endif
