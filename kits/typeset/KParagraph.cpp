// KParagraph: what its calls change, and what is made anew for its answers.
#include "kalvora/typeset/KParagraph.h"

#include <algorithm>

#include "kits/typeset/draw.h"
#include "kits/typeset/places.h"

using kalvora::typeset::Content;
using kalvora::typeset::GlyphCluster;
using kalvora::typeset::Layout;
using kalvora::typeset::Line;
using kalvora::typeset::Page;
using kalvora::typeset::StyleRun;

namespace {

// Of runs that begin together the last counts; neighbours that look the same become one.
void Tidy(std::vector<StyleRun>& runs) {
  std::size_t kept = 0;
  for (std::size_t i = 0; i < runs.size(); ++i) {
    if (i + 1 < runs.size() && runs[i + 1].begin == runs[i].begin) continue;
    if (kept > 0 && runs[kept - 1].style == runs[i].style) continue;
    runs[kept++] = runs[i];
  }
  runs.resize(kept);
}

}  // namespace

struct KParagraph::State {
  Content content;
  KParagraphFormat format;
  Layout layout;
  enum class Stale { kNothing, kLines, kText, kAll } stale = Stale::kAll;

  State() { content.styles.push_back({0, KTextStyle()}); }

  void Need(Stale what) { stale = std::max(stale, what); }
  Page Update() {
    if (stale >= Stale::kText) Analyse(content, format, stale == Stale::kText);
    if (stale >= Stale::kLines) MakeLines(content, format, layout);
    stale = Stale::kNothing;
    return {content, layout};
  }
  std::uint32_t Clamp(std::size_t offset) const {
    return static_cast<std::uint32_t>(std::min(offset, content.text.size()));
  }
};

KParagraph::KParagraph() : state_(std::make_unique<State>()) {}
KParagraph::~KParagraph() = default;
KParagraph::KParagraph(KParagraph&&) noexcept = default;
KParagraph& KParagraph::operator=(KParagraph&&) noexcept = default;

// --- what it shows

bool KParagraph::SetText(std::string_view utf8) {
  if (utf8.size() > kLongest) return false;
  state_->content.text = utf8;
  state_->Need(State::Stale::kText);
  return true;
}

const std::string& KParagraph::Text() const { return state_->content.text; }

bool KParagraph::Replace(std::size_t from, std::size_t to, std::string_view utf8) {
  Content& content = state_->content;
  const std::uint32_t begin = state_->Clamp(from), end = std::max(begin, state_->Clamp(to));
  const std::size_t kept = content.text.size() - (end - begin);
  if (utf8.size() > kLongest - kept) return false;

  content.text.replace(begin, end - begin, utf8);
  const auto added = static_cast<std::uint32_t>(utf8.size());
  for (StyleRun& run : content.styles) {
    if (run.begin < begin || run.begin == 0 || (run.begin == begin && end > begin)) continue;
    run.begin = begin + added + (run.begin > end ? run.begin - end : 0);
  }
  Tidy(content.styles);
  state_->Need(State::Stale::kText);
  return true;
}

void KParagraph::SetStyle(const KTextStyle& style) {
  state_->content.styles.assign(1, {0, style});
  state_->Need(State::Stale::kAll);
}

void KParagraph::SetStyle(std::size_t from, std::size_t to, const KTextStyle& style) {
  std::vector<StyleRun>& runs = state_->content.styles;
  const std::uint32_t begin = state_->Clamp(from), end = state_->Clamp(to);
  if (begin >= end) return;
  const KTextStyle after = StyleAt(end);
  std::erase_if(runs, [&](const StyleRun& run) { return run.begin >= begin && run.begin <= end; });
  const auto place =
      std::find_if(runs.begin(), runs.end(), [&](const StyleRun& run) { return run.begin > end; });
  runs.insert(place, {StyleRun{begin, style}, StyleRun{end, after}});
  Tidy(runs);
  state_->Need(State::Stale::kText);
}

const KTextStyle& KParagraph::StyleAt(std::size_t offset) const {
  return state_->content.StyleAt(offset);
}

void KParagraph::SetFallbacks(std::span<KTypeface* const> faces) {
  state_->content.fallbacks.assign(faces.begin(), faces.end());
  state_->Need(State::Stale::kAll);
}

void KParagraph::SetFormat(const KParagraphFormat& format) {
  const KParagraphFormat& old = state_->format;
  if (format == old) return;
  const bool same = format.direction == old.direction && format.language == old.language;
  state_->format = format;
  state_->Need(same ? State::Stale::kLines : State::Stale::kAll);
}

const KParagraphFormat& KParagraph::Format() const { return state_->format; }

// --- measures

KLength KParagraph::Width() const { return state_->Update().layout.width; }
KLength KParagraph::Height() const { return state_->Update().layout.height; }

KLength KParagraph::NaturalWidth() const {
  KParagraphFormat format = state_->format;
  format.width = KUnlimited;
  format.maxLines = 0;
  Layout layout;
  MakeLines(state_->Update().content, format, layout);
  return layout.width;
}

KLength KParagraph::LeastWidth() const {
  return FindLeastWidth(state_->Update().content, state_->format);
}

std::size_t KParagraph::LineCount() const { return state_->Update().layout.lines.size(); }

KTextLine KParagraph::LineAt(std::size_t index) const {
  const auto [content, layout] = state_->Update();
  const Line& line = layout.lines[std::min(index, layout.lines.size() - 1)];
  return {content.offsets[line.begin],
          content.offsets[line.end],
          line.left,
          line.width,
          line.top,
          line.height,
          line.baseline,
          (line.base & 1) != 0,
          line.hard};
}

std::size_t KParagraph::LineOf(KTextPlace place) const { return state_->Update().LineOf(place); }

bool KParagraph::IsComplete() const { return state_->Update().layout.complete; }

std::vector<KPlacedGlyph> KParagraph::GlyphsOf(std::size_t index) const {
  const auto [content, layout] = state_->Update();
  const Line& line = layout.lines[std::min(index, layout.lines.size() - 1)];
  std::vector<KPlacedGlyph> placed;
  VisitClusters(content, layout, line, [&, &content = content](const GlyphCluster& cluster) {
    const auto& item = content.items[cluster.piece->item];
    KLength x = cluster.x;
    for (std::uint32_t i = 0; i < cluster.glyphCount; ++i) {
      const auto& glyph = cluster.glyphs[i];
      placed.push_back({cluster.piece->face, item.size, glyph.index, x + glyph.x,
                        line.baseline + glyph.y, content.offsets[cluster.begin]});
      x += glyph.advance;
    }
  });
  return placed;
}

// --- places

KTextHit KParagraph::HitTest(KLength x, KLength y) const { return state_->Update().HitTest(x, y); }

KCaret KParagraph::CaretAt(KTextPlace place) const { return state_->Update().CaretAt(place); }

std::vector<KSelectionBox> KParagraph::SelectionBoxes(std::size_t begin, std::size_t end) const {
  const Page page = state_->Update();
  std::vector<KSelectionBox> boxes;
  const std::uint32_t from = page.ClusterAt(begin), to = page.ClusterAt(end);
  for (const Line& line : page.layout.lines) {
    if (line.begin < to && line.end > from) page.AddBoxes(line, from, to, boxes);
  }
  return boxes;
}

std::size_t KParagraph::NextPlace(std::size_t offset) const {
  const Page page = state_->Update();
  return page.content.offsets[page.NextCluster(page.ClusterAt(offset))];
}

std::size_t KParagraph::PreviousPlace(std::size_t offset) const {
  const Page page = state_->Update();
  return page.content.offsets[page.PreviousCluster(page.content.CharacterAt(offset))];
}

// --- drawing

void KParagraph::Draw(KSoftContext2D& context, KVertex2D origin) const {
  const Page page = state_->Update();
  DrawLines(page.content, page.layout, context, origin);
}
