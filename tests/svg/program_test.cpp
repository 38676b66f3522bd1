// kalvora-svg from end to end: files in, pictures, messages and exit statuses out.
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <png.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct Picture {
  unsigned width = 0, height = 0;
  bool alpha = false;
  std::vector<std::uint8_t> rgba;

  std::string At(unsigned x, unsigned y) const {
    const std::uint8_t* p = &rgba[4 * (std::size_t{y} * width + x)];
    char text[16];
    std::snprintf(text, sizeof text, "%02x%02x%02x%02x", p[0], p[1], p[2], p[3]);
    return text;
  }
};

// Each channel within two levels.
void ExpectNear(const std::string& got, const std::string& wanted, const char* where) {
  for (std::size_t i = 0; i < 8; i += 2) {
    EXPECT_NEAR(std::stoi(got.substr(i, 2), nullptr, 16),
                std::stoi(wanted.substr(i, 2), nullptr, 16), 2)
        << where << ": " << got;
  }
}

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
    std::ostringstream text;
    text << std::ifstream(folder_ / "stderr.txt").rdbuf();
    said_ = text.str();
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
    const Picture picture = Draw(body);
    ASSERT_EQ(picture.width, 8u);
    EXPECT_EQ(picture.At(2, 1), "ff0000ff") << body;
    EXPECT_EQ(picture.At(7, 3), "00000000") << body;
    EXPECT_EQ(said_, "") << body;
  }
}

TEST_F(Program, FillRules) {
  const std::string squares = "<path d='M0 0h8v4h-8z M1 1h4v2h-4z' fill='red' ";
  EXPECT_EQ(Draw(squares + "/>").At(2, 1), "ff0000ff");
  EXPECT_EQ(Draw(squares + "fill-rule='evenodd'/>").At(2, 1), "00000000");
}

TEST_F(Program, Opacity) {
  const char* const kBodies[] = {
      "<rect width='8' height='4' fill='red' opacity='.5'/>",
      "<rect width='8' height='4' fill='red' fill-opacity='.5'/>",
      "<rect width='8' height='4' fill='rgba(255,0,0,50%)'/>",
      "<g opacity='.5'><rect width='8' height='4' fill='red'/></g>",
  };
  for (const char* body : kBodies) {
    // Straight alpha in the file: full red, half alpha.
    // The library truncates, so a channel may lose a level or two.
    ExpectNear(Draw(body).At(4, 2), "ff000080", body);
    ExpectNear(Draw(body, "--background white").At(4, 2), "ff7f7fff", body);
  }
}

// Strokes whose edges lie between pixels: what is on and off at (1, 1), (4, 1), (7, 3).
TEST_F(Program, Strokes) {
  const struct {
    const char* body;
    const char* pixels;
  } kCases[] = {
      {"<path d='M2 1.5H6' stroke-width='1'/>", ".#."},
      {"<path d='M2 1.5H6' stroke-width='1' stroke-linecap='square'/>", "?#."},
      {"<path d='M2 1.5H7' stroke-width='3' stroke-linecap='square'/>", "##."},
      {"<path d='M2 1.5H6' stroke-width='3' stroke-linecap='butt'/>", ".#."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3 3'/>", "#.."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3'/>", "#.."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3' stroke-dashoffset='3'/>", ".#."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='3' stroke-dashoffset='-3'/>",
       ".#."},
      {"<line x1='0' y1='1.5' x2='8' y2='1.5' stroke-dasharray='0 0'/>", "##."},
      {"<rect x='.5' y='.5' width='7' height='3' stroke-width='1'/>", "..#"},
      {"<rect x='1.5' y='1.5' width='6' height='2' stroke-width='1'/>", "###"},
      {"<path d='M4.5 1.5z' stroke-width='2' stroke-linecap='round'/>", ".#."},
      {"<path d='M4.5 1.5h0' stroke-width='2' stroke-linecap='butt'/>", "..."},
      // The pen follows the transform, however uneven it is.
      {"<path d='M20 1.5H60' stroke-width='1' transform='scale(.1 1)'/>", ".#."},
      {"<path d='M256 .01171875H768' stroke-width='.0078125' transform='scale(.0078125 128)'/>",
       ".#."},
      {"<path d='M1.5 0V4' stroke-width='1e-3' transform='scale(1 1e3)'/>", "..."},
      {"<path d='M1.5e-3 0V4e-3' stroke-width='1e-3' transform='scale(1e3)'/>", "#.."},
      // Beyond the reach of 16.16, only the part that shows is stroked.
      {"<path d='M-1e6 1.5H1e6'/>", "##."},
      {"<path d='M-1e6 -1e6L-1e6 1.5H1e6V-1e6z'/>", "##."},
      {"<circle cx='4.5' cy='1e6' r='999998.5'/>", "##."},
      {"<path d='M1 1H8' transform='scale(0)'/>", "..."},
      {"<path d='M0 1.5H8' stroke-width='0'/>", "..."},
  };
  for (const auto& c : kCases) {
    const Picture picture = Draw(std::string("<g fill='none' stroke='red'>") + c.body + "</g>");
    std::string pixels;
    for (const auto& [x, y] : {std::pair(1u, 1u), {4u, 1u}, {7u, 3u}}) {
      const std::string pixel = picture.At(x, y);
      pixels += pixel == "ff0000ff" ? '#' : pixel == "00000000" ? '.' : '?';
    }
    EXPECT_EQ(pixels, c.pixels) << c.body;
  }
  // Fill and stroke of one translucent shape do not show through one another.
  const Picture picture = Draw(
      "<rect x='2' y='1' width='4' height='2' fill='blue' stroke='red' stroke-width='2' "
      "opacity='.5'/>");
  ExpectNear(picture.At(2, 1), "ff000080", "stroke over fill");
}

// A group is drawn whole and then made translucent: its parts do not show through one another.
TEST_F(Program, GroupsAndClips) {
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
  const struct {
    std::string body;
    const char *topLeft, *bottomLeft, *topRight;  // pixels (1, 0), (1, 3), (7, 0)
  } kCases[] = {
      {"<g opacity='.5'>" + two + "</g>", "ff000080", "ff000080", "ff000080"},
      {"<g opacity='.5'><g opacity='.5'>" + two + "</g></g>", "ff000040", "ff000040", "ff000040"},
      {"<g clip-path='url(#left)'>" + two + "</g>", "ff0000ff", "ff0000ff", "00000000"},
      {"<g clip-path='url(#left)' opacity='.5'>" + two + "</g>", "ff000080", "ff000080",
       "00000000"},
      {"<g clip-path='url(#left)'><g clip-path='url(#top)'>" + two + "</g></g>", "ff0000ff",
       "00000000", "00000000"},
      {"<g clip-path='url(#both)'>" + two + "</g>", "ff0000ff", "00000000", "00000000"},
      {"<g clip-path='url(#apart)'>" + two + "</g>", "ff0000ff", "ff0000ff", "ff0000ff"},
      {"<g clip-path='url(#cross)'>" + two + "</g>", "ff0000ff", "ff0000ff", "00000000"},
      {"<g clip-path='url(#half)'>" + two + "</g>", "ff0000ff", "ff0000ff", "00000000"},
      {"<g clip-path='url(#odd)'>" + two + "</g>", "ff0000ff", "ff0000ff", "00000000"},
      {"<g clip-path='url(#none)'>" + two + "</g>", "00000000", "00000000", "00000000"},
      {"<g clip-path='url(#missing)'>" + two + "</g>", "ff0000ff", "ff0000ff", "ff0000ff"},
      {"<g mask='url(#bright)'>" + two + "</g>", "ff0000ff", "ff0000ff", "00000000"},
      {"<g mask='url(#dim)' clip-path='url(#top)'>" + two + "</g>", "ff000080", "00000000",
       "ff000080"},
      {"<svg width='4' height='2'>" + two + "</svg>", "ff0000ff", "00000000", "00000000"},
      {"<svg width='4' height='2' overflow='visible'>" + two + "</svg>", "ff0000ff", "ff0000ff",
       "ff0000ff"},
      {"<g opacity='0'>" + two + "</g>", "00000000", "00000000", "00000000"},
  };
  for (const auto& c : kCases) {
    const Picture picture = Draw("<defs>" + defs + "</defs>" + c.body);
    ExpectNear(picture.At(1, 0), c.topLeft, c.body.c_str());
    ExpectNear(picture.At(1, 3), c.bottomLeft, c.body.c_str());
    ExpectNear(picture.At(7, 0), c.topRight, c.body.c_str());
  }
}

TEST_F(Program, Gradients) {
  const std::string stops = "<stop stop-color='red'/><stop offset='1' stop-color='blue'/>";
  const struct {
    std::string gradient;
    const char *left, *right;  // pixels (0, 2) and (7, 2)
  } kCases[] = {
      {"<linearGradient id='g'>" + stops + "</linearGradient>", "f00010ff", "1000f0ff"},
      {"<linearGradient id='g' x1='8' x2='0' gradientUnits='userSpaceOnUse'>" + stops +
           "</linearGradient>",
       "1000f0ff", "f00010ff"},
      {"<linearGradient id='g' x1='.5'>" + stops + "</linearGradient>", "ff0000ff", "2000dfff"},
      {"<linearGradient id='g' x2='.5' spreadMethod='reflect'>" + stops + "</linearGradient>",
       "df0020ff", "df0020ff"},
      {"<linearGradient id='g' x2='.5' spreadMethod='repeat'>" + stops + "</linearGradient>",
       "df0020ff", "2000dfff"},
      {"<linearGradient id='g' x2='0' y2='1' gradientTransform='rotate(-90)'>" + stops +
           "</linearGradient>",
       "f00010ff", "1000f0ff"},
      {"<linearGradient id='g' x2='0'>" + stops + "</linearGradient>", "0000ffff", "0000ffff"},
      {"<linearGradient id='g'><stop stop-color='lime'/></linearGradient>", "00ff00ff", "00ff00ff"},
      {"<radialGradient id='g' cx='0' r='2' gradientUnits='userSpaceOnUse' cy='2.5'>" + stops +
           "</radialGradient>",
       "bf0040ff", "0000ffff"},
      {"<linearGradient id='g'><stop stop-opacity='0'/><stop offset='1'/></linearGradient>",
       "00000010", "000000f0"},
  };
  for (const auto& c : kCases) {
    const Picture picture =
        Draw("<defs>" + c.gradient + "</defs><rect width='8' height='4' fill='url(#g)'/>");
    ExpectNear(picture.At(0, 2), c.left, c.gradient.c_str());
    ExpectNear(picture.At(7, 2), c.right, c.gradient.c_str());
  }
}

// A picture of two pixels, opaque red and half transparent blue.
TEST_F(Program, Images) {
  const std::string png =
      "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAIAAAABCAYAAAD0In+KAAAADklEQVR42mP4z8AAQg0AD3"
      "oDfmqBMeEAAAAASUVORK5CYII=";
  const struct {
    std::string attributes;
    const char* pixels;  // at (1, 1), (6, 1), (1, 3)
  } kCases[] = {
      {"width='8' height='4' href='" + png + "'", "ff0000ff 0000ff80 ff0000ff"},
      {"width='8' height='4' xlink:href='" + png + "'", "ff0000ff 0000ff80 ff0000ff"},
      {"width='8' height='2' preserveAspectRatio='none' href='" + png + "'",
       "ff0000ff 0000ff80 00000000"},
      {"width='8' height='2' preserveAspectRatio='xMinYMin slice' href='" + png + "'",
       "ff0000ff 0000ff80 00000000"},
      {"width='8' height='4' opacity='.5' href='" + png + "'", "ff000080 0000ff40 ff000080"},
      {"transform='scale(4)' href='" + png + "'", "ff0000ff 0000ff80 ff0000ff"},
      {"width='8' height='4' href='data:;base64,@@@@'", "00000000 00000000 00000000"},
      {"width='8' height='4' href='data:;base64,iVBORw0KGgo='", "00000000 00000000 00000000"},
      {"width='8' height='4' href='/etc/passwd'", "00000000 00000000 00000000"},
      {"width='0' height='4' href='" + png + "'", "00000000 00000000 00000000"},
      {"width='8' height='4'", "00000000 00000000 00000000"},
  };
  for (const auto& c : kCases) {
    const Picture picture = Draw("<image " + c.attributes + "/>");
    const std::string wanted = c.pixels;
    ExpectNear(picture.At(1, 1), wanted.substr(0, 8), c.attributes.c_str());
    ExpectNear(picture.At(6, 1), wanted.substr(9, 8), c.attributes.c_str());
    ExpectNear(picture.At(1, 3), wanted.substr(18, 8), c.attributes.c_str());
  }
}

TEST_F(Program, SizesAndFormats) {
  const std::string square = "<rect width='10' height='10' fill='red'/>";
  const std::string box = "viewBox='0 0 10 10'";
  const struct {
    std::string attributes, arguments;
    unsigned width, height;
    const char* corner;  // pixel (0, 0)
  } kCases[] = {
      {box, "", 10, 10, "ff0000ff"},
      {box + " width='20'", "", 20, 20, "ff0000ff"},
      {box + " height='5mm'", "", 19, 19, "ff0000ff"},
      {box, "--size 40x20", 40, 20, "00000000"},
      {box + " preserveAspectRatio='none'", "--size 40x20", 40, 20, "ff0000ff"},
      {"width='10' height='10'", "--size 40x20", 40, 20, "00000000"},
      {"width='10.2' height='9.8'", "", 11, 10, "ff0000ff"},
      {"", "", 300, 150, "ff0000ff"},
      {box + " width='20000' height='10000'", "", 8192, 4096, "00000000"},
  };
  for (const auto& c : kCases) {
    const Picture picture = Draw(square, c.arguments, c.attributes);
    EXPECT_EQ(picture.width, c.width) << c.attributes << c.arguments;
    EXPECT_EQ(picture.height, c.height) << c.attributes << c.arguments;
    EXPECT_EQ(picture.At(0, 0), c.corner) << c.attributes << c.arguments;
  }
  EXPECT_TRUE(Draw(square).alpha);
  const Picture opaque = Draw("", "--format 4");
  EXPECT_FALSE(opaque.alpha);
  EXPECT_EQ(opaque.At(0, 0), "ffffffff");
  EXPECT_EQ(Draw("", "--background '#12345680'").At(0, 0).substr(6), "80");
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

TEST_F(Program, BrokenFilesLeaveNothingBehind) {
  Write("<svg><rect</svg>", "broken.svg");
  Write("<html/>", "html.svg");
  Write("", "empty.svg");
  Write("\x1f\x8b\x08 zipped", "zipped.svg");
  Write(Svg("", "width='0' height='4'"), "nosize.svg");
  Write(Svg("", "width='4' height='4'"), "good.svg");
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
      {"good.svg", "two file names"},
      {"", "two file names"},
      {"a b c", "more than two"},
      {"good.svg out.png --size 4", "--size"},
      {"good.svg out.png --size 0x4", "--size"},
      {"good.svg out.png --size 4x9000", "--size"},
      {"good.svg out.png --size 4x4x", "--size"},
      {"good.svg out.png --size", "needs a value"},
      {"good.svg out.png --background pinkish", "--background"},
      {"good.svg out.png --format 6", "--format"},
      {"good.svg out.png --loud", "--loud"},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(Run(c.arguments), 1) << c.arguments;
    EXPECT_NE(said_.find(c.message), std::string::npos) << c.arguments << ": " << said_;
    EXPECT_EQ(Files().size(), files) << c.arguments;
  }
  EXPECT_EQ(Run("--help"), 0);
}

// A failure keeps the file that was there before, and a device is written to, not replaced.
TEST_F(Program, OutputsAreSafe) {
  Write("<svg", "broken.svg");
  Write("precious", "out.png");
  EXPECT_EQ(Run("broken.svg out.png"), 1);
  std::ostringstream text;
  text << std::ifstream(folder_ / "out.png").rdbuf();
  EXPECT_EQ(text.str(), "precious");
  Write(Svg(""));
  EXPECT_EQ(Run("in.svg out.png"), 0);
  EXPECT_EQ(Read().width, 8u);
  EXPECT_EQ(Run("in.svg /dev/full"), 1);
  EXPECT_TRUE(fs::is_character_file("/dev/full"));
  EXPECT_EQ(Files().size(), 3u);
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
      "<path d='M1e30-1e30L1e29 1e30-1e30 1e9C1e30 0 0 1e30 5 5z'/>",
      "<g transform='matrix(1e30 1e30 1e30 1e30 0 0)'><circle r='1e30'/></g>",
      "<path d='M0 0A1e30 1e-30 77 1 1 1e30 1e30A1e-30 1e30 0 0 1 3 3'/>",
      "<rect width='nan' height='inf'/><circle r='-1'/><ellipse rx='0' ry='9'/>",
      "<path d='M0 0" + std::string(200'000, 'z') + "'/>",
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
