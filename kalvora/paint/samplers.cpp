// Nearest, bilinear and copy sampling.
#include "kalvora/paint/samplers.h"

#include <algorithm>

#include "kalvora/paint/channels.h"
#include "kalvora/raster/KStyleContext2D.h"

namespace kalvora {
namespace {

int Width(const KStyleContext2D* style) { return style->x1 - style->x0; }

/// Calls edge(to, count) or inside(to, count) for the parts of the next n pixels, and moves the run
/// along.
template <typename Edge, typename Inside>
void Split(InsideRun& run, std::uint32_t* to, int n, Edge edge, Inside inside) {
  const int before = std::clamp(run.begin, 0, n);
  const int within = std::clamp(run.end, 0, n) - before;
  if (before > 0) edge(to, before);
  if (within > 0) inside(to + before, within);
  if (before + within < n) edge(to + before + within, n - before - within);
  run.begin -= n;
  run.end -= n;
}

/// An 8-bit weight, 0..256, from the fraction of a coordinate: (f 256 + 0x7F00) >> 16.
std::uint32_t FractionWeight(std::uint32_t v) { return ((v & 0xFFFF) + 0x7F) >> 8; }

std::uint32_t Mix(std::uint32_t topLeft, std::uint32_t topRight, std::uint32_t bottomLeft,
                  std::uint32_t bottomRight, std::uint32_t fx, std::uint32_t fy) {
  return Lerp(Lerp(topLeft, topRight, fx), Lerp(bottomLeft, bottomRight, fx), fy);
}

/// Mixes the pixel at `topLeft` with those `right` and `down` bytes further on.
std::uint32_t MixAt(const std::uint8_t* topLeft, std::size_t right, std::size_t down,
                    const PatternPosition& at) {
  return Mix(PatternPixels::Load(topLeft), PatternPixels::Load(topLeft + right),
             PatternPixels::Load(topLeft + down), PatternPixels::Load(topLeft + right + down),
             FractionWeight(at.u), FractionWeight(at.v));
}

std::uint32_t BilinearClamped(const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t column = at.Column(), row = at.Row();
  // Left of the pixmap there is only column 0, above it only row 0.
  const bool right = column >= 0 && column < p.width - 1;
  const bool down = row >= 0 && row < p.height - 1;
  const std::uint8_t* pixel =
      PatternPixels::Pixel(p.Row(Clamped(row, p.height)), Clamped(column, p.width));
  return MixAt(pixel, right ? sizeof(std::uint32_t) : 0, down ? p.below : 0, at);
}

std::uint32_t BilinearWrapped(const PatternPixels& p, const PatternPosition& at) {
  const std::int32_t left = at.Column(), row = at.Row();
  const std::int32_t right = left + 1 < p.width ? left + 1 : 0;
  const std::uint8_t* top = p.Row(row);
  const std::uint8_t* bottom = row + 1 < p.height ? top + p.below : p.Row(0);
  return Mix(PatternPixels::Load(PatternPixels::Pixel(top, left)),
             PatternPixels::Load(PatternPixels::Pixel(top, right)),
             PatternPixels::Load(PatternPixels::Pixel(bottom, left)),
             PatternPixels::Load(PatternPixels::Pixel(bottom, right)), FractionWeight(at.u),
             FractionWeight(at.v));
}

}  // namespace

template <KRepeatRule R>
NearestSampler<R>::NearestSampler(const KStyleContext2D* style)
    : source_(*style->source), at_(style) {
  if constexpr (R == KRepeatTile) {
    at_.WrapInto(source_);
  } else {
    inside_ = InsideRun(at_, Width(style), std::int64_t{source_.width} << 16,
                        std::int64_t{source_.height} << 16);
  }
}

template <KRepeatRule R>
void NearestSampler<R>::Read(std::uint32_t* to, int n) {
  const PatternPixels p = source_;
  PatternPosition at = at_;
  if constexpr (R == KRepeatTile) {
    for (int i = 0; i < n; ++i, at.StepWrapped(p)) {
      to[i] = PatternPixels::Load(PatternPixels::Pixel(p.Row(at.Row()), at.Column()));
    }
  } else {
    const auto edge = [&](std::uint32_t* out, int count) {
      for (int i = 0; i < count; ++i, at.Step()) {
        const std::uint8_t* row = p.Row(Clamped(at.Row(), p.height));
        out[i] = PatternPixels::Load(PatternPixels::Pixel(row, Clamped(at.Column(), p.width)));
      }
    };
    const auto inside = [&](std::uint32_t* out, int count) {
      if (at.dv == 0) {
        const std::uint8_t* row = p.Row(at.Row());
        for (int i = 0; i < count; ++i, at.u += at.du) {
          out[i] = PatternPixels::Load(PatternPixels::Pixel(row, at.Column()));
        }
        return;
      }
      for (int i = 0; i < count; ++i, at.Step()) {
        out[i] = PatternPixels::Load(PatternPixels::Pixel(p.Row(at.Row()), at.Column()));
      }
    };
    Split(inside_, to, n, edge, inside);
  }
  at_ = at;
}

template <KRepeatRule R>
BilinearSampler<R>::BilinearSampler(const KStyleContext2D* style)
    : source_(*style->source), at_(style) {
  at_.ShiftHalf();
  if constexpr (R == KRepeatTile) {
    at_.WrapInto(source_);
  } else {
    inside_ = InsideRun(at_, Width(style), std::int64_t{source_.width - 1} << 16,
                        std::int64_t{source_.height - 1} << 16);
  }
}

template <KRepeatRule R>
void BilinearSampler<R>::Read(std::uint32_t* to, int n) {
  const PatternPixels p = source_;
  PatternPosition at = at_;
  if constexpr (R == KRepeatTile) {
    for (int i = 0; i < n; ++i, at.StepWrapped(p)) to[i] = BilinearWrapped(p, at);
  } else {
    const auto edge = [&](std::uint32_t* out, int count) {
      for (int i = 0; i < count; ++i, at.Step()) out[i] = BilinearClamped(p, at);
    };
    const auto inside = [&](std::uint32_t* out, int count) {
      for (int i = 0; i < count; ++i, at.Step()) {
        const std::uint8_t* pixel = PatternPixels::Pixel(p.Row(at.Row()), at.Column());
        out[i] = MixAt(pixel, sizeof(std::uint32_t), p.below, at);
      }
    };
    Split(inside_, to, n, edge, inside);
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
template class BilinearSampler<KRepeatClamp>;
template class BilinearSampler<KRepeatTile>;
template class CopySampler<KRepeatClamp>;
template class CopySampler<KRepeatTile>;

}  // namespace kalvora
