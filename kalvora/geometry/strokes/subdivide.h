// Subdivision: curves cut into pieces that a pen can follow.
#ifndef KALVORA_GEOMETRY_STROKES_SUBDIVIDE_H
#define KALVORA_GEOMETRY_STROKES_SUBDIVIDE_H

#include "kalvora/core/KSoftMatrix3D.h"
#include "kalvora/geometry/strokes/bezier.h"
#include "kalvora/geometry/strokes/pen.h"

namespace kalvora {

/// How a pen follows a piece: in so many steps from direction to direction, or (kFollowed) along
/// the legs of the control polygon with a turn at each, or not before it is halved. CourseOf is the
/// quicker one.
inline constexpr int kFollowed = 0, kHalved = -1;
template <int ORDER>
int ExactCourse(const Bezier<ORDER>& piece, const Pen& pen);
template <int ORDER>
int CourseOf(const Bezier<ORDER>& piece, const Pen& pen);

/// Who takes the pieces of a curve.
template <int ORDER>
struct PieceTaker {
  void* self;
  void (*take)(void* self, const Bezier<ORDER>& piece, bool glides);
};

template <int ORDER>
void SubdivideFor(const Bezier<ORDER>& curve, const Pen& pen, const KSoftMatrix3D& m,
                  const PieceTaker<ORDER>& taker);
extern template void SubdivideFor(const Bezier<2>&, const Pen&, const KSoftMatrix3D&,
                                  const PieceTaker<2>&);
extern template void SubdivideFor(const Bezier<3>&, const Pen&, const KSoftMatrix3D&,
                                  const PieceTaker<3>&);

/// Cuts a curve into steps that the pen can glide along, and gives each to `glide`; pieces that are
/// too small for that, or turn too sharply, go to `follow`. At most 2^10 pieces: what is not simple
/// by then is as small as a cusp's tip. A curve that leaves the plane wraps and stays in one piece:
/// one glyph gave 300,000 edges else, all of them active in every row.
template <int ORDER, typename Glide, typename Follow>
void Subdivide(const Bezier<ORDER>& curve, const Pen& pen, const KSoftMatrix3D& m, Glide glide,
               Follow follow) {
  auto take = [&](const Bezier<ORDER>& piece, bool glides) {
    glides ? glide(piece) : follow(piece);
  };
  SubdivideFor<ORDER>(curve, pen, m,
                      {&take, [](void* self, const Bezier<ORDER>& piece, bool glides) {
                         (*static_cast<decltype(take)*>(self))(piece, glides);
                       }});
}

}  // namespace kalvora

#endif
