// Scene: one draw of every kind with any paint, transform and clip path.
#ifndef KALVORA_TESTS_COMMON_SCENE_H
#define KALVORA_TESTS_COMMON_SCENE_H

#include <cstdint>
#include <ostream>

#include "tests/common/Target.h"

class Scene;

/// A kind of draw; a null `draw` leaves the background as it is.
struct Family {
  const char* name;
  void (*draw)(Scene&);
};
void PrintTo(const Family& family, std::ostream* out);

extern const Family kFamilies[9];

/// Width and height of the targets.
constexpr unsigned kSceneSize = 48;

/// Draws the scene of a seed into the bound target, whatever memory there is.
void DrawScene(KSoftContext2D& context, const Family& family, std::uint64_t seed);
/// Draws the scene of a seed over a background of its own, within the clip if there is one.
void DrawScene(Target& t, const Family& family, std::uint64_t seed, const KRect* clip);

#endif
