// World: a context with fonts and a picture to draw into, and scenes that touch every subsystem.
#ifndef KALVORA_TESTS_FAULTS_WORLD_H
#define KALVORA_TESTS_FAULTS_WORLD_H

#include "kalvora/kalvora.h"

/// Everything that a scene draws with. Making one and drawing allocates, and may fail.
struct World {
  static constexpr unsigned kWidth = 96, kHeight = 80;
  static constexpr unsigned kBytes = kWidth * kHeight * 4;

  KSoftContext2D context;
  KSoftPixmap target;
  KFTFont latin, serif, symbols;

  /// `pixels` has kBytes.
  explicit World(void* pixels) { target.Create(kWidth, kHeight, KFormat8888PM, pixels); }
  /// Binds, clears, draws and ends a frame, whatever fails on the way.
  void Draw(void (*scene)(World&));
  void LoadFonts();
};

/// What one test draws: a small picture, so that its allocations are few.
struct Frame {
  const char* name;
  void (*draw)(World&);
  bool warmFonts = false;  ///< the fonts are loaded before anything fails
};
extern const Frame kFrames[10];

#endif
