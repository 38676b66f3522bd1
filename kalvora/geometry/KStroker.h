// KStroker: flattening and stroking of paths, with the stroke settings. The base of the drawing
// context.
#ifndef KALVORA_GEOMETRY_KSTROKER_H
#define KALVORA_GEOMETRY_KSTROKER_H

#include <cstdint>

#include "kalvora/core/KRect.h"
#include "kalvora/core/KSoftMatrix3D.h"

class KSoftPath;
class KStack;

/// Kinds of caps and joins; other values count as butt and as bevel.
enum KCap : std::uint32_t { kButtCap = 0, kSquareCap = 1, kRoundCap = 2 };
enum KJoin : std::uint32_t { kBevelJoin = 0, kMiterJoin = 1, kRoundJoin = 2 };

/// Stroke settings, scratch memory, and the two operations that turn paths into polygon rings.
class KALVORA_API KStroker {
 public:
  KStack* stack;                      ///< scratch memory, owned
  std::uint32_t startCap = 0;         ///< 0 butt, 1 square, 2 round
  std::uint32_t endCap = 0;           ///< the same
  std::uint32_t join = 1;             ///< 0 bevel, 1 miter bounded by `limit`, 2 round
  KFixed limit = KFixed::FromInt(2);  ///< longest miter as a multiple of the line width
  KFixed limitWidth = kalvora::kOne;  ///< limit x halfWidth
  KFixed halfWidth = kalvora::kHalf;  ///< half the line width, in user units
  const KFixed* dashes = nullptr;     ///< dash lengths, on and off in turn; null is solid
  std::uint32_t dashCount = 0;        ///< lengths in `dashes`
  std::uint32_t dashPhase = 0;  ///< where each subpath starts in the pattern, 16.16 path units

  /// Flatness tolerance in device pixels, for every stroker of the process that has none of its
  /// own: 0.5, to which each bind and each new stroker sets it back.
  static KFixed GeoQuality;

  KStroker();
  ~KStroker();
  KStroker(const KStroker&) = delete;
  KStroker& operator=(const KStroker&) = delete;

  /// Line width in user units; negative counts as 0.
  void SetLineWidth(KFixed width);
  void SetCaps(unsigned start, unsigned end);
  void SetJoin(unsigned kind);
  /// Longest miter as a multiple of the line width.
  void SetMiterLimit(KFixed ratio);
  /// Copies the pattern: lengths in path units, on and off in turn. Null or a count of 0 is a solid
  /// line. False, and a solid line, when memory runs out.
  bool SetDashes(const KFixed* lengths, unsigned count, KFixed phase);
  /// Flatness tolerance of this stroker alone, in device pixels: curves of fills and of clip paths
  /// stay within three quarters of it, and strokes follow with outlines as near, which they are at
  /// 0.5 already. 1/8 looks exact and takes about twice the points of 0.5. It holds, through binds
  /// too, until it is set to 0 or less: then GeoQuality counts again.
  void SetFlatness(KFixed tolerance);
  /// The tolerance that counts.
  KFixed Flatness() const { return flatness_ > kalvora::kZero ? flatness_ : GeoQuality; }
  /// Back to the settings that every bind gives: butt caps, miter joins up to 4.0, width 1.0,
  /// solid.
  void ResetStroke();

  /// Turns every subpath into one device-space ring and returns how many. `rings` and the rings
  /// come from the scratch stack or the C heap, as `onStack` says; release them with FreeRings. 0
  /// and null when the path is empty or memory runs out. With `clip`, in device pixels, the rings
  /// are good for a fill of their own within it: those of subpaths that lie beside it may be null,
  /// and curves beside it straight.
  unsigned FlattenPath(KVertex2D**& rings, const KSoftPath* path, const KSoftMatrix3D* m,
                       bool onStack, const KRect* clip = nullptr);
  /// Releases rings, last to first, and their array.
  void FreeRings(KVertex2D** rings, unsigned count, bool onStack);
  /// Releases rings, last to first, but not the array.
  void FreeRingVertices(KVertex2D** rings, unsigned count, bool onStack);

  /// Turns every subpath into the outline of its stroke, in device space, and returns the number of
  /// rings; fill them with the non-zero rule, whatever the matrix. The pen is offset in user space
  /// and shaped by the matrix. A subpath of no length is a dot under round and square caps, and
  /// nothing under butt caps. Dashes are measured on the untransformed path, and every subpath
  /// starts anew at dashPhase (a signed 16.16 number; negative ones count backward); the dashes of
  /// a closed subpath join at its start. Dash lengths that are all zero, leave no gap, or have a
  /// negative one among them draw a solid line, and so does a subpath that they would cut into more
  /// than 65536 dashes and gaps (131072 in one stroke). `rings` and
  /// the rings come from the scratch stack or the C heap, as `onStack` says; release them with
  /// FreeStroke. 0 and null when there is nothing to fill (an empty path, a half width of 0 or
  /// less) or memory runs out; nothing stays allocated then. With `clip`, in device pixels,
  /// subpaths and dashes that cannot show within it may be left out.
  unsigned StrokePath(const KSoftPath* path, KVertex2D**& rings, const KSoftMatrix3D* m,
                      bool onStack, const KRect* clip = nullptr);
  /// The same for one polyline; `closed` joins the last point to the first. One point is a dot.
  unsigned StrokePoly(const KVertex2D* points, unsigned count, KVertex2D**& rings,
                      const KSoftMatrix3D* m, bool onStack, bool closed,
                      const KRect* clip = nullptr);
  /// Releases a stroke's rings, last to first, and their array.
  void FreeStroke(KVertex2D** rings, unsigned count, bool onStack);

  /// Most points that one curve piece is flattened into.
  static constexpr int kMaxCurvePoints = 256;
  /// Flattens one curve to GeoQuality: writes the start of every straight piece and then the end
  /// point, `stride` entries apart. Returns the number of points written, at most kMaxCurvePoints.
  static int GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c1, KVertex2D c2, KVertex2D p3,
                          int stride);
  static int GetBezierPts(KVertex2D* out, KVertex2D p0, KVertex2D c, KVertex2D p2, int stride);

  /// Most cubic pieces that one elliptical arc is made of.
  static constexpr int kMostArcPieces = 9;
  /// Writes the elliptical arc from the direction of `start` to that of `end` around `centre` as
  /// cubic pieces, three points each and `stride` entries apart, and returns their number, at most
  /// kMostArcPieces. `direction` true runs toward growing angles, which is clockwise on the screen.
  /// Equal points make a whole turn. When the radii differ, the offsets from the centre are first
  /// scaled by their ratio, so that the arc is computed on a circle.
  static int GetArcBeziers(KVertex2D* out, KVertex2D start, KVertex2D end, KVertex2D centre,
                           KVertex2D radii, bool direction, int stride);

 private:
  KFixed flatness_ = kalvora::kZero;
  KFixed* dashMemory_ = nullptr;  // room for dashRoom_ lengths
  std::uint32_t dashRoom_ = 0;
};

#endif
