// kalvora-svg from end to end: files in, pictures, messages and exit statuses out.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

using Rgba = std::array<int, 4>;

bool Near(const Rgba& a, const Rgba& b, int tolerance) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [&](int x, int y) { return std::abs(x - y) <= tolerance; });
}

// A picture's pixels with straight alpha.
struct Picture {
  unsigned width = 0, height = 0;
  bool alpha = false;
  std::vector<std::uint8_t> rgba;

  Rgba At(unsigned x, unsigned y) const {
    const std::uint8_t* p = &rgba[4 * (std::size_t{y} * width + x)];
    return {p[0], p[1], p[2], p[3]};
  }

  // A letter for a pixel: R red, r half, q a quarter of it, b half blue, p half red on white, a dot
  // for nothing, else a question mark. The library truncates, so that translucent colours may lose
  // a level or two.
  char Letter(unsigned x, unsigned y) const {
    const struct {
      char letter;
      Rgba color;
      int tolerance;
    } kInks[] = {{'.', {0, 0, 0, 0}, 0},        {'R', {255, 0, 0, 255}, 0},
                 {'r', {255, 0, 0, 128}, 2},    {'q', {255, 0, 0, 64}, 2},
                 {'b', {0, 0, 255, 128}, 2},    {'c', {0, 0, 255, 64}, 2},
                 {'p', {255, 127, 127, 255}, 2}};
    for (const auto& ink : kInks) {
      if (Near(At(x, y), ink.color, ink.tolerance)) return ink.letter;
    }
    return '?';
  }
};

using Places = std::initializer_list<std::pair<unsigned, unsigned>>;

// Runs the program in a folder of its own.
class Program : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = testing::TempDir() + "kalvora-svg-XXXXXX";
    ASSERT_TRUE(mkdtemp(pattern.data()));
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  fs::path Write(const std::string& text, const char* name = "in.svg") {
    std::ofstream(folder_ / name, std::ios::binary) << text;
    return folder_ / name;
  }
  std::string ReadText(const char* name) const {
    std::ifstream file(folder_ / name);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  static std::string Svg(const std::string& body,
                         const std::string& attributes = "width='8' height='4'") {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " +
           attributes + ">" + body + "</svg>";
  }

  // Returns the exit status; what was said on standard error is in `said_`.
  int Run(const std::string& arguments) {
    const std::string command = "cd '" + folder_.string() + "' && " KALVORA_SVG " " + arguments +
                                " >stdout.txt 2>stderr.txt";
    const int status = std::system(command.c_str());
    said_ = ReadText("stderr.txt");
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  Picture Read(const char* name = "out.png") {
    Picture picture;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    EXPECT_TRUE(png_image_begin_read_from_file(&image, (folder_ / name).c_str())) << image.message;
    picture.width = image.width;
    picture.height = image.height;
    picture.alpha = image.format & PNG_FORMAT_FLAG_ALPHA;
    image.format = PNG_FORMAT_RGBA;
    picture.rgba.resize(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, picture.rgba.data(), 0, nullptr);
    return picture;
  }

  // Draws the body of a document and returns the picture.
  Picture Draw(const std::string& body, const std::string& arguments = "",
               const std::string& attributes = "width='8' height='4'") {
    Write(Svg(body, attributes));
    EXPECT_EQ(Run("in.svg out.png " + arguments), 0) << said_;
    return Read();
  }

  // The letters of some pixels of a document.
  std::string Show(const std::string& body, Places places, const std::string& arguments = "") {
    const Picture picture = Draw(body, arguments);
    std::string letters;
    for (const auto& [x, y] : places) letters += picture.Letter(x, y);
    return letters;
  }

  std::vector<std::string> Files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename();
      if (name != "stdout.txt" && name != "stderr.txt") names.push_back(name);
    }
    return names;
  }

  fs::path folder_;
  std::string said_;
};

TEST_F(Program, DrawsEachElement) {
  // Each draws a shape that covers pixel (2, 1) of 8 x 4 in pure red and leaves (7, 3) alone.
  const char* const kBodies[] = {
      "<rect width='4' height='4' fill='red'/>",
      "<rect x='1' width='50%' height='75%' rx='.2' style='fill:#f00'/>",
      "<circle cx='2.5' cy='1.5' r='1.5' fill='rgb(255,0,0)'/>",
      "<ellipse cx='2.5' cy='1.5' rx='3' ry='2' fill='red'/>",
      "<polygon points='0,0 6,0 2,4' fill='red'/>",
      "<polyline points='1,0 5,0 5,3 1,3' fill='red'/>",
      "<path d='M1 0h3v3h-3z' fill='red'/>",
      "<path d='M0 0h6v4h-6z M0 0h6v4h-6z' fill='red'/>",
      "<g fill='red' transform='translate(1)'><rect width='4' height='4'/></g>",
      "<g color='red'><rect width='4' height='4' fill='currentColor'/></g>",
      "<defs><rect id='r' width='2' height='2'/></defs><use href='#r' x='2' y='1' fill='red'/>",
      "<defs><rect id='r' width='2' height='2'/></defs><use xlink:href='#r' x='2' fill='red'/>",
      "<symbol id='s' viewBox='0 0 1 1'><rect width='1' height='1'/></symbol>"
      "<use href='#s' width='4' height='4' fill='red'/>",
      "<svg x='1' width='3' height='4' viewBox='0 0 10 10' preserveAspectRatio='none' fill='red'>"
      "<rect width='10' height='10'/></svg>",
      "<switch><g requiredExtensions='x'/><rect systemLanguage='xx' width='8' height='4'/>"
      "<rect width='4' height='4' fill='red'/><rect width='8' height='4'/></switch>",
      "<style>.r{fill:red}</style><rect class='r' width='4' height='4'/>",
      "<rect width='4' height='4' fill='url(#none) red'/>",
      "<rect width='8' height='4' display='none'/><rect width='4' height='4' fill='red'/>",
      "<rect width='8' height='4' visibility='hidden'/><rect width='4' height='4' fill='red'/>",
      "<rect width='8' height='4' fill='none'/><rect width='4' height='4' fill='red'/>",
      "<rect x='-1e7' y='-1e8' width='10000006' height='1e9' fill='red'/>",
      "<circle cx='-99995' cy='2' r='1e5' fill='red'/>",
      "<svg:rect xmlns:svg='http://www.w3.org/2000/svg' width='4' height='4' fill='red'/>",
      "<path d='M1 0h3v3h-3z M5 5 z' fill='red'/>",
  };
  for (const char* body : kBodies) {
    EXPECT_EQ(Show(body, {{2, 1}, {7, 3}}), "R.") << body;
    EXPECT_EQ(said_, "") << body;
  }
}

TEST_F(Program, StyleSheets) {
  const struct {
    const char* element;
    int grey;
  } kCases[] = {
      {"<rect", 0x11},
      {"<rect class='a' fill='red'", 0x22},
      {"<rect class='a' id='byId'", 0x33},
      {"<rect class='b a'", 0x44},
      {"<rect class='late'", 0x66},
      {"<rect class='a' style='fill:#ababab'", 0xAB},
      {"<rect class='loud' style='fill:#ababab'", 0x77},
      {"<rect class='child'", 0x88},
      {"<a><rect class='child'", 0x11},
      {"</a><rect class='other'", 0xBB},
      {"<rect class='deep'", 0xCC},
      {"<rect fill='#ddd' style='fill:nonsense;;:;x'", 0xDD},
      {"<rect fill='red' style='fill:inherit'", 0x11},
      {"</g><rect", 0},
      {"<rect class='child'", 0},
  };
  std::string body = R"svg(<style><![CDATA[
      /* <g> */ g { fill: #111111 } .a { fill: #222222 } #byId { fill: #333333 }
      rect.a.b { fill: #444444 } .late { fill: #555555; } .late { fill: #666666 }
      .loud { fill: #777777 !important } g > .child { fill: #888888 }
      @media print { rect { fill: #999999 } } rect:first-child, [x] { fill: #aaaaaa }
      .list, .other { fill: #bbbbbb } svg g .deep { fill: #cccccc } text .deep { fill: red }
      .broken { fill } ]]></style><g>)svg";
  for (const auto& c : kCases) {
    body += c.element;
    body += " width='1' height='1' x='" + std::to_string(&c - kCases) + "'/>";
  }
  const Picture picture = Draw(body, "", "width='20' height='1'");
  for (const auto& c : kCases) {
    EXPECT_EQ(picture.At(static_cast<unsigned>(&c - kCases), 0),
              (Rgba{c.grey, c.grey, c.grey, 255}))
        << c.element;
  }
}

// Strokes whose edges lie between pixels: what shows at (1, 1), (4, 1), (7, 3).
TEST_F(Program, Strokes) {
  const struct {
    const char* body;
    const char* letters;
  } kCases[] = {
      {"<path d='M2 1.5H6' stroke-width='1'/>", ".R."},
      {"<path d='M2 1.5H6' stroke-width='1' stroke-linecap='square'/>", "rR."},
      {"<path d='M2 1.5H7' stroke-width='3' stroke-linecap='square'/>", "RR."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3 3'/>", "R.."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3'/>", "R.."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3' stroke-dashoffset='-3'/>",
       ".R."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='0 0'/>", "RR."},
      {"<rect x='.5' y='.5' width='7' height='3' stroke-width='1'/>", "..R"},
      {"<rect x='1.5' y='1.5' width='6' height='2' stroke-width='1'/>", "RRR"},
      {"<path d='M4.5 1.5z' stroke-width='2' stroke-linecap='round'/>", ".R."},
      {"<path d='M4.5 1.5h0' stroke-width='2' stroke-linecap='butt'/>", "..."},
      // The pen follows the transform, however uneven it is.
      {"<path d='M20 1.5H60' stroke-width='1' transform='scale(.1 1)'/>", ".R."},
      {"<path d='M256 .01171875H768' stroke-width='.0078125' transform='scale(.0078125 128)'/>",
       ".R."},
      {"<path d='M1.5 0V4' stroke-width='1e-3' transform='scale(1 1e3)'/>", "..."},
      {"<path d='M1.5e-3 0V4e-3' stroke-width='1e-3' transform='scale(1e3)'/>", "R.."},
      // Beyond the reach of 16.16, only the part that shows is stroked.
      {"<path d='M-1e6 1.5H1e6'/>", "RR."},
      {"<path d='M-1e6 -1e6L-1e6 1.5H1e6V-1e6z'/>", "RR."},
      {"<circle cx='4.5' cy='1e6' r='999998.5'/>", "RR."},
      {"<path d='M1 1H8' transform='scale(0)'/>", "..."},
      // Joins, of which one fills the corner (7, 3).
      {"<path d='M0 3H7V0' stroke-width='2'/>", "..R"},
      {"<path d='M0 3H7V0' stroke-width='2' stroke-linejoin='bevel'/>", "..r"},
      {"<g stroke-miterlimit='1'><path d='M0 3H7V0' stroke-width='2'/></g>", "..r"},
      // Inherited values stay where there is none, or a wrong one.
      {"<path d='M0 3H7V0' stroke-width='2' stroke-miterlimit='0'/>", "..R"},
      {"<g font-size='4'><path d='M2 1.5H6' font-size='50%' stroke-width='.5em'/></g>", ".R."},
      {"<g stroke-width='3'><path d='M2 2H6' stroke-width='-1'/></g>", ".R."},
      {"<g stroke-linecap='square'><path d='M2 1.5H7' stroke-linecap='bent'/></g>", "rR."},
      {"<g stroke-dasharray='3'><path d='M0 1.5H8' stroke-dasharray='1 -2'/></g>", "R.."},
      {"<g stroke-dasharray='3'><path d='M0 1.5H8' stroke-dasharray='none'/></g>", "RR."},
      {"<path d='M0 1.5H8' stroke-width='0'/>", "..."},
  };
  for (const auto& c : kCases) {
    const std::string body = std::string("<g fill='none' stroke='red'>") + c.body + "</g>";
    EXPECT_EQ(Show(body, {{1, 1}, {4, 1}, {7, 3}}), c.letters) << body;
  }
}

// A group is drawn whole and then made translucent: its parts do not show through one another.
TEST_F(Program, FillsGroupsClipsAndImages) {
  const std::string two =
      "<rect width='8' height='4' fill='blue'/><rect width='8' height='4' fill='red'/>";
  const std::string defs =
      "<clipPath id='left'><rect width='4' height='4'/></clipPath>"
      "<clipPath id='top'><rect width='8' height='2'/></clipPath>"
      "<clipPath id='both' clip-path='url(#top)'><rect width='4' height='4'/></clipPath>"
      "<clipPath id='apart'><rect width='2' height='4'/><path d='M8 0H6V4H8z'/></clipPath>"
      "<clipPath id='cross'><path d='M0 0H4V4H0z'/><path d='M4 0H0V4H4z'/></clipPath>"
      "<clipPath id='half' clipPathUnits='objectBoundingBox'><rect width='.5' height='1'/>"
      "</clipPath><clipPath id='none'/>"
      "<clipPath id='odd'><path clip-rule='evenodd' d='M0 0H8V4H0zM4 0H8V4H4z'/></clipPath>"
      "<mask id='bright'><rect width='4' height='4' fill='white'/></mask>"
      "<mask id='dim'><rect width='8' height='4' fill='white' opacity='.5'/></mask>";
  const std::string png =
      "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAYAAAD0In+KAAAADklEQVR42mP4z8AAQg0AD3"
      "oDfmqBMeEAAAAASUVORK5CYII='/>";
  const std::string inside = two + "</g>";
  const struct {
    std::string body;
    const char* letters;  // of (1, 0), (1, 3), (7, 0)
  } kCases[] = {
      {"<path d='M0 0h4v4h-4z M0 0h4v2h-4z' fill='red'/>", "RR."},
      {"<path d='M0 0h4v4h-4z M0 0h4v2h-4z' fill='red' fill-rule='evenodd'/>", ".R."},
      {"<rect width='8' height='4' fill='red' opacity='.5'/>", "rrr"},
      {"<rect width='8' height='4' fill='red' opacity='7'/>", "RRR"},
      {"<g fill-opacity='50%'><rect width='8' height='4' fill='red'/></g>", "rrr"},
      {"<rect width='8' height='4' fill='rgba(255,0,0,50%)'/>", "rrr"},
      // Fill and stroke of one translucent shape do not show through one another.
      {"<rect x='1' y='1' width='6' height='2' fill='blue' stroke='red' stroke-width='2' "
       "opacity='.5'/>",
       "rrr"},
      {"<g opacity='.5'>" + inside, "rrr"},
      {"<g opacity='.5'><g opacity='.5'>" + inside + "</g>", "qqq"},
      {"<g clip-path='url(#left)'>" + inside, "RR."},
      {"<g clip-path='url(#left)' opacity='.5'>" + inside, "rr."},
      {"<g clip-path='url(#left)'><g clip-path='url(#top)'>" + inside + "</g>", "R.."},
      {"<g clip-path='url(#both)'>" + inside, "R.."},
      {"<g clip-path='url(#apart)'>" + inside, "RRR"},
      {"<g clip-path='url(#cross)'>" + inside, "RR."},
      {"<g clip-path='url(#half)'>" + inside, "RR."},
      {"<g clip-path='url(#odd)'>" + inside, "RR."},
      {"<g clip-path='url(#none)'>" + inside, "..."},
      {"<g clip-path='url(#missing)'>" + inside, "RRR"},
      {"<g mask='url(#bright)'>" + inside, "RR."},
      {"<g mask='url(#dim)' clip-path='url(#top)'>" + inside, "r.r"},
      {"<svg width='4' height='2'>" + two + "</svg>", "R.."},
      {"<svg width='4' height='2' overflow='visible'>" + two + "</svg>", "RRR"},
      {"<g opacity='0'>" + inside, "..."},
      // A picture of two pixels, opaque red and half transparent blue.
      {"<image width='8' height='4' href='" + png, "RRb"},
      {"<image width='8' height='2' preserveAspectRatio='none' href='" + png, "R.b"},
      {"<image width='8' height='2' preserveAspectRatio='xMinYMin slice' href='" + png, "R.b"},
      {"<image width='8' height='4' opacity='.5' href='" + png, "rrc"},
      {"<image transform='scale(4)' href='" + png, "RRb"},
      {"<image width='8' height='4' href='data:;base64,@@@@'/>", "..."},
      {"<image width='8' height='4' href='data:;base64,iVBORw0KGgo='/>", "..."},
      {"<image width='8' height='4' href='/etc/passwd'/>", "..."},
      {"<image width='0' height='4' href='" + png, "..."},
      {"<image width='8' height='4'/>", "..."},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Show("<defs>" + defs + "</defs>" + c.body, {{1, 0}, {1, 3}, {7, 0}}), c.letters)
        << c.body;
  }
  EXPECT_EQ(Show("<g opacity='.5'>" + inside, {{4, 2}}, "--background white"), "p");
}

TEST_F(Program, Gradients) {
  const std::string stops = "<stop stop-color='red'/><stop offset='1' stop-color='blue'/>";
  const std::string base =
      "<linearGradient id='base' x1='2' x2='6' gradientUnits='userSpaceOnUse' "
      "spreadMethod='reflect'>" +
      stops + "</linearGradient>";
  const auto draw = [&](const std::string& name, const std::string& attributes,
                        const std::string& inside) {
    return Draw(base + "<" + name + "Gradient id='g' " + attributes + ">" + inside + "</" + name +
                "Gradient><rect width='8' height='4' fill='url( \"#g\" ) lime'/>");
  };
  const struct {
    const char *name, *attributes;
    int left, right;  // how red it is at (0, 2) and (7, 2); the rest is blue
  } kCases[] = {
      {"linear", "", 240, 16},
      {"linear", "x1='8' x2='0' gradientUnits='userSpaceOnUse'", 16, 240},
      {"linear", "x1='.5'", 255, 32},
      {"linear", "x2='.5' spreadMethod='reflect'", 223, 223},
      {"linear", "x2='.5' spreadMethod='repeat'", 223, 32},
      {"linear", "x2='0' y2='1' gradientTransform='rotate(-90)'", 240, 16},
      {"linear", "x2='0'", 0, 0},
      {"radial", "cx='0' r='2' gradientUnits='userSpaceOnUse' cy='2.5'", 191, 0},
      {"radial", "r='20000' gradientUnits='userSpaceOnUse'", 128, 128},  // beyond reach
      {"linear", "href='#base'", 159, 96},
      {"linear", "href='#base' x2='4' spreadMethod='pad'", 255, 0},
      {"linear", "href='#base' x1='0' x2='1' gradientUnits='objectBoundingBox'", 240, 16},
      {"radial", "href='#base' cx='0' cy='2.5' r='2'", 191, 191},
  };
  for (const auto& c : kCases) {
    const bool inherits = std::string_view(c.attributes).starts_with("href");
    const Picture picture = draw(c.name, c.attributes, inherits ? "" : stops);
    EXPECT_TRUE(Near(picture.At(0, 2), {c.left, 0, 255 - c.left, 255}, 2)) << c.attributes;
    EXPECT_TRUE(Near(picture.At(7, 2), {c.right, 0, 255 - c.right, 255}, 2)) << c.attributes;
  }
  const struct {
    const char *attributes, *stops;
    Rgba left, right;  // pixels (3, 2) and (4, 2)
  } kStops[] = {
      {"", "<stop stop-color='red'/>", {255, 0, 0, 255}, {255, 0, 0, 255}},
      {"", "<stop stop-opacity='0'/><stop offset='1'/>", {0, 0, 0, 112}, {0, 0, 0, 143}},
      // Offsets never fall, and end at 1. What is beyond reach shows the average.
      {"r='20000' gradientUnits='userSpaceOnUse'",
       "<stop offset='.5' stop-color='blue'/><stop offset='20%' style='stop-color:blue'/>"
       "<stop offset='3' stop-color='red'/>",
       {64, 0, 191, 255},
       {64, 0, 191, 255}},
      {"href='#g'", "", {0, 255, 0, 255}, {0, 255, 0, 255}},  // nothing but the fallback
      {"r='20000' gradientUnits='userSpaceOnUse'", "<stop stop-opacity='0'/>", {}, {}},
  };
  for (const auto& c : kStops) {
    const Picture picture = draw(*c.attributes == 'r' ? "radial" : "linear", c.attributes, c.stops);
    EXPECT_TRUE(Near(picture.At(3, 2), c.left, 2)) << c.attributes << c.stops;
    EXPECT_TRUE(Near(picture.At(4, 2), c.right, 2)) << c.attributes << c.stops;
  }
}

TEST_F(Program, SizesAndFormats) {
  const std::string square = "<rect width='10' height='10' fill='red'/>";
  const std::string box = "viewBox='0 0 10 10'";
  const struct {
    std::string attributes, arguments;
    unsigned width, height;
    char corner;  // pixel (0, 0)
  } kCases[] = {
      {box, "", 10, 10, 'R'},
      {box + " width='20'", "", 20, 20, 'R'},
      {box + " height='5mm'", "", 19, 19, 'R'},
      {box, "--size 40x20", 40, 20, '.'},
      {box + " preserveAspectRatio='none'", "--size=40x20", 40, 20, 'R'},
      {"width='20' height='10'", "--size=40x", 40, 20, 'R'},
      {box + " width='20'", "--size x30", 30, 30, 'R'},
      {box, "--zoom 2.5", 25, 25, 'R'},
      {box, "--zoom 2 --size 4x2", 8, 4, '.'},
      {"width='10' height='10'", "--size 40x20", 40, 20, '.'},
      {"width='10.2' height='9.8'", "", 11, 10, 'R'},
      {"", "", 300, 150, 'R'},
      {box + " width='20000' height='10000'", "", 8192, 4096, '.'},
  };
  for (const auto& c : kCases) {
    const Picture picture = Draw(square, c.arguments, c.attributes);
    EXPECT_EQ(picture.width, c.width) << c.attributes << c.arguments;
    EXPECT_EQ(picture.height, c.height) << c.attributes << c.arguments;
    EXPECT_EQ(picture.Letter(0, 0), c.corner) << c.attributes << c.arguments;
  }
  EXPECT_TRUE(Draw(square).alpha);
  const Picture opaque = Draw("", "--format 4");
  EXPECT_FALSE(opaque.alpha);
  EXPECT_EQ(opaque.At(0, 0), (Rgba{255, 255, 255, 255}));
  EXPECT_EQ(Draw("", "--background '#12345680'").At(0, 0)[3], 128);
}

TEST_F(Program, NamesWhatItSkipsOnce) {
  Draw(
      "<blink/><blink/><marquee/><inkscape:grid/><metadata><x/></metadata><title>t</title>"
      "<pattern id='p'/><rect width='1' height='1' fill='url(#p) red' filter='none'/>"
      "<path d='M0 0H1' marker-end='url(#m)' style='filter: blur(1px)'/>");
  EXPECT_EQ(said_,
            "kalvora-svg: in.svg: skipping <blink>\n"
            "kalvora-svg: in.svg: skipping <marquee>\n"
            "kalvora-svg: in.svg: skipping patterns\n"
            "kalvora-svg: in.svg: skipping filters\n"
            "kalvora-svg: in.svg: skipping markers\n");
}

TEST_F(Program, FailuresLeaveTheFilesAsTheyAre) {
  Write("<svg><rect</svg>", "broken.svg");
  Write("<html/>", "html.svg");
  Write("", "empty.svg");
  Write("\x1f\x8b\x08 zipped", "zipped.svg");
  Write(Svg("", "width='0' height='4'"), "nosize.svg");
  Write(Svg("", "width='4' height='4'"), "good.svg");
  Write("precious", "out.png");
  fs::create_directory(folder_ / "folder");
  const std::size_t files = Files().size();
  const struct {
    const char* arguments;
    const char* message;  // what standard error must speak of
  } kCases[] = {
      {"broken.svg out.png", "broken.svg: "},
      {"html.svg out.png", "not an SVG"},
      {"empty.svg out.png", "empty.svg: "},
      {"zipped.svg out.png", "zipped.svg: "},
      {"nosize.svg out.png", "no size"},
      {"missing.svg out.png", "missing.svg: "},
      {"folder out.png", "folder: "},
      {"good.svg nowhere/out.png", "nowhere/out.png: "},
      {"good.svg folder", "folder: "},
      {"good.svg /dev/full", "/dev/full: "},
      {"good.svg out.png --zoom=100 --size=400x", "larger than"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Run(c.arguments), 1) << c.arguments;
    EXPECT_NE(said_.find(c.message), std::string::npos) << c.arguments << ": " << said_;
    EXPECT_EQ(Files().size(), files) << c.arguments;
  }
  EXPECT_EQ(ReadText("out.png"), "precious");
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  EXPECT_EQ(Run("good.svg out.png"), 0);
  EXPECT_EQ(Read().width, 4u);
  EXPECT_EQ(Files().size(), files);
}

TEST_F(Program, SurvivesHostileFiles) {
  std::string deep, bomb = "<g id='u0'><rect width='1' height='1'/></g>";
  for (int i = 0; i < 100'000; ++i) deep += "<g>";
  for (int i = 0; i < 100'000; ++i) deep += "</g>";
  for (int i = 1; i < 30; ++i) {
    const std::string id = std::to_string(i), below = std::to_string(i - 1);
    bomb += "<g id='u" + id + "'>";
    for (int k = 0; k < 10; ++k) bomb += "<use href='#u" + below + "'/>";
    bomb += "</g>";
  }
  const std::string kBodies[] = {
      deep,
      "<defs>" + bomb + "</defs><use href='#u29'/>",
      "<use id='a' href='#a'/>",
      "<g id='a'><use href='#b'/></g><g id='b'><use href='#a'/><use href='#a'/></g>",
      "<symbol id='s'><use href='#s'/></symbol><use href='#s'/>",
      "<rect width='1e30' height='1e30' transform='scale(1e30) scale(1e30) scale(1e-30)'/>",
      "<path d='M1e30-1e30L1e29 1e30-1e30 1e9A1e30 1e-30 77 1 1 1e30 1e30" +
          std::string(200'000, 'z') + "'/>",
      "<rect width='nan' height='inf'/><circle r='-1'/><ellipse rx='0' ry='9'/>",
      "<style>" + std::string(50'000, '{') + "</style><style>a{}b}c{;;}@x</style>",
      "<linearGradient id='g' href='#g'/><rect fill='url(#g)' width='8' height='4'/>",
      "<rect fill='url(' stroke='url(#' style='fill:url(#;x:' width='8' height='4'/>",
  };
  for (const std::string& body : kBodies) {
    Write(Svg(body));
    EXPECT_EQ(Run("in.svg out.png"), 0) << body.substr(0, 100) << said_;
  }
  Write(Svg("<rect width='5' height='5'/>", "viewBox='0 0 1e-30 1e30' width='1e30' height='1'"));
  EXPECT_EQ(Run("in.svg out.png"), 0) << said_;
}

}  // namespace
