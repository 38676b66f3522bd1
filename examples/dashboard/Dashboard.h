// The panel: which instrument stands where, how often it changes, and what it shows.
#ifndef EXAMPLES_DASHBOARD_DASHBOARD_H
#define EXAMPLES_DASHBOARD_DASHBOARD_H

#include "examples/dashboard/Sheet.h"

namespace dashboard {

class Dashboard {
 public:
  /// `font` is the file of the lettering's font.
  Dashboard(KSoftContext2D& context, const char* font);

  /// Draws frame `n`: everything in frame 0, and what changed in later ones. Frames are a sixtieth
  /// of a second apart and depend on their number alone. Returns what was drawn over.
  KRect Draw(unsigned n);

 private:
  void DrawInstrument(int which, unsigned n);

  static constexpr int kInstruments = 7;
  static constexpr int kSamples = 72;

  Sheet sheet;
  gallery::Kit kits[kInstruments];
  KSoftPixmap photo;
};

}  // namespace dashboard

#endif
