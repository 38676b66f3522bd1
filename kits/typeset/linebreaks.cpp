// The line breaking rules of Unicode Standard Annex 14, in their order; the table of properties has
// applied the first already. Numbers follow the annex's regular expression for them.
#include <cstdint>

#include "kits/typeset/boundaries.h"
#include "kits/typeset/properties.h"

namespace kalvora::typeset {

namespace {

using enum LineClass;

// A set of classes, a bit for each.
template <typename... Classes>
constexpr std::uint64_t Set(Classes... classes) {
  return ((std::uint64_t{1} << static_cast<int>(classes)) | ...);
}
constexpr bool In(LineClass c, std::uint64_t set) { return (set >> static_cast<int>(c) & 1) != 0; }

constexpr std::uint64_t kHard = Set(kBK, kCR, kLF, kNL);
constexpr std::uint64_t kMarks = Set(kCM, kZWJ);
constexpr std::uint64_t kOpen = Set(kOP, kOPwide), kClose = Set(kCL, kCP, kCPwide);
constexpr std::uint64_t kLetters = Set(kAL, kHL);
constexpr std::uint64_t kPrices = Set(kPR, kPO);
constexpr std::uint64_t kIdeographs = Set(kID, kIDpicture, kEB, kEM);
constexpr std::uint64_t kKorean = Set(kJL, kJV, kJT, kH2, kH3);

// What stands before the place that is asked about.
class LineBreaker {
 public:
  explicit LineBreaker(std::u32string_view text) : text_(text) {}
  Break Before(std::size_t i);

 private:
  Break Decide(LineClass next, std::size_t i) const;
  bool Adjacent(LineClass next, std::size_t i) const;
  bool WithinNumber(LineClass next, std::size_t i) const;
  bool NumberFollows(std::size_t i) const;
  void Take(LineClass next);

  enum class Number { kNone, kRunning, kClosed };

  std::u32string_view text_;
  LineClass last_ = kSP;        // with the marks that belong to it
  LineClass beforeLast_ = kSP;  // and the one before that
  LineClass base_ = kSP;        // before the spaces that stand last, if any
  bool joiner_ = false;         // the last character is a zero width joiner
  bool oddIndicators_ = false;  // of the regional indicators that stand last
  Number number_ = Number::kNone;
};

Break LineBreaker::Before(std::size_t i) {
  LineClass next = PropertiesOf(text_[i]).line;
  const bool joiner = next == kZWJ;
  Break result = Break::kNone;
  if (In(next, kMarks)) {
    if (i > 0 && !In(last_, kHard | Set(kSP, kZW))) {  // LB9: marks belong to what they follow
      joiner_ = joiner;
      return Break::kNone;
    }
    next = kAL;  // LB10
  }
  if (i > 0) result = Decide(next, i);
  Take(next);
  joiner_ = joiner;
  return result;
}

void LineBreaker::Take(LineClass next) {
  if (next == kNU || (number_ == Number::kRunning && In(next, Set(kSY, kIS)))) {
    number_ = Number::kRunning;
  } else {
    const bool closes = number_ == Number::kRunning && In(next, kClose);
    number_ = closes ? Number::kClosed : Number::kNone;
  }
  oddIndicators_ = next == kRI && !oddIndicators_;
  beforeLast_ = last_;
  last_ = next;
  if (next != kSP) base_ = next;
}

Break LineBreaker::Decide(LineClass next, std::size_t i) const {
  if (last_ == kCR && next == kLF) return Break::kNone;                    // LB5
  if (In(last_, kHard)) return Break::kMandatory;                          // LB4, LB5
  if (In(next, kHard | Set(kSP, kZW))) return Break::kNone;                // LB6, LB7
  if (base_ == kZW) return Break::kAllowed;                                // LB8
  if (joiner_) return Break::kNone;                                        // LB8a
  if (next == kWJ || last_ == kWJ) return Break::kNone;                    // LB11
  if (last_ == kGL) return Break::kNone;                                   // LB12
  if (next == kGL && !In(last_, Set(kSP, kBA, kHY))) return Break::kNone;  // LB12a
  if (In(next, kClose | Set(kEX, kIS, kSY))) return Break::kNone;          // LB13
  if (In(base_, kOpen)) return Break::kNone;                               // LB14
  if (base_ == kQU && In(next, kOpen)) return Break::kNone;                // LB15
  if (In(base_, kClose) && next == kNS) return Break::kNone;               // LB16
  if (base_ == kB2 && next == kB2) return Break::kNone;                    // LB17
  if (last_ == kSP) return Break::kAllowed;                                // LB18
  return Adjacent(next, i) ? Break::kNone : Break::kAllowed;
}

// Whether two that no space parts stay together.
bool LineBreaker::Adjacent(LineClass next, std::size_t i) const {
  if (last_ == kQU || next == kQU) return true;                           // LB19
  if (last_ == kCB || next == kCB) return false;                          // LB20
  if (In(next, Set(kBA, kHY, kNS)) || last_ == kBB) return true;          // LB21
  if (beforeLast_ == kHL && In(last_, Set(kHY, kBA))) return true;        // LB21a
  if (last_ == kSY && next == kHL) return true;                           // LB21b
  if (next == kIN) return true;                                           // LB22
  if (In(last_, kLetters) && next == kNU) return true;                    // LB23
  if (last_ == kNU && In(next, kLetters)) return true;                    // LB23
  if (last_ == kPR && In(next, kIdeographs)) return true;                 // LB23a
  if (In(last_, kIdeographs) && next == kPO) return true;                 // LB23a
  if (In(last_, kPrices) && In(next, kLetters)) return true;              // LB24
  if (In(last_, kLetters) && In(next, kPrices)) return true;              // LB24
  if (WithinNumber(next, i)) return true;                                 // LB25
  if (last_ == kJL && In(next, Set(kJL, kJV, kH2, kH3))) return true;     // LB26
  if (In(last_, Set(kJV, kH2)) && In(next, Set(kJV, kJT))) return true;   // LB26
  if (In(last_, Set(kJT, kH3)) && next == kJT) return true;               // LB26
  if (In(last_, kKorean) && next == kPO) return true;                     // LB27
  if (last_ == kPR && In(next, kKorean)) return true;                     // LB27
  if (In(last_, kLetters | Set(kIS)) && In(next, kLetters)) return true;  // LB28, 29
  if (In(last_, kLetters | Set(kNU)) && next == kOP) return true;         // LB30
  if (last_ == kCP && In(next, kLetters | Set(kNU))) return true;         // LB30
  if (next == kRI && oddIndicators_) return true;                         // LB30a
  return In(last_, Set(kEB, kIDpicture)) && next == kEM;                  // LB30b
}

// LB25: (PR | PO)? (OP | HY)? NU (NU | SY | IS)* (CL | CP)? (PR | PO)?
bool LineBreaker::WithinNumber(LineClass next, std::size_t i) const {
  if (next == kNU) {
    return In(last_, kPrices | kOpen | Set(kHY)) || number_ == Number::kRunning;
  }
  if (In(next, kPrices)) return number_ != Number::kNone;
  return In(last_, kPrices) && In(next, kOpen | Set(kHY)) && NumberFollows(i);
}

bool LineBreaker::NumberFollows(std::size_t i) const {
  while (++i < text_.size()) {
    const LineClass c = PropertiesOf(text_[i]).line;
    if (!In(c, kMarks)) return c == kNU;
  }
  return false;
}

}  // namespace

void FindLineBreaks(std::u32string_view text, std::vector<Break>& breaks) {
  breaks.resize(text.size());
  LineBreaker breaker(text);
  for (std::size_t i = 0; i < text.size(); ++i) breaks[i] = breaker.Before(i);
}

}  // namespace kalvora::typeset
