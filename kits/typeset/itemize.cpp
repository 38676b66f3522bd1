// Choosing script and font for each cluster, and joining clusters into items.
#include "kits/typeset/itemize.h"

#include <algorithm>

#include <hb.h>

#include "kalvora/typeset/KTypeface.h"

#include "kits/typeset/properties.h"

namespace kalvora::typeset {

namespace {

// Items are shaped as a whole, so that an edit costs an item. From kLongItem characters on they are
// cut between words, at places that the words choose: what follows an edit is then cut as before.
constexpr std::uint32_t kLongItem = 2048;
constexpr std::uint32_t kLongestItem = 8192;
// Marks on one letter that are shaped together: HarfBuzz takes the square of their number.
constexpr std::uint32_t kLongestCluster = 256;

hb_script_t ScriptOf(char32_t c) { return hb_unicode_script(hb_unicode_funcs_get_default(), c); }

bool IsAnyScript(hb_script_t script) {
  return script == HB_SCRIPT_COMMON || script == HB_SCRIPT_INHERITED || script == HB_SCRIPT_UNKNOWN;
}

// Scripts of characters in their order. Those of any script take that of the character before; a
// closing bracket takes that of its opening one.
class ScriptFinder {
 public:
  // `first` is the script of those before the first character that has one.
  explicit ScriptFinder(hb_script_t first) : last_(first) {}

  hb_script_t Next(char32_t c) {
    const hb_script_t script = ScriptOf(c);
    if (!IsAnyScript(script)) return last_ = script;
    const LineClass line = PropertiesOf(c).line;
    if (line == LineClass::kOP || line == LineClass::kOPwide) {
      open_[depth_++ % kDepth] = {Mirror(c), last_};
    } else if (line == LineClass::kCL || line == LineClass::kCP || line == LineClass::kCPwide) {
      Close(c);
    }
    return last_;
  }

 private:
  static constexpr std::uint32_t kDepth = 16;  // deeper ones forget the outermost
  struct Open {
    char32_t closing;
    hb_script_t script;
  };

  static char32_t Mirror(char32_t c) {
    return hb_unicode_mirroring(hb_unicode_funcs_get_default(), c);
  }
  void Close(char32_t c) {
    for (std::uint32_t i = depth_; i > 0 && i + kDepth > depth_; --i) {
      if (open_[(i - 1) % kDepth].closing != c) continue;
      depth_ = i - 1;
      last_ = open_[depth_ % kDepth].script;
      return;
    }
  }

  hb_script_t last_;
  Open open_[kDepth] = {};
  std::uint32_t depth_ = 0;
};

hb_script_t FirstScript(std::u32string_view text) {
  for (const char32_t c : text) {
    if (const hb_script_t script = ScriptOf(c); !IsAnyScript(script)) return script;
  }
  return HB_SCRIPT_COMMON;
}

// Whether a font need not have the character to show the text.
bool IsInvisible(char32_t c) {
  switch (PropertiesOf(c).cluster) {
    case ClusterClass::kControl:
    case ClusterClass::kCR:
    case ClusterClass::kLF:
    case ClusterClass::kZWJ:
      return true;
    case ClusterClass::kExtend:
      return c == 0x200C || c == 0x034F || (c >= 0x180B && c <= 0x180F) ||
             (c >= 0xFE00 && c <= 0xFE0F) || c >= 0xE0000;
    default:
      return false;
  }
}

bool IsSpace(char32_t c) {
  return hb_unicode_general_category(hb_unicode_funcs_get_default(), c) ==
         HB_UNICODE_GENERAL_CATEGORY_SPACE_SEPARATOR;
}

// Whether a cluster wants to be shown as a picture.
bool IsEmoji(std::u32string_view cluster) {
  if (cluster.find(char32_t{0xFE0E}) != std::u32string_view::npos) return false;
  return PropertiesOf(cluster[0]).emoji ||
         cluster.find(char32_t{0xFE0F}) != std::u32string_view::npos;
}

bool HasAll(const KTypeface& face, std::u32string_view cluster) {
  return std::all_of(cluster.begin(), cluster.end(),
                     [&](char32_t c) { return face.Has(c) || IsInvisible(c); });
}

class Itemizer {
 public:
  Itemizer(Content& content, const std::vector<Level>& levels)
      : content_(content), levels_(levels), scripts_(FirstScript(content.characters)) {}

  void Run() {
    for (std::uint32_t begin = 0; begin < content_.Size();) {
      std::uint32_t end = begin + 1;
      while (end < content_.Size() && !content_.units[end].cluster &&
             end - begin < kLongestCluster) {
        ++end;
      }
      Add(begin, end);
      begin = end;
    }
  }

 private:
  void Add(std::uint32_t begin, std::uint32_t end);
  KTypeface* FaceFor(std::u32string_view cluster, KTypeface* first);
  template <typename Predicate>
  KTypeface* FirstFace(KTypeface* first, Predicate fits) const;
  bool MayCut(std::uint32_t at) const;

  Content& content_;
  const std::vector<Level>& levels_;
  ScriptFinder scripts_;
  std::uint32_t style_ = 0;
};

template <typename Predicate>
KTypeface* Itemizer::FirstFace(KTypeface* first, Predicate fits) const {
  if (first && first->IsLoaded() && fits(*first)) return first;
  for (KTypeface* face : content_.fallbacks) {
    if (face && face->IsLoaded() && fits(*face)) return face;
  }
  return nullptr;
}

KTypeface* Itemizer::FaceFor(std::u32string_view cluster, KTypeface* first) {
  KTypeface* before = content_.items.empty() ? nullptr : content_.items.back().face;
  const char32_t c = cluster[0];
  if (before && (IsInvisible(c) || (IsSpace(c) && before->Has(c)))) return before;
  KTypeface* face = nullptr;
  if (IsEmoji(cluster)) {
    face = FirstFace(first, [&](const KTypeface& f) { return f.HasColors() && f.Has(c); });
  }
  if (!face) face = FirstFace(first, [&](const KTypeface& f) { return HasAll(f, cluster); });
  if (!face) face = FirstFace(first, [&](const KTypeface& f) { return f.Has(c); });
  return face ? face : FirstFace(first, [](const KTypeface&) { return true; });
}

// Between words, at about one of 64 places.
bool Itemizer::MayCut(std::uint32_t at) const {
  const std::u32string& text = content_.characters;
  if (at < 4 || !content_.units[at - 1].space || content_.units[at].space) return false;
  const std::uint32_t mix = text[at] + text[at - 2] * 31u + text[at - 3] * 961u;
  return mix * 2654435769u >> 26 == 0;
}

void Itemizer::Add(std::uint32_t begin, std::uint32_t end) {
  const std::u32string_view cluster =
      std::u32string_view(content_.characters).substr(begin, end - begin);
  while (style_ + 1 < content_.styles.size() &&
         content_.styles[style_ + 1].begin <= content_.offsets[begin]) {
    ++style_;
  }
  const KTextStyle& style = content_.styles[style_].style;
  Item item = {};
  item.begin = begin;
  item.end = end;
  item.style = style_;
  item.size = SizeOf(style);
  item.level = levels_[begin];
  item.tab = cluster[0] == U'\t';
  item.script = scripts_.Next(cluster[0]);
  for (const char32_t c : cluster.substr(1)) scripts_.Next(c);
  item.face = FaceFor(cluster, style.face);

  if (!content_.items.empty()) {
    Item& last = content_.items.back();
    const std::uint32_t length = begin - last.begin;
    const bool cut = !content_.units[begin].cluster ||
                     (length >= kLongItem && (length >= kLongestItem || MayCut(begin)));
    if (!cut && !item.tab && !last.tab && last.style == style_ && last.face == item.face &&
        last.script == item.script && last.level == item.level) {
      last.end = end;
      return;
    }
  }
  content_.items.push_back(item);
}

}  // namespace

void Itemize(Content& content, const std::vector<Level>& levels) {
  content.items.clear();
  Itemizer(content, levels).Run();
}

}  // namespace kalvora::typeset
