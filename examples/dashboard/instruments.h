// The instruments of the panel. Each draws itself whole, panel included, into its own area.
#ifndef EXAMPLES_DASHBOARD_INSTRUMENTS_H
#define EXAMPLES_DASHBOARD_INSTRUMENTS_H

#include <string>

#include "examples/dashboard/Sheet.h"

namespace dashboard {

/// A round gauge. `value` is 0 to 1 of `most`.
void DrawGauge(Sheet& sheet, const Area& area, double value, double most, const char* unit,
               KColor32 color);

/// The name of the panel and the time, in seconds.
void DrawHeader(Sheet& sheet, const Area& area, double seconds);

/// Three horizontal bars, each 0 to 1.
void DrawLevels(Sheet& sheet, const Area& area, const double (&values)[3]);

/// A line chart of `count` samples, 0 to 1, the newest last; `now` says in words what that is.
void DrawChart(Sheet& sheet, const Area& area, const double* samples, int count, const char* name,
               const std::string& now);

/// A ring of shares, which need not add up to 1, with the first one's percentage in it.
void DrawShares(Sheet& sheet, const Area& area, const double (&shares)[3]);

/// A picture seen through a window that moves over it; `pan` is 0 to 1.
void DrawPhoto(Sheet& sheet, const Area& area, KSoftPixmap& photo, double pan);

/// Paints the photo: a lake at dusk.
void PaintPhoto(KSoftPixmap& photo);

}  // namespace dashboard

#endif
