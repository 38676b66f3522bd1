// Affine: see the header.
#include "examples/svg/Affine.h"

#include <array>
#include <cmath>
#include <numbers>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

double Radians(double degrees) { return degrees * std::numbers::pi / 180; }

// One transform function; `v` holds `n` arguments, the rest of it zeros.
std::optional<Affine> Function(std::string_view name, const std::array<double, 6>& v, int n) {
  if (name == "matrix" && n == 6) return Affine{v[0], v[1], v[2], v[3], v[4], v[5]};
  if (name == "translate" && (n == 1 || n == 2)) return Affine::Translate(v[0], v[1]);
  if (name == "scale" && n == 1) return Affine::Scale(v[0], v[0]);
  if (name == "scale" && n == 2) return Affine::Scale(v[0], v[1]);
  if (name == "rotate" && n == 1) return Affine::Rotate(v[0]);
  if (name == "rotate" && n == 3) {
    return Affine::Translate(v[1], v[2]) * Affine::Rotate(v[0]) * Affine::Translate(-v[1], -v[2]);
  }
  if (name == "skewX" && n == 1) return Affine{1, 0, std::tan(Radians(v[0])), 1, 0, 0};
  if (name == "skewY" && n == 1) return Affine{1, std::tan(Radians(v[0])), 0, 1, 0, 0};
  return std::nullopt;
}

}  // namespace

Affine Affine::Rotate(double degrees) {
  const double s = std::sin(Radians(degrees)), c = std::cos(Radians(degrees));
  return {c, s, -s, c, 0, 0};
}

Affine Affine::operator*(const Affine& m) const {
  return {a * m.a + c * m.b, b * m.a + d * m.b,     a * m.c + c * m.d,
          b * m.c + d * m.d, a * m.e + c * m.f + e, b * m.e + d * m.f + f};
}

bool Affine::IsFinite() const {
  return std::isfinite(a) && std::isfinite(b) && std::isfinite(c) && std::isfinite(d) &&
         std::isfinite(e) && std::isfinite(f);
}

bool Affine::IsSimilarity() const {
  const double size = a * a + b * b + c * c + d * d;
  const double uneven = std::abs(a * a + b * b - c * c - d * d);
  return uneven <= 1e-6 * size && std::abs(a * c + b * d) <= 1e-6 * size;
}

std::optional<Affine> Affine::Inverse() const {
  const double det = Determinant();
  if (!IsFinite() || det == 0 || !std::isfinite(1 / det)) return std::nullopt;
  const double s = 1 / det;
  return Affine{d * s, -b * s, -c * s, a * s, (c * f - d * e) * s, (b * e - a * f) * s};
}

std::optional<Affine> ParseTransform(std::string_view text) {
  Affine result;
  Scanner in(Trim(text));
  while (!in.AtEnd()) {
    const std::string_view name = in.TakeName();
    in.SkipSpace();
    if (!in.Take('(')) return std::nullopt;
    std::array<double, 6> values{};
    int count = 0;
    in.SkipSpace();
    while (!in.Take(')')) {
      if (count == 6) return std::nullopt;
      const auto value = in.NextNumber();
      if (!value) return std::nullopt;
      values[static_cast<std::size_t>(count++)] = *value;
      in.SkipSpace();
    }
    const auto function = Function(name, values, count);
    if (!function) return std::nullopt;
    result = result * *function;
    in.SkipSeparator();
  }
  return result;
}

}  // namespace svg
