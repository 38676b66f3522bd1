// The parsers of the SVG example: numbers, lengths, colours, transforms, viewports, paths.
#include <cmath>
#include <cstdio>
#include <numbers>
#include <string>

#include <gtest/gtest.h>

#include "examples/svg/Color.h"
#include "examples/svg/Length.h"
#include "examples/svg/Outline.h"
#include "examples/svg/pathdata.h"
#include "examples/svg/viewbox.h"
#include "tests/common/Random.h"

namespace svg {
namespace {

std::string Text(double v) {
  char buffer[40];
  v = std::round(v * 1000) / 1000 + 0.0;  // no "-0"
  std::snprintf(buffer, sizeof buffer, "%.10g", v == 0 ? 0 : v);
  return buffer;
}
std::string Text(Point p) { return Text(p.x) + "," + Text(p.y); }

std::string Text(const Outline& outline) {
  std::string text;
  for (const Outline::Step& s : outline.Steps()) {
    if (!text.empty()) text += ' ';
    text += "MLCZ"[s.kind];
    if (s.kind == Outline::Step::Cubic) text += Text(s.c1) + " " + Text(s.c2) + " ";
    if (s.kind != Outline::Step::Close) text += Text(s.end);
  }
  return text;
}

TEST(Length, UnitsAndPercentages) {
  const struct {
    const char* text;
    double x, y, diagonal;
  } kCases[] = {
      {" 12px ", 12, 12, 12},       {"72pt", 96, 96, 96},   {"1in", 96, 96, 96},
      {"2.54cm", 96, 96, 96},       {"25.4mm", 96, 96, 96}, {"1pc", 16, 16, 16},
      {"2em", 20, 20, 20},          {"2ex", 10, 10, 10},    {"50%", 100, 50, std::sqrt(6250)},
      {"-1.5e2", -150, -150, -150}, {"1PX", 1, 1, 1},       {"1e1em", 100, 100, 100},
  };
  const LengthScale scale{200, 100, 10};
  for (const auto& c : kCases) {
    const auto length = ParseLength(c.text);
    ASSERT_TRUE(length) << c.text;
    EXPECT_NEAR(length->Resolve(scale, Axis::X), c.x, 1e-9) << c.text;
    EXPECT_NEAR(length->Resolve(scale, Axis::Y), c.y, 1e-9) << c.text;
    EXPECT_NEAR(length->Resolve(scale, Axis::Diagonal), c.diagonal, 1e-9) << c.text;
  }
  for (const char* text : {"", "px", "1 px", "1parsec", "1e-", "--1", "inf", "nan", "0x", "-."}) {
    EXPECT_FALSE(ParseLength(text)) << text;
  }
}

TEST(Color, Notations) {
  const struct {
    const char* text;
    Color color;
  } kCases[] = {
      {"#1aF", {0x11, 0xAA, 0xFF, 1}},
      {"#12345678", {0x12, 0x34, 0x56, 0x78 / 255.0}},
      {"#0008", {0, 0, 0, 0x88 / 255.0}},
      {" Red ", {255, 0, 0, 1}},
      {"aliceblue", {0xF0, 0xF8, 0xFF, 1}},
      {"yellowgreen", {0x9A, 0xCD, 0x32, 1}},
      {"transparent", {0, 0, 0, 0}},
      {"rgb( 100% , 50%, 0% )", {255, 128, 0, 1}},
      {"rgba(300,-5,12.5,.5)", {255, 0, 13, 0.5}},
      {"rgb(1 2 3 / 25%)", {1, 2, 3, 0.25}},
      {"hsl(120, 100%, 25%)", {0, 128, 0, 1}},
      {"hsl(-120deg 100% 50%)", {0, 0, 255, 1}},
      {"hsla(60,100%,50%,0.25)", {255, 255, 0, 0.25}},
  };
  for (const auto& c : kCases) {
    const auto color = ParseColor(c.text);
    ASSERT_TRUE(color) << c.text;
    EXPECT_TRUE(*color == c.color) << c.text << ": " << int{color->red} << " " << int{color->green}
                                   << " " << int{color->blue} << " " << color->alpha;
  }
  for (const char* text : {"", "#", "#12", "#12345", "#ggg", "reddish", "rgb(1,2)", "rgb(1,2,3",
                           "rgb(1,2,3,4,5)", "rgb 1 2 3", "hsl()", "rgb(1,2,3) x"}) {
    EXPECT_FALSE(ParseColor(text)) << text;
  }
}

TEST(Transform, Lists) {
  const struct {
    const char* text;
    const char* image;  // of the point (1, 2); null: malformed
  } kCases[] = {
      {"", "1,2"},
      {"translate(10)", "11,2"},
      {"translate(10-20)", "11,-18"},
      {"scale(2)", "2,4"},
      {"scale(2 3)", "2,6"},
      {"rotate(90)", "-2,1"},
      {"rotate(180 5 5)", "9,8"},
      {"skewX(45)", "3,2"},
      {"skewY(45)", "1,3"},
      {"matrix(1 2 3 4 5 6)", "12,16"},
      {" translate( 10 , 20 ) ,scale(2)\n", "12,24"},
      {"scale(2)translate(10)", "22,4"},
      {"matrix(1 2 3 4 5)", nullptr},
      {"translate", nullptr},
      {"translate(", nullptr},
      {"rotate(1 2)", nullptr},
      {"perspective(3)", nullptr},
      {"translate(1) x", nullptr},
  };
  for (const auto& c : kCases) {
    const auto m = ParseTransform(c.text);
    ASSERT_EQ(m.has_value(), c.image != nullptr) << c.text;
    if (!m) continue;
    EXPECT_EQ(Text(*m * Point{1, 2}), c.image) << c.text;
  }
  const Affine m = *ParseTransform("rotate(30) skewX(20) scale(3 -2) translate(7 9)");
  EXPECT_EQ(Text(*m.Inverse() * (m * Point{4, 5})), "4,5");
  EXPECT_FALSE(m.IsSimilarity());
  EXPECT_TRUE(ParseTransform("rotate(30) scale(3 -3)")->IsSimilarity());
  EXPECT_FALSE(ParseTransform("scale(0 1)")->Inverse());
}

TEST(ViewBox, Fits) {
  const struct {
    const char* preserve;
    const char* corners;  // images of the content's first and last in a viewport of 100 x 50
  } kCases[] = {
      {"", "25,0 75,50"},
      {"xMinYMin meet", "0,0 50,50"},
      {"xMaxYMid", "50,0 100,50"},
      {"xMidYMid slice", "0,-25 100,75"},
      {"xMidYMin slice", "0,0 100,100"},
      {"xMidYMax slice", "0,-50 100,50"},
      {"none", "0,0 100,50"},
      {"nonsense", "25,0 75,50"},
  };
  const auto content = ParseViewBox(" 10,20 40 40");
  ASSERT_TRUE(content);
  for (const auto& c : kCases) {
    const Affine m = FitViewBox(*content, {0, 0, 100, 50}, c.preserve);
    EXPECT_EQ(Text(m * Point{10, 20}) + " " + Text(m * Point{50, 60}), c.corners) << c.preserve;
  }
  for (const char* text : {"", "1 2 3", "0 0 0 5", "0 0 5 -1", "a b c d"}) {
    EXPECT_FALSE(ParseViewBox(text)) << text;
  }
}

TEST(PathData, Grammar) {
  const struct {
    const char* d;
    const char* steps;
  } kCases[] = {
      {"", ""},
      {" \n m1,2 3,4 5 6", "M1,2 L4,6 L9,12"},
      {"M1 2L3 4l1 1H10h1V20v1Z", "M1,2 L3,4 L4,5 L10,5 L11,5 L11,20 L11,21 Z"},
      {"M.5.5-.5-.5", "M0.5,0.5 L-0.5,-0.5"},
      {"M1e1 2E-1l1e0-1e+0", "M10,0.2 L11,-0.8"},
      {"M00012 1.L1..5+.5.5", "M12,1 L1,0.5 L0.5,0.5"},
      {"M3e38-1e999 1e-999,1", "M1e+30,-1e+30 L0,1"},  // beyond reach
      {"M0 0C1 2 3 4 5 6 7 8 9 10 11 12", "M0,0 C1,2 3,4 5,6 C7,8 9,10 11,12"},
      {"M1 1c1 2 3 4 5 6s1 1 2 2", "M1,1 C2,3 4,5 6,7 C8,9 7,8 8,9"},
      {"M1 1S2 2 3 3", "M1,1 C1,1 2,2 3,3"},
      {"M0 0Q3 3 6 0", "M0,0 C2,2 4,2 6,0"},
      {"M0 0q3 3 6 0t6 0", "M0,0 C2,2 4,2 6,0 C8,-2 10,-2 12,0"},
      {"M0 0T6 0", "M0,0 C0,0 2,0 6,0"},
      {"M0 0Q3 3 6 0S8 0 9 0", "M0,0 C2,2 4,2 6,0 C6,0 8,0 9,0"},
      {"M1 1H5zL2 2", "M1,1 L5,1 Z M1,1 L2,2"},
      {"M1 1h4zm1 1h1", "M1,1 L5,1 Z M2,2 L3,2"},
      {"M1 1h4z l2 2 z", "M1,1 L5,1 Z M1,1 L3,3 Z"},
      // An error drops the rest and keeps what came before.
      {"M1 2 L3 4 L5", "M1,2 L3,4"},
      {"M1 2 L3 4 x L5 6", "M1,2 L3,4"},
      {"L1 2", ""},
      {"M1 2 z 3 4", "M1,2 Z"},
      {"M1 2,,3 4", "M1,2"},
      // Arcs: no radius is a line, no distance is nothing, flags need no separators.
      {"M0 0A0 5 0 0 1 9 9", "M0,0 L9,9"},
      {"M0 0A5 5 0 0 1 0 0", "M0,0"},
      {"M0 0A5 5 0 2 1 9 9", "M0,0"},
  };
  for (const auto& c : kCases) EXPECT_EQ(Text(ParsePathData(c.d)), c.steps) << c.d;

  const char* const kSame[][2] = {
      {"M0 0a1 1 0 01.5.5z", "M0 0 a 1 1 0 0 1 0.5 0.5 z"},
      {"M0 0A5,5,0,1010,10", "M0 0 A 5 5 0 1 0 10 10"},
      {"M0 0a5 5 0 11-3-4 1 1 0 000 1", "M0 0 a 5 5 0 1 1 -3 -4 a 1 1 0 0 0 0 1"},
      {"M0 0a-5 5 0 0 1 3 4", "M0 0 a 5 5 0 0 1 3 4"},
      {"M0 0A1 2 0 0 1 10 0", "M0 0 A 5 10 0 0 1 10 0"},  // grows to a half ellipse
  };
  for (const auto& [glued, plain] : kSame) {
    EXPECT_EQ(Text(ParsePathData(glued)), Text(ParsePathData(plain))) << glued;
    EXPECT_GT(ParsePathData(glued).Steps().size(), 1u) << glued;
  }
  EXPECT_EQ(ParsePoints(" 1,2 3 4-5").size(), 2u);
  EXPECT_EQ(ParsePoints("x").size(), 0u);
}

// Every arc starts and ends where it should, stays on one ellipse of the given shape, and turns the
// way and by as much as its flags say.
TEST(PathData, ArcsLieOnTheirEllipse) {
  Random numbers(1);
  const auto random = [&](double low, double high) {
    return low + (high - low) * numbers.Next() / 0x1p32;
  };
  for (int round = 0; round < 2000; ++round) {
    // Points on a known ellipse, at angles a and a + turn.
    const double rx = random(1, 50), ry = random(1, 50), tilt = random(-180, 180);
    const double a = random(0, 6.28), turn = random(-6.2, 6.2);
    if (std::abs(std::abs(turn) - std::numbers::pi) < 0.05 || std::abs(turn) < 0.05) continue;
    const Affine place = Affine::Translate(random(-50, 50), random(-50, 50)) *
                         Affine::Rotate(tilt) * Affine::Scale(rx, ry);
    const auto at = [&](double angle) { return place * Point{std::cos(angle), std::sin(angle)}; };
    Outline outline;
    outline.MoveTo(at(a));
    outline.ArcTo({rx, ry}, tilt, std::abs(turn) > std::numbers::pi, turn > 0, at(a + turn));

    const auto& steps = outline.Steps();
    const std::size_t pieces = steps.size() - 1;
    ASSERT_EQ(pieces, std::ceil(std::abs(turn) / (std::numbers::pi / 2) - 1e-9));
    for (std::size_t i = 0; i < pieces; ++i) {
      const double done = turn * static_cast<double>(i + 1) / static_cast<double>(pieces);
      const Point expected = at(a + done), got = steps[i + 1].end;
      ASSERT_NEAR(got.x, expected.x, 1e-6);
      ASSERT_NEAR(got.y, expected.y, 1e-6);
      const Point p = steps[i].end, c1 = steps[i + 1].c1, c2 = steps[i + 1].c2;
      const Point middle = (p + c1 * 3 + c2 * 3 + got) * 0.125;
      const Point unit = *place.Inverse() * middle;
      ASSERT_NEAR(std::hypot(unit.x, unit.y), 1, 3e-4);
    }
  }
}

}  // namespace
}  // namespace svg
