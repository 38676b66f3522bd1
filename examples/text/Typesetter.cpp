// Measuring, breaking and drawing lines.
#include "examples/text/Typesetter.h"

#include <algorithm>

namespace typeset {

namespace {

bool Is16Bits(char32_t character) { return character <= 0xFFFF; }

std::vector<unsigned short> Codes(std::u32string_view text) { return {text.begin(), text.end()}; }

bool IsIdeograph(char32_t c) {
  return (c >= 0x2E80 && c < 0xA4D0) || (c >= 0xAC00 && c < 0xD7B0) ||
         (c >= 0xF900 && c < 0xFB00) || (c >= 0xFF00 && c < 0xFFF0);
}

// Closing punctuation stays with what stands before it, opening punctuation with what follows.
bool IsClosing(char32_t c) {
  return std::u32string_view(U"、。，．！？：；）」』】〉》”’").find(c) !=
         std::u32string_view::npos;
}
bool IsOpening(char32_t c) {
  return std::u32string_view(U"（「『【〈《“‘").find(c) != std::u32string_view::npos;
}

// Whether a line may end between two characters.
bool MayBreak(char32_t before, char32_t after) {
  if (before == U' ') return after != U' ';
  if (after == U' ' || IsClosing(after) || IsOpening(before)) return false;
  return IsIdeograph(before) || IsIdeograph(after);
}

}  // namespace

Typesetter::Typesetter(Fonts& fonts, KSoftContext2D& context, bool shapeAll)
    : fonts_(fonts), context_(context), shapeAll_(shapeAll) {}

KFixed Typesetter::LineHeight() const {
  KFixed height, fallbackHeight;
  context_.GetHeight(&height, &fallbackHeight);
  return std::max(height, fallbackHeight);
}

KFixed Typesetter::Ascent() { return fonts_.Primary().font.GetAscend(); }

KFixed Typesetter::Measure(std::u32string_view line) {
  KFTFont& font = fonts_.Primary().font;
  KVertex2D pen = KVertex2D::Origin;
  for (std::size_t i = 0; i < line.size(); ++i) {
    const char32_t next = i + 1 < line.size() ? line[i + 1] : 0;
    if (Is16Bits(line[i])) {
      font.AdvancePen(&pen, static_cast<unsigned short>(line[i]),
                      static_cast<unsigned short>(Is16Bits(next) ? next : 0), &context_);
    } else {
      KVertex2D offset, advance = KVertex2D::Origin;
      context_.SetFont(&fonts_.For(line[i]).font);
      context_.LoadMask(&offset, &advance, static_cast<int>(line[i]));
      context_.SetFont(&font);
      pen = pen + advance;
    }
  }
  return pen.x;
}

std::vector<std::u32string> Typesetter::BreakLines(std::u32string_view text, KFixed width) {
  std::vector<std::u32string> lines;
  const auto fits = [&](std::u32string_view line) {
    line = line.substr(0, line.find_last_not_of(U' ') + 1);
    // GetBound measures a whole line at once, in the primary font; it rounds up, in 16 bits.
    if (std::all_of(line.begin(), line.end(), Is16Bits) && line.size() < 500) {
      KRect bound = {};
      const std::vector<unsigned short> codes = Codes(line);
      const KFTFont& font = fonts_.Primary().font;
      const bool mine = std::all_of(codes.begin(), codes.end(),
                                    [&](unsigned short code) { return font.Exists(code); });
      font.GetBound(bound, codes.data(), static_cast<unsigned>(codes.size()));
      if (mine && bound.right <= width.raw >> 16) return true;
    }
    return Measure(line) <= width;
  };
  std::size_t start = 0, end = 0;  // of the line; `end` is the last place where it may break
  const auto finish = [&](std::size_t stop) {
    const std::u32string_view line = text.substr(start, stop - start);
    lines.emplace_back(line.substr(0, line.find_last_not_of(U' ') + 1));
    start = end = stop;
  };
  for (std::size_t i = 1; i <= text.size(); ++i) {
    const bool last = i == text.size();
    if (!last && !MayBreak(text[i - 1], text[i])) continue;
    while (start < i && !fits(text.substr(start, i - start))) {
      if (end > start) {
        finish(end);
        continue;
      }
      // A word that is longer than a line is cut where the line ends.
      std::size_t cut = start + 1;
      while (cut < i && fits(text.substr(start, cut + 1 - start))) ++cut;
      finish(cut);
    }
    end = i;
  }
  if (start < text.size() || lines.empty()) finish(text.size());
  return lines;
}

int Typesetter::DrawLine(std::u32string_view line, KVertex2D left, KFixed width) {
  const bool rightToLeft = Shaper::IsRightToLeft(line);
  if (shapeAll_ || Shaper::NeedsShaping(line)) return DrawShaped(line, left, width, rightToLeft);
  for (std::size_t i = 0; i < line.size();) {
    std::size_t end = i;
    while (end < line.size() && Is16Bits(line[end])) ++end;
    const std::u32string_view run = line.substr(i, end - i);
    const std::vector<unsigned short> codes = Codes(run);
    context_.DrawText(codes.data(), static_cast<unsigned>(codes.size()), left);
    left.x += Measure(run);
    if (end < line.size()) {
      context_.SetFont(&fonts_.For(line[end]).font);
      left = left + DrawBeyond16Bits(line[end++], left);
      context_.SetFont(&fonts_.Primary().font);
    }
    i = end;
  }
  return 0;
}

// DrawText takes 16-bit codes; the mask of any character of the context's font can be had, and
// drawn.
KVertex2D Typesetter::DrawBeyond16Bits(char32_t character, KVertex2D pen) {
  KVertex2D offset = KVertex2D::Origin, advance = KVertex2D::Origin;
  if (KSoftPixmap* mask = context_.LoadMask(&offset, &advance, static_cast<int>(character))) {
    const int x = kalvora::RoundPixel(pen.x + offset.x), y = kalvora::RoundPixel(pen.y + offset.y);
    context_.DrawAlphaMask(mask, x, y, x + static_cast<int>(mask->width),
                           y + static_cast<int>(mask->height));
  }
  return advance;
}

// Each run of one font and one script is shaped by itself. Runs of a line that reads from right to
// left are set in that order; a full bidirectional algorithm is left to text libraries.
int Typesetter::DrawShaped(std::u32string_view line, KVertex2D left, KFixed width,
                           bool rightToLeft) {
  struct Placed {
    Typeface* face;
    ShapedRun run;
  };
  std::vector<Placed> runs;
  for (std::size_t i = 0; i < line.size();) {
    Typeface& face = fonts_.For(line[i]);
    const std::size_t limit = i + Shaper::ScriptRun(line.substr(i));
    std::size_t end = i + 1;
    const auto stays = [&](char32_t c) {
      return &fonts_.For(c) == &face || (Shaper::Joins(c) && face.Has(c));
    };
    while (end < limit && stays(line[end])) ++end;
    runs.push_back({&face, face.shaper.Shape(line.substr(i, end - i))});
    i = end;
  }
  KFixed total = kalvora::kZero;
  for (const Placed& placed : runs) total += placed.run.width;
  if (rightToLeft) {
    std::reverse(runs.begin(), runs.end());
    left.x += width - total;
  }
  int lost = 0;
  for (Placed& placed : runs) {
    for (KVertex2D& position : placed.run.positions) position = position + left;
    context_.SetFont(&placed.face->font);
    DrawAt(placed.run.characters, placed.run.positions);
    left.x += placed.run.width;
    lost += placed.run.lost;
  }
  context_.SetFont(&fonts_.Primary().font);
  return lost;
}

void Typesetter::DrawAt(std::u32string_view characters, const std::vector<KVertex2D>& positions) {
  for (std::size_t i = 0; i < characters.size();) {
    std::size_t end = i;
    while (end < characters.size() && Is16Bits(characters[end])) ++end;
    const std::vector<unsigned short> codes = Codes(characters.substr(i, end - i));
    context_.DrawText(codes.data(), static_cast<unsigned>(codes.size()), KVertex2D::Origin,
                      positions.data() + i);
    if (end < characters.size()) DrawBeyond16Bits(characters[end], positions[end]);
    i = end + 1;
  }
}

}  // namespace typeset
