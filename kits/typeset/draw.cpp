// Drawing: glyphs go to the context in groups of one font, size and colour.
#include "kits/typeset/draw.h"

#include <algorithm>

#include "kalvora/typeset/KTypeface.h"

namespace kalvora::typeset {

namespace {

// Collects glyphs and hands them on.
class GlyphGroup {
 public:
  explicit GlyphGroup(KSoftContext2D& context) : context_(context) {}
  ~GlyphGroup() { Flush(); }

  void Use(KTypeface* face, KFixed size, const std::optional<KColor32>& color) {
    if (face != face_ || size != size_ || color != color_) Flush();
    face_ = face;
    size_ = size;
    color_ = color;
  }
  void Add(std::uint32_t glyph, KLength x, KLength y) {
    const auto fits = [](KLength v) { return v > INT32_MIN && v <= INT32_MAX; };
    if (!fits(x) || !fits(y)) return;
    glyphs_[count_] = glyph;
    positions_[count_] = {KFixed::FromRaw(static_cast<std::int32_t>(x)),
                          KFixed::FromRaw(static_cast<std::int32_t>(y))};
    if (++count_ == kMost) Flush();
  }

 private:
  static constexpr unsigned kMost = 64;

  void Flush() {
    if (count_ == 0) return;
    if (face_->Font().size != size_) face_->Font().SetFontSize(size_);
    if (color_) context_.SetFillColor(*color_);
    context_.DrawGlyphs(&face_->Font(), glyphs_, positions_, count_);
    count_ = 0;
  }

  KSoftContext2D& context_;
  KTypeface* face_ = nullptr;
  KFixed size_ = KFixed::FromInt(0);
  std::optional<KColor32> color_;
  unsigned count_ = 0;
  std::uint32_t glyphs_[kMost];
  KVertex2D positions_[kMost];
};

// Whether a line surely lies above or below the target: glyphs may leave their line by its height.
bool IsOutside(const Line& line, const KSoftContext2D& context, KVertex2D origin) {
  const KSoftMatrix3D& transform = context.GetTransform();
  if (!transform.linearIdentity) return false;
  const KLength y = KLength{origin.y.raw} + transform.m7.raw;
  return y + line.top + 2 * line.height < 0 ||
         y + line.top - line.height > KPixels(context.GetTarget().height);
}

void DrawLine(const Content& content, const Layout& layout, const Line& line, KVertex2D origin,
              bool colored, GlyphGroup& group) {
  VisitClusters(content, layout, line, [&](const GlyphCluster& cluster) {
    const Item& item = content.items[cluster.piece->item];
    const std::optional<KColor32>& color = content.styles[item.style].style.color;
    if (cluster.glyphCount == 0 || color.has_value() != colored) return;
    group.Use(cluster.piece->face, item.size, color);
    KLength x = origin.x.raw + cluster.x;
    for (std::uint32_t i = 0; i < cluster.glyphCount; ++i) {
      const Glyph& glyph = cluster.glyphs[i];
      group.Add(glyph.index, x + glyph.x, origin.y.raw + line.baseline + glyph.y);
      x += glyph.advance;
    }
  });
}

}  // namespace

void DrawLines(const Content& content, const Layout& layout, KSoftContext2D& context,
               KVertex2D origin) {
  GlyphGroup group(context);
  // What takes the caller's paint comes first, while it is there.
  for (const bool colored : {false, true}) {
    const bool any =
        std::any_of(content.styles.begin(), content.styles.end(),
                    [&](const StyleRun& run) { return run.style.color.has_value() == colored; });
    if (!any) continue;
    for (const Line& line : layout.lines) {
      if (!IsOutside(line, context, origin)) {
        DrawLine(content, layout, line, origin, colored, group);
      }
    }
  }
}

}  // namespace kalvora::typeset
