// The rules of Unicode Standard Annex 29 for extended grapheme clusters.
#include "kits/typeset/boundaries.h"
#include "kits/typeset/properties.h"

namespace kalvora::typeset {

namespace {

using enum ClusterClass;

constexpr bool IsControl(ClusterClass c) { return c == kControl || c == kCR || c == kLF; }

// Whether two neighbours are of one Korean syllable.
bool SameSyllable(ClusterClass a, ClusterClass b) {
  switch (a) {
    case kL:
      return b == kL || b == kV || b == kLV || b == kLVT;  // GB6
    case kLV:
    case kV:
      return b == kV || b == kT;  // GB7
    case kLVT:
    case kT:
      return b == kT;  // GB8
    default:
      return false;
  }
}

class ClusterFinder {
 public:
  bool BeginsWith(ClusterClass next) {
    const bool begins = first_ || !Continues(next);
    first_ = false;
    oddIndicators_ = next == kRegionalIndicator && !oddIndicators_;
    joinsPicture_ = picture_ && next == kZWJ;
    picture_ = next == kPicture || (picture_ && next == kExtend);
    last_ = next;
    return begins;
  }

 private:
  bool Continues(ClusterClass next) const {
    if (last_ == kCR && next == kLF) return true;                              // GB3
    if (IsControl(last_) || IsControl(next)) return false;                     // GB4, GB5
    if (next == kExtend || next == kZWJ || next == kSpacingMark) return true;  // GB9, GB9a
    if (last_ == kPrepend) return true;                                        // GB9b
    if (joinsPicture_ && next == kPicture) return true;                        // GB11
    if (next == kRegionalIndicator && oddIndicators_) return true;             // GB12, GB13
    return SameSyllable(last_, next);
  }

  ClusterClass last_ = kOther;
  bool first_ = true;
  bool oddIndicators_ = false;  // of the regional indicators that stand last
  bool picture_ = false;        // a picture and extending characters stand last
  bool joinsPicture_ = false;   // and a joiner after them
};

}  // namespace

void FindClusters(std::u32string_view text, std::vector<bool>& begins) {
  begins.resize(text.size());
  ClusterFinder finder;
  for (std::size_t i = 0; i < text.size(); ++i) {
    begins[i] = finder.BeginsWith(PropertiesOf(text[i]).cluster);
  }
}

}  // namespace kalvora::typeset
