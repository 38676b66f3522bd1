// Paragraphs: texts of bits that matter to scripts, directions and lines, in styles and formats of
// any kind, edited, measured, asked for places, and drawn.
#include "kalvora/typeset/typeset.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "tests/fuzz/bytes.h"

namespace {

const char* const kBits[] = {"a",
                             "fi",
                             "AV",
                             " ",
                             "\t",
                             "\n",
                             "\r\n",
                             ".",
                             "(",
                             ")",
                             "1",
                             "-",
                             "%",
                             "\u00E9",
                             "x\u0302",
                             "\u05D0",
                             "\u05B8",
                             "\u0627",
                             "\u0644",
                             "\u0633",
                             "\u0663",
                             "\u0915\u094D\u0937",
                             "\u093F",
                             "\u0E19\u0E49\u0E33",
                             "\u0BCA",
                             "\u4E2D",
                             "\u3002",
                             "\u300C",
                             "\u3042",
                             "\uD55C",
                             "\u1112\u1161",
                             "\U0001F600",
                             "\U0001F468\u200D\U0001F469",
                             "\U0001F1E9\U0001F1EA",
                             "\u00AD",
                             "\u00A0",
                             "\u200B",
                             "\u200D",
                             "\u202E",
                             "\u202C",
                             "\u2067",
                             "\u2069",
                             "\u2028",
                             "\u0301",
                             "\uFE0F",
                             "\xFF",
                             "\xE4\xB8",
                             "\x07"};

// The faces are loaded once; the last is empty.
KTypeface* Face(unsigned index) {
  static const char* const kFiles[] = {
      "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
      "/usr/share/fonts/truetype/noto/NotoNaskhArabic-Regular.ttf",
      "/usr/share/fonts/truetype/noto/NotoSansDevanagari-Regular.ttf",
      "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf",
      "/usr/share/fonts/truetype/noto/NotoColorEmoji.ttf"};
  static const auto* const faces = [] {
    auto* all = new KTypeface[std::size(kFiles) + 1];
    for (std::size_t i = 0; i < std::size(kFiles); ++i) all[i].Load(kFiles[i]);
    return all;
  }();
  return index == 0 ? nullptr
                    : const_cast<KTypeface*>(&faces[(index - 1) % (std::size(kFiles) + 1)]);
}

std::string Text(Bytes& bytes) {
  std::string text;
  for (unsigned n = bytes.Below(40); n > 0; --n) text += kBits[bytes.Below(std::size(kBits))];
  for (unsigned n = bytes.Below(4); n > 0; --n) text += static_cast<char>(bytes.Byte());
  return bytes.Below(16) == 0 ? text + text + text + text : text;
}

KTextStyle Style(Bytes& bytes) {
  KTextStyle style = {Face(bytes.Below(8)), bytes.Fixed(), {}};
  if (bytes.Flag()) style.color = bytes.Color();
  return style;
}

KParagraphFormat Format(Bytes& bytes) {
  KParagraphFormat format;
  format.width = bytes.Flag() ? KLength{bytes.Fixed().raw} * 4 : KUnlimited;
  format.align = static_cast<KTextAlign>(bytes.Below(5));
  format.direction = static_cast<KTextDirection>(bytes.Below(4));
  format.lineSpacing = bytes.Flag() ? bytes.Fixed() : kalvora::kOne;
  format.maxLines = bytes.Flag() ? 0 : bytes.Below(5);
  format.wrap = bytes.Below(4) != 0;
  format.ellipsis = bytes.Flag();
  return format;
}

void Require(bool holds) {
  if (!holds) __builtin_trap();
}

void Ask(const KParagraph& p, Bytes& bytes) {
  std::size_t at = 0;
  for (std::size_t i = 0; i < p.LineCount(); ++i) {
    const KTextLine line = p.LineAt(i);
    Require(line.begin == at && line.end >= at && line.width <= p.Width());
    at = line.end;
    p.GlyphsOf(i);
  }
  Require(at == p.Text().size() || !p.IsComplete());
  const KTextPlace place = {bytes.Byte(), bytes.Flag()};
  const KCaret caret = p.CaretAt(place);
  const KTextHit hit = p.HitTest(bytes.Flag() ? caret.x : bytes.Fixed().raw, caret.top);
  Require(hit.place.offset <= p.Text().size() && hit.character <= p.Text().size());
  Require(p.LineOf(hit.place) < p.LineCount());
  p.SelectionBoxes(place.offset, bytes.Byte());
  Require(p.NextPlace(place.offset) >= p.PreviousPlace(place.offset));
  p.NaturalWidth();
  p.LeastWidth();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  KSoftPixmap picture;
  picture.Create(40, 30, KFormat8888PM);
  KSoftContext2D context;
  context.RenderToTexture(&picture);
  KParagraph p;
  p.SetStyle({Face(1), KFixed::FromInt(12), {}});
  KTypeface* const fallbacks[] = {Face(bytes.Below(8)), Face(3), Face(4), Face(bytes.Below(8))};
  p.SetFallbacks(fallbacks);
  for (int step = 0; step < 12 && !bytes.AtEnd(); ++step) {
    switch (bytes.Below(5)) {
      case 0:
        p.SetText(Text(bytes));
        break;
      case 1:
        p.Replace(bytes.Byte(), bytes.Byte(), Text(bytes));
        break;
      case 2:
        p.SetStyle(bytes.Byte(), bytes.Byte(), Style(bytes));
        break;
      case 3:
        p.SetFormat(Format(bytes));
        break;
      default:
        if (bytes.Flag()) context.Transform().Rotate(bytes.Fixed());
        p.Draw(context, bytes.Point());
        break;
    }
    Ask(p, bytes);
  }
  // An edited paragraph is like one that was made at once.
  const KLength height = p.Height(), width = p.Width();
  p.SetFallbacks(fallbacks);  // shapes everything anew
  Require(p.Height() == height && p.Width() == width);
  return 0;
}
