// KSoftContext2D: the drawing object: targets, state, and every drawing call.
#ifndef KALVORA_CONTEXT_KSOFTCONTEXT2D_H
#define KALVORA_CONTEXT_KSOFTCONTEXT2D_H

#include <cstdint>
#include <string_view>

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/display/KDisplay.h"
#include "kalvora/geometry/KSoftPath.h"
#include "kalvora/geometry/KStroker.h"
#include "kalvora/paint/KPaint.h"
#include "kalvora/raster/KFillRule.h"
#include "kalvora/support/KError.h"
#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontContext.h"

namespace kalvora {
struct GlyphPlaces;
struct PaintJob;
struct RasterJob;
struct RectangleJob;
}  // namespace kalvora

class KGlyphMasks;
class KClipRings;
class KLinuxFb;
struct KStripTable;
struct KStyleContext2D;

/// Rendering back ends; the choice is ignored.
enum KBackend : std::int32_t { KBackendSoftware = 0 };

/// Draws paths, pixmaps and text into a display or a caller's pixmap.
///
/// Create it, bind a target with SetDisplay or RenderToTexture, set paints and state, draw, and on
/// a display end each frame with Flip. Every bind resets the state: fill opaque black, no stroke,
/// identity transform, no clip but the target, non-zero fill rule, no fonts. Drawing before a bind,
/// or into an empty target, draws nothing. Pixmaps, ramps, paths and fonts given to a context are
/// borrowed and must outlive their use. One context belongs to one thread at a time; different
/// threads may draw with different contexts at once.
class KALVORA_API KSoftContext2D : public KStroker, public KFTFontContext {
 public:
  /// Both arguments are ignored.
  explicit KSoftContext2D(KBackend backend = KBackendSoftware, unsigned reserved = 0);
  ~KSoftContext2D();

  // --- targets
  // -----------------------------------------------------------------------------------------

  /// Binds a display: kind 0 is the device "/dev/fb<index>", kind 6 the mode-setting card
  /// "/dev/dri/card<index>", kind 5 the 320 x 480 surface in shared memory; 1 to 3 buffers (see
  /// KLinuxFb). Draw with formats 4 and 5, whatever pixels the device has; the other ones open a
  /// device in their depth, and nothing is drawn into it. False when the display cannot be opened,
  /// which leaves a bound pixmap as it was but a bound display closed, and for formats 0, 2, 3
  /// and 6.
  bool SetDisplay(KDisplay display, unsigned index, KFormat format, unsigned buffers);
  /// Binds a pixmap of format 4 or 5, or with null unbinds; a display is closed. False for formats
  /// 0, 2, 3 and 6, and for 32-bit pixels whose address or stride is no multiple of 4: nothing can
  /// be drawn then. Format 1 and values above 6 give true, keep the previous fillers, and draw
  /// nothing.
  bool RenderToTexture(KSoftPixmap* pixmap);
  /// Why the last SetDisplay or RenderToTexture returned false, or that it did not. It holds until
  /// the next of them.
  const KError& LastError() const { return mError; }
  /// What is bound now: its size, format and pixels, which change with every bind and Flip.
  const KSoftPixmap& GetTarget() const { return mTarget; }
  /// Copies the rectangle's rows, tightly packed, into `buffer`. The rectangle is not clamped.
  void GetPixels(KRect rect, void* buffer) const;
  /// Writes the premultiplied colour, alpha included, over the rectangle clamped to the target, or
  /// with null over the whole target and its row padding. The clip is not consulted. Where the
  /// target is a window of a larger picture the padding is that picture's: clear it by a rectangle.
  void Clear(KColor32 color, const KRect* rect = nullptr);
  /// Ends a frame. On a display it shows the frame, and the target becomes the buffer of the next:
  /// with `copyBack` a copy of this frame, else some older one, to be painted whole. `dirty` covers
  /// all that was drawn since the last Flip; a frame that was painted whole is flipped with null.
  void Flip(bool copyBack = false, const KRect* dirty = nullptr);

  // --- paints
  // ------------------------------------------------------------------------------------------

  void SetFillColor(KColor32 color);                ///< straight colour
  void SetStrokeColor(KColor32 color);              ///< straight colour
  void SetFillLGrad(const KSoftColorRamp* ramp);    ///< linear; borrowed; null: nothing
  void SetStrokeLGrad(const KSoftColorRamp* ramp);  ///< the same
  void SetFillRGrad(const KSoftColorRamp* ramp);    ///< radial; borrowed; null: nothing
  void SetStrokeRGrad(const KSoftColorRamp* ramp);  ///< the same
  void SetFillPixmap(const KSoftPixmap* pixmap);    ///< pattern; borrowed; null: nothing
  void SetStrokePixmap(const KSoftPixmap* pixmap);  ///< the same
  /// Instead of painting, sets *hit to true when a shape covers the point (device pixels). Never
  /// clears it.
  void SetFillPick(KVertex2D point, bool* hit);
  void SetStrokePick(KVertex2D point, bool* hit);
  void SetNoFill();    ///< shapes are not filled
  void SetNoStroke();  ///< outlines are not drawn
  /// 0..256, where 256 is opaque; other values are held to the range.
  void SetFillOpacity(int opacity);
  void SetStrokeOpacity(int opacity);

  // --- state
  // -------------------------------------------------------------------------------------------

  /// User space to device pixels.
  void SetTransform(const KSoftMatrix3D& m) { mTransform = m; }
  const KSoftMatrix3D& GetTransform() const { return mTransform; }
  /// The transform itself, to be changed in place.
  KSoftMatrix3D& Transform() { return mTransform; }
  /// KFillNonZero or KFillEvenOdd.
  void SetFillRule(KFillRule rule) { mFillRule = rule; }
  /// Clips to whole device pixels within the target; an inverted rectangle lets nothing through.
  void SetClipRegion(KRect rect);
  /// Clips to a path in device coordinates (the transform does not apply). Null or empty removes
  /// the clip path.
  void SetClipPath(const KSoftPath* path, KFillRule rule);
  /// Clip rectangle the whole target, no clip path.
  void ResetClip();
  /// Key 0: rectangles get anti-aliased edges (value not 0) or snap to whole pixels. Key 1: writes
  /// one pixel within the clip: x in bits 0-11, y in 12-23, then four 2-bit channels from the
  /// lowest byte up. Key 2: dumps the display's frame-rate history to its log and forgets it (value
  /// 1), or forgets it and makes room for so many samples. Key 3: the least time between two
  /// samples in milliseconds. Keys 4 and 5 hold from the next SetDisplay on. Key 4: degrees
  /// clockwise by which a display is turned, 0, 90, 180 or 270 (others are ignored); drawing stays
  /// upright. Key 5: whether displays with less than 8 bits a channel are dithered (value not 0, as
  /// at first). Key 6: text whose outlines are not hinted stands on quarters of a pixel in x (value
  /// not 0), so that its spacing is even and it moves smoothly, or on whole ones, as at first.
  /// Other keys are ignored.
  void SetAttribute(unsigned key, unsigned value);
  /// Process-wide debug flags: keys 0 to 4 set DisplayFps, DrawColoredOutlines, IgnoreAlpha,
  /// OnlyNearest and UseFontHinting to value != 0. Other keys are ignored.
  static void SetGlobalAttribute(unsigned key, unsigned value);

  // --- drawing
  // -----------------------------------------------------------------------------------------

  /// A new empty path; release it with DestroyPath. Null when memory runs out.
  KSoftPath* CreatePath() const;
  void DestroyPath(KSoftPath* path) const;
  /// Fills and strokes the path.
  void DrawPath(const KSoftPath* path);
  /// Fills and strokes the polygon; `closed` matters to the stroke only.
  void DrawPolygon(const KVertex2D* points, unsigned count, bool closed);
  /// Strokes the line; the fill does not apply.
  void DrawLine(KVertex2D p, KVertex2D q);
  /// Fills and strokes the rectangle with opposite corners p and q, and corners rounded by the
  /// radii (x, y).
  void DrawRectangle(KVertex2D p, KVertex2D q, KVertex2D radii = KVertex2D::Origin);
  /// Fills and strokes a rectangle given by its centre and half extents, with elliptical corners;
  /// radii are held to the half extents.
  void DrawEllipticalRect(KVertex2D centre, KVertex2D half, KVertex2D radii);
  /// Strokes the arc of the ellipse around `centre` and fills it closed by its chord. Angles in
  /// degrees, growing clockwise on the screen from the right; a sweep of 360 and more, either way,
  /// is the whole ellipse.
  void DrawArc(KVertex2D centre, KVertex2D radii, KFixed start, KFixed sweep);
  /// Stretches the pixmap onto the user-space rectangle from a to b, with its quality and edge rule
  /// and the fill's opacity. Rebuilds the pixmap's transform.
  void DrawPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b);
  /// Stretches the part of the pixmap from s0 to s1 (in its pixels) onto the rectangle from a to b.
  /// The part is no clip: where filtering reaches beyond it, the pixels around it show.
  void DrawSubPixmap(KSoftPixmap* pixmap, KVertex2D a, KVertex2D b, KVertex2D s0, KVertex2D s1);
  /// Draws the fill paint through a format 0 pixmap, one byte of coverage a pixel, whose top left
  /// corner lies at the device pixel (x0, y0); x1 and y1 are exclusive. The transform does not
  /// apply.
  void DrawAlphaMask(const KSoftPixmap* mask, int x0, int y0, int x1, int y1);
  /// Fills the device rectangle with the fill's pixmap, whose transform turns by 90, 180 or 270
  /// degrees without scaling: the pixels of nearest sampling, read in an order that suits the
  /// cache.
  void DrawSimplePatternRectRotateNoScale(KVertex2D a, KVertex2D b, unsigned angle);
  /// Draws 16-bit codes, in which surrogate pairs are one character and stand at the first of their
  /// positions, with the fill paint and the font of SetFont; characters that it lacks come from the
  /// fallback fonts. `origin` is the first pen position, on the baseline, in user space, and glyphs
  /// follow by their advances, without kerning; or each glyph stands at its own of `positions` and
  /// `origin` is ignored. Glyphs are rendered under the transform and set on whole pixels (see
  /// attribute 6). Text that cannot reach the clip rectangle, by what its fonts say of the size of
  /// their glyphs, is left out at little cost.
  void DrawText(const unsigned short* text, unsigned count, KVertex2D origin,
                const KVertex2D* positions = nullptr);
  /// The same for UTF-8, with one of `positions` for each character. Bytes that are no character
  /// show U+FFFD, once for each longest part that could have begun one.
  void DrawText(std::string_view utf8, KVertex2D origin, const KVertex2D* positions = nullptr);
  /// What DrawText, given the same, draws on the device, to the pixel and whatever the clip: the
  /// box of all masks, and the way from the first pen to the one after the last glyph. All 0 when
  /// nothing is drawn. Glyphs are rendered into the cache.
  KGlyphExtents MeasureText(const unsigned short* text, unsigned count, KVertex2D origin,
                            const KVertex2D* positions = nullptr);
  KGlyphExtents MeasureText(std::string_view utf8, KVertex2D origin,
                            const KVertex2D* positions = nullptr);
  /// The same for DrawGlyphs.
  KGlyphExtents MeasureGlyphs(const KFTFont* font, const std::uint32_t* glyphs,
                              const KVertex2D* positions, unsigned count);
  /// Whether text lies outside the clip rectangle by a guess: each glyph as wide as the line is
  /// high, so that a last glyph that is wider may still show. Turned and skewed text never does.
  bool IsRoughlyClipped(const unsigned short* text, unsigned count, KVertex2D origin,
                        const KVertex2D* positions) const;
  /// What DrawText does, without leaving out what cannot be seen.
  void DrawTextWithMasks(const unsigned short* text, unsigned count, KVertex2D origin,
                         const KVertex2D* positions);
  /// Fills and strokes the outlines of the primary font's glyphs: no fallback, no cache, no
  /// rounding to pixels.
  void DrawTextWithPaths(const unsigned short* text, unsigned count, KVertex2D origin,
                         const KVertex2D* positions);
  /// The same for UTF-8, and with the outlines of the fallback fonts.
  void DrawTextWithPaths(std::string_view utf8, KVertex2D origin,
                         const KVertex2D* positions = nullptr);
  /// Draws glyphs of any font, whether the context has it or not, by their indices in its file, as
  /// shapers give them, each with its pen at one of `positions`, in user space. Everything else is
  /// as with DrawText: masks from the cache on whole pixels, with the fill paint, under the
  /// transform and the clips. Indices that the font does not have, and bad arguments, draw nothing.
  void DrawGlyphs(const KFTFont* font, const std::uint32_t* glyphs, const KVertex2D* positions,
                  unsigned count);
  /// The same as outlines, which are filled and stroked: no cache, no rounding to pixels.
  void DrawGlyphPaths(const KFTFont* font, const std::uint32_t* glyphs, const KVertex2D* positions,
                      unsigned count);
  /// Draws nothing: no glyph has a pixmap.
  void DrawTextWithPixmaps(const unsigned short* text, unsigned count, KVertex2D origin,
                           const KVertex2D* positions);
  /// Releases rings, last to first; the list itself stays.
  void FreeVertices(KVertex2D** rings, unsigned count, bool onStack);

  static std::uint64_t Id;  ///< zero at load time

 private:
  KALVORA_LOCAL bool NeedParts();
  KALVORA_LOCAL bool NoMemory();
  KALVORA_LOCAL bool BindStrips(KFormat format);
  KALVORA_LOCAL bool NewLineBuffer(unsigned width);
  KALVORA_LOCAL bool NewDisplayLineBuffer();
  KALVORA_LOCAL bool BorrowLineBuffer();
  KALVORA_LOCAL void DropLineBuffer();
  KALVORA_LOCAL void UnbindTarget();
  KALVORA_LOCAL void SetDisplayAttribute(unsigned key, unsigned value);
  KALVORA_LOCAL void ResetState();
  bool CanDraw() const { return mCanDraw; }
  KALVORA_LOCAL void NoteTarget();
  KALVORA_LOCAL const KPaint& Apart(const KPaint& paint);
  KALVORA_LOCAL void Describe(kalvora::PaintJob& job, const KPaint& paint);
  KALVORA_LOCAL void Describe(kalvora::RasterJob& job, const KPaint& paint, KFillRule rule);
  KALVORA_LOCAL kalvora::PaintJob Painting(const KPaint& paint);
  KALVORA_LOCAL kalvora::RasterJob Job(const KPaint& paint, KFillRule rule);
  KALVORA_LOCAL kalvora::RectangleJob RectJob(const KPaint& paint, KFillRule rule, bool antiAlias);
  KALVORA_LOCAL void RasterPolyline(const KVertex2D* points, unsigned count, bool closed);
  KALVORA_LOCAL void FillWithPixmap(const KSoftPixmap& pixmap, KVertex2D a, KVertex2D b);
  KALVORA_LOCAL void FillStroke(KVertex2D** rings, unsigned count);
  KALVORA_LOCAL void FillPolygon(const KVertex2D* points, unsigned count);
  KALVORA_LOCAL void WritePixel(std::uint32_t value);
  template <typename Codes>
  KALVORA_LOCAL void DrawCodes(Codes codes, KVertex2D origin, const KVertex2D* positions);
  template <typename Names>
  KALVORA_LOCAL void DrawMasks(KGlyphMasks& masks, Names names, const kalvora::GlyphPlaces& places);
  template <typename Codes>
  KALVORA_LOCAL KGlyphExtents MeasureCodes(Codes codes, KVertex2D origin,
                                           const KVertex2D* positions);
  template <typename Names>
  KALVORA_LOCAL KGlyphExtents MeasureMasks(KGlyphMasks& masks, Names names,
                                           const kalvora::GlyphPlaces& places);
  KALVORA_LOCAL void SetUp(KGlyphMasks& masks) const;
  KALVORA_LOCAL void DrawColouredGlyph(const KSoftPixmap& glyph, int x, int y);
  KALVORA_LOCAL bool CannotShow(const KFTFont* only, unsigned count, KVertex2D origin,
                                const KVertex2D* positions) const;
  KALVORA_LOCAL void DrawOutlineAt(KVertex2D pen);

  KSoftMatrix3D mTransform;
  KClipRings* mClipRings = nullptr;
  KFillRule mClipRule = KFillNonZero;
  const KStripTable* mStripInit = nullptr;  // of the target's layout
  KSoftPixmap mTarget;
  KFillRule mFillRule = KFillNonZero;
  KPaint mFill;
  KPaint mStroke;
  KStyleContext2D* mStyle = nullptr;
  KLinuxFb* mFb = nullptr;
  unsigned mLineWidth = 0;    // pixels that the line buffer is long
  KSoftPath mScratch;         // of one draw
  KPaint mApartPaint;         // what a draw has in place of a pixmap that lies in the target:
  KSoftPixmap mApartPattern;  // a copy of it
  KSoftPixmap mApartMask;
  bool mRectAntiAlias = true;
  bool mCanDraw = false;  // the target can be drawn into
  KError mError;
  bool mQuarterPixels = false;  // text stands on quarters of a pixel
};

#endif
