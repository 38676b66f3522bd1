// Affine: a point and an affine map of the plane, in doubles.
#ifndef EXAMPLES_SVG_AFFINE_H
#define EXAMPLES_SVG_AFFINE_H

#include <optional>
#include <string_view>

namespace svg {

struct Point {
  double x = 0;
  double y = 0;

  Point operator+(Point b) const { return {x + b.x, y + b.y}; }
  Point operator-(Point b) const { return {x - b.x, y - b.y}; }
  Point operator*(double s) const { return {x * s, y * s}; }
  bool operator==(const Point&) const = default;
};

/// x' = a x + c y + e, y' = b x + d y + f: SVG's matrix(a b c d e f).
struct Affine {
  double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

  static Affine Translate(double x, double y) { return {1, 0, 0, 1, x, y}; }
  static Affine Scale(double x, double y) { return {x, 0, 0, y, 0, 0}; }
  static Affine Rotate(double degrees);

  /// Maps by `inner` first, then by this.
  Affine operator*(const Affine& inner) const;
  Point operator*(Point p) const { return {a * p.x + c * p.y + e, b * p.x + d * p.y + f}; }

  double Determinant() const { return a * d - b * c; }
  bool IsFinite() const;
  /// Rotation, mirroring and one scale only: circles stay circles.
  bool IsSimilarity() const;
  /// Nothing when the map flattens the plane.
  std::optional<Affine> Inverse() const;
};

/// A list such as "translate(10 20) rotate(30)". Nothing when it is malformed, as the grammar
/// wants.
std::optional<Affine> ParseTransform(std::string_view text);

}  // namespace svg

#endif
