// Nearest and copy sampling.
#include "kalvora/paint/patterns/samplers.h"

#include <algorithm>

#include "kalvora/paint/KStyleContext2D.h"

namespace kalvora {
namespace {

/// n pixels of one row.
void ReadRow(const std::uint8_t* row, PatternPosition& at, std::uint32_t* to, int n) {
  const std::uint32_t du = at.du;
  std::uint32_t u = at.u;
  const auto next = [&] {
    const auto column = static_cast<std::int32_t>(u >> 16);
    u += du;
    return PatternPixels::Load(PatternPixels::Pixel(row, column));
  };
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    to[i] = next();
    to[i + 1] = next();
    to[i + 2] = next();
    to[i + 3] = next();
  }
  for (; i < n; ++i) to[i] = next();
  at.u = u;
}

void ReadTiledRow(const PatternPixels& p, PatternPosition& at, std::uint32_t* to, int n) {
  const std::uint8_t* row = p.Row(at.Row());
  const std::uint32_t period = static_cast<std::uint32_t>(p.width) << 16;
  while (n > 0) {
    const int run = at.CountBelow(period, n);
    ReadRow(row, at, to, run);
    if (at.u >= period) at.u -= period;
    to += run;
    n -= run;
  }
}

}  // namespace

template <KRepeatRule R>
NearestSampler<R>::NearestSampler(const KStyleContext2D* style)
    : source_(*style->source), at_(style) {
  if constexpr (R == KRepeatTile) {
    at_.WrapInto(source_);
  } else {
    inside_ = InsideRun(at_, style->x1 - style->x0, std::int64_t{source_.width} << 16,
                        std::int64_t{source_.height} << 16);
  }
}

template <KRepeatRule R>
void NearestSampler<R>::Read(std::uint32_t* to, int n) {
  const PatternPixels p = source_;
  PatternPosition at = at_;
  const auto load = [&p](std::int32_t column, std::int32_t row) {
    return PatternPixels::Load(PatternPixels::Pixel(p.Row(row), column));
  };
  if constexpr (R == KRepeatTile) {
    if (at.IsAlongRow(p)) {
      ReadTiledRow(p, at, to, n);
    } else {
      for (int i = 0; i < n; ++i, at.StepWrapped(p)) to[i] = load(at.Column(), at.Row());
    }
  } else {
    const auto edge = [&](std::uint32_t* out, int count) {
      for (int i = 0; i < count; ++i, at.Step()) {
        out[i] = load(Clamped(at.Column(), p.width), Clamped(at.Row(), p.height));
      }
    };
    const auto inside = [&](std::uint32_t* out, int count) {
      if (at.dv == 0) return ReadRow(p.Row(at.Row()), at, out, count);
      for (int i = 0; i < count; ++i, at.Step()) out[i] = load(at.Column(), at.Row());
    };
    inside_.Split(to, n, edge, inside);
  }
  at_ = at;
}

template <KRepeatRule R>
CopySampler<R>::CopySampler(const KStyleContext2D* style) : source_(*style->source) {
  const PatternPosition at(style);
  if constexpr (R == KRepeatTile) {
    row_ = source_.Row(Wrapped(at.Row(), source_.height));
    column_ = Wrapped(at.Column(), source_.width);
  } else {
    row_ = source_.Row(Clamped(at.Row(), source_.height));
    column_ = at.Column();
  }
}

template <KRepeatRule R>
void CopySampler<R>::Read(std::uint32_t* to, int n) {
  while (n > 0) {
    if constexpr (R == KRepeatTile) {
      if (column_ >= source_.width) column_ = 0;
    }
    int run = n;
    if (column_ < 0 || column_ >= source_.width) {
      if (column_ < 0) run = std::min(n, -column_);
      std::fill_n(to, run,
                  PatternPixels::Load(PatternPixels::Pixel(row_, Clamped(column_, source_.width))));
    } else {
      run = std::min(n, source_.width - column_);
      std::memcpy(to, PatternPixels::Pixel(row_, column_),
                  static_cast<std::size_t>(run) * sizeof *to);
    }
    to += run;
    n -= run;
    column_ += run;
  }
}

template class NearestSampler<KRepeatClamp>;
template class NearestSampler<KRepeatTile>;
template class CopySampler<KRepeatClamp>;
template class CopySampler<KRepeatTile>;

}  // namespace kalvora
