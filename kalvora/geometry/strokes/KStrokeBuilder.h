// KStrokeBuilder: the stages of a stroke, from a subpath to the rings of its outline.
#ifndef KALVORA_GEOMETRY_STROKES_KSTROKEBUILDER_H
#define KALVORA_GEOMETRY_STROKES_KSTROKEBUILDER_H

#include <cstdint>

#include "kalvora/geometry/strokes/KIntercept.h"
#include "kalvora/geometry/strokes/StrokeRings.h"
#include "kalvora/geometry/strokes/Visible.h"
#include "kalvora/geometry/strokes/bezier.h"
#include "kalvora/geometry/strokes/pen.h"
#include "kalvora/geometry/strokes/subpath.h"

/// The settings of a KStroker that its stages read.
struct KStrokeStyle {
  std::uint32_t startCap, endCap, join;
  KFixed limitWidth;  ///< longest distance of a miter's tip from its vertex
};

/// Builds one stroke.
///
/// A subpath's outline is the sum of simple pieces: one parallelogram for every straight line, one
/// wedge for every join, one half pen for every cap. All pieces turn the same way, so that no
/// winding number is ever smaller than the number of pieces above the point, and the non-zero rule
/// fills their union: no holes, however wide the pen and however short the lines. What two
/// neighbours share cancels, which leaves the left side of the path walked forward and the right
/// side walked backward; on the inner side of a join the outline runs through the vertex itself,
/// unless the lines are long enough for the crossing of the two sides.
class KStrokeBuilder {
 public:
  /// `m` maps to device space. Memory for at most `mostRings` rings is taken at once.
  KStrokeBuilder(const KStrokeStyle& style, const kalvora::Pen& pen, const KSoftMatrix3D& m,
                 const kalvora::Visible& visible, kalvora::Memory memory, std::uint64_t mostRings);

  /// Appends a subpath's outline, solid or cut into dashes that begin in the state `start`.
  void StrokeSubpath(const kalvora::Subpath& subpath);
  void DashSubpath(const kalvora::Subpath& subpath, const KDash& start);
  /// The number of rings, and the rings; 0 and null when there are none or memory ran out.
  std::uint32_t Take(KVertex2D**& rings) { return out_.Take(rings); }

 private:
  void WalkSubpath(const kalvora::Subpath& subpath);

  // The stages. -----------------------------------------------------------------------------------

  /// Starts an outline at the current point. False when memory runs out.
  bool ComputeInit();
  /// Append both sides of straight, quadratic and cubic pieces.
  void OffsetPoly(const KVertex2D* points, unsigned pieces);
  void OffsetBezier3(const KVertex2D* points, unsigned pieces);
  void OffsetBezier4(const KVertex2D* points, unsigned pieces);
  /// The same, cut into dashes.
  void DashPoly(const KVertex2D* points, unsigned pieces);
  void DashBez3(const KVertex2D* points, unsigned pieces);
  void DashBez4(const KVertex2D* points, unsigned pieces);
  /// A dash or a gap ends at p, where the path goes on in the direction `heading`.
  void ComputeDash(KVertex2D p, kalvora::Vector heading);
  /// Emits the join between the stretch before the current point and the next one; inside a curve
  /// (`smooth`) a round one.
  void ComputeJoin(bool smooth);
  /// Emits the cap at the current point.
  void ComputeCap();
  /// Finishes an outline: a closing join, or caps at both ends, and the output rings.
  void ComputeClose(bool closed);
  /// Appends the points of the pen's circle between two offsets of the current point.
  void GetArcPts(kalvora::Side side, KVertex2D from, KVertex2D to, bool clockwise);

  // Steps of the sides. ---------------------------------------------------------------------------

  void AddBoth(KVertex2D p, KVertex2D offset);
  /// Begins the outline with the next stretch.
  void Begin();
  /// Goes on to the end of the next stretch.
  void MoveTo(KVertex2D p);
  /// Reaches the two sides of the current point.
  void Arrive();

  // Curves, in steps. -----------------------------------------------------------------------------

  template <int ORDER>
  void Offset(const KVertex2D* points, unsigned pieces);
  /// Turns to the direction of a curve's leg, which begins at the current point; inside a curve
  /// (`smooth`) with a round join.
  void Turn(kalvora::Vector leg, bool smooth);
  /// Follows a piece that turns so little that its sides are straight lines.
  template <int ORDER>
  void Glide(const kalvora::Bezier<ORDER>& piece);
  /// Follows one leg of the control polygon of a piece that is too small, or turns too sharply, to
  /// be followed otherwise.
  void FollowLeg(kalvora::Vector leg, KVertex2D end);
  void Swell(std::int32_t height);
  void Fan(kalvora::Side inner, std::int64_t way, std::int64_t swing);
  /// Ends the fan, if there is one, at the two sides of the current point.
  void EndFan();

  template <int ORDER>
  void Dash(const KVertex2D* points, unsigned pieces);
  template <int ORDER>
  void DashPiece(kalvora::Bezier<ORDER> rest);
  void DashLeg(kalvora::Vector from, kalvora::Vector leg);
  /// The way along a curve: what of it can show, piece by piece.
  template <int ORDER>
  KDashWay WayAlong(const kalvora::Bezier<ORDER>& curve) const;
  /// Goes on over so much of a way when nothing on it is to be drawn.
  bool CountDashes(std::int64_t length);
  /// Passes whole rounds of the pattern, from within a gap, over what nobody sees.
  void SkipRounds();

  const KStrokeStyle style_;
  const kalvora::Pen pen_;
  const KSoftMatrix3D& matrix_;
  const kalvora::Visible& visible_;
  kalvora::StrokeRings out_;
  KIntercept k_;
  KDashWay way_;
  std::uint32_t reserve_ = 0;  // room for the next ring
  unsigned fanSteps_ = 0;      // of the present fan
  kalvora::Side fanSide_ = kalvora::Side::kLeft;
  bool glides_ = false;   // the next piece of the present curve begins with a turn too small to see
  bool crossed_ = false;  // the last join took the crossing of its inner sides
  kalvora::Side inner_ = kalvora::Side::kLeft;  // of the last join
};

#endif
