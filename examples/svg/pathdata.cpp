// Path data: see the header.
#include "examples/svg/pathdata.h"

#include <array>

#include "examples/svg/Scanner.h"

namespace svg {

namespace {

class PathReader {
 public:
  explicit PathReader(std::string_view text) : in_(text) {}

  Outline Read() {
    in_.SkipSpace();
    char command = 0;
    while (!in_.AtEnd()) {
      const char c = in_.Peek();
      if (Arity(c) >= 0) {
        command = in_.TakeAny();
        if (outline_.IsEmpty() && command != 'M' && command != 'm') break;
      } else if (command == 0 || Arity(command) == 0) {
        break;  // Numbers without a command, or behind a "z".
      }
      if (!Command(command)) break;
      // The pairs that follow a move's first one are lines.
      if (command == 'M') command = 'L';
      if (command == 'm') command = 'l';
      in_.SkipSpace();
    }
    return std::move(outline_);
  }

 private:
  // Numbers that one round of the command takes; -1 for what is no command.
  static int Arity(char c) {
    switch (c | 0x20) {
      case 'z':
        return 0;
      case 'h':
      case 'v':
        return 1;
      case 'm':
      case 'l':
      case 't':
        return 2;
      case 's':
      case 'q':
        return 4;
      case 'c':
        return 6;
      case 'a':
        return 7;
      default:
        return -1;
    }
  }

  bool ReadNumbers(char kind, int count) {
    for (int i = 0; i < count; ++i) {
      double& value = v_[static_cast<std::size_t>(i)];
      if (kind == 'a' && (i == 3 || i == 4)) {
        const auto flag = in_.NextFlag();
        if (!flag) return false;
        value = *flag;
      } else {
        const auto number = in_.NextNumber();
        if (!number) return false;
        value = *number;
      }
    }
    return true;
  }

  // One round of a command.
  bool Command(char command) {
    const char kind = static_cast<char>(command | 0x20);
    if (!ReadNumbers(kind, Arity(command))) return false;
    const Point here = outline_.Current();
    const Point origin = command == kind ? here : Point{};
    const auto point = [&](std::size_t i) { return origin + Point{v_[i], v_[i + 1]}; };

    // A subpath that goes on behind a "z" starts where that one started.
    if (closed_ && kind != 'm' && kind != 'z') outline_.MoveTo(here);
    closed_ = kind == 'z';
    char curve = 0;
    switch (kind) {
      case 'm':
        outline_.MoveTo(point(0));
        break;
      case 'z':
        outline_.Close();
        break;
      case 'l':
        outline_.LineTo(point(0));
        break;
      case 'h':
        outline_.LineTo({origin.x + v_[0], here.y});
        break;
      case 'v':
        outline_.LineTo({here.x, origin.y + v_[0]});
        break;
      case 'c':
        curve = Cubic(point(0), point(2), point(4));
        break;
      case 's':
        curve = Cubic(Reflected('c'), point(0), point(2));
        break;
      case 'q':
        curve = Quad(point(0), point(2));
        break;
      case 't':
        curve = Quad(Reflected('q'), point(0));
        break;
      case 'a':
        outline_.ArcTo({v_[0], v_[1]}, v_[2], v_[3] != 0, v_[4] != 0, point(5));
        break;
      default:
        return false;
    }
    lastCurve_ = curve;
    return true;
  }

  char Cubic(Point c1, Point c2, Point end) {
    outline_.CubicTo(c1, c2, end);
    lastControl_ = c2;
    return 'c';
  }

  char Quad(Point control, Point end) {
    outline_.QuadTo(control, end);
    lastControl_ = control;
    return 'q';
  }

  // The control point of the curve before, mirrored in the current point; without a curve of that
  // kind before, the current point.
  Point Reflected(char curve) const {
    const Point here = outline_.Current();
    return lastCurve_ == curve ? here * 2 - lastControl_ : here;
  }

  Scanner in_;
  Outline outline_;
  std::array<double, 7> v_{};
  Point lastControl_;
  char lastCurve_ = 0;
  bool closed_ = false;
};

}  // namespace

Outline ParsePathData(std::string_view text) { return PathReader(text).Read(); }

std::vector<Point> ParsePoints(std::string_view text) {
  std::vector<Point> points;
  Scanner in(text);
  for (;;) {
    const auto x = in.NextNumber();
    if (!x) break;
    const auto y = in.NextNumber();
    if (!y) break;
    points.push_back({*x, *y});
  }
  return points;
}

}  // namespace svg
