// Styles of the SVG example: the cascade, inheritance, style sheets.
#include <cstdio>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "examples/svg/Document.h"

namespace svg {
namespace {

// A document from text, by way of a file.
class TextDocument {
 public:
  explicit TextDocument(const std::string& body) : path_(WriteFile(body)), document_(path_) {
    std::remove(path_.c_str());
  }

  // The style of the element with this id, all its ancestors considered.
  Style StyleOf(const char* id) const { return StyleOf(document_.Find(id)); }

 private:
  static std::string WriteFile(const std::string& body) {
    std::string path = testing::TempDir() + "kalvora-style-" + std::to_string(getpid()) + ".svg";
    std::ofstream(path) << "<svg xmlns='http://www.w3.org/2000/svg'>" << body << "</svg>";
    return path;
  }
  Style StyleOf(pugi::xml_node node) const {
    if (node.type() != pugi::node_element) return Style();
    return document_.StyleOf(node, StyleOf(node.parent()));
  }

  std::string path_;
  Document document_;
};

std::string Name(const Paint& paint) {
  switch (paint.kind) {
    case Paint::Kind::None:
      return "none";
    case Paint::Kind::Current:
      return "current";
    case Paint::Kind::Server:
      return "server " + paint.server;
    case Paint::Kind::Solid:
      break;
  }
  const std::uint32_t rgb =
      paint.color.red << 16 | paint.color.green << 8 | unsigned{paint.color.blue};
  char text[16];
  std::snprintf(text, sizeof text, "%06x", rgb);
  return text;
}

TEST(Style, CascadeAndInheritance) {
  const TextDocument document(R"svg(
    <style><![CDATA[/* <g> */ g { fill: #111111 } .a { fill: #222222 } #byId { fill: #333333 }
      rect.a.b { fill: #444444 } .late { fill: #555555; } .late { fill: #666666 }
      .loud { fill: #777777 !important } g > .child { fill: #888888 }
      @media print { rect { fill: #999999 } } rect:first-child, [x] { fill: #aaaaaa }
      .list, .other { fill: #bbbbbb } svg g .deep { fill: #cccccc } text .deep { fill: red }
      .broken { fill } ]]></style>
    <g id="group"><rect id="inherits"/><rect id="class" class="a" fill="red"/>
      <rect class="a" id="byId"/><rect id="two" class="b a"/><rect id="late" class="late"/>
      <rect id="style" class="a" style="fill:#abcdef"/>
      <rect id="loud" class="loud" style="fill:#abcdef"/>
      <rect id="child" class="child"/><g><rect id="grandchild" class="child"/></g>
      <rect id="list" class="other"/><rect id="deep" class="deep"/>
      <rect id="broken" fill="red" style="fill:nonsense;;:;x"/>
      <rect id="explicit" fill="red" style="fill:inherit"/></g>
    <rect id="first" fill="url(#g) blue"/><rect id="quoted" fill="url( '#g' )"/>
    <rect id="current" fill="currentColor"/><rect id="none" fill="none"/>
    <rect id="plain"/>)svg");
  const struct {
    const char* id;
    const char* fill;
  } kCases[] = {
      {"group", "111111"},      {"inherits", "111111"}, {"class", "222222"},
      {"byId", "333333"},       {"two", "444444"},      {"late", "666666"},
      {"style", "abcdef"},      {"loud", "777777"},     {"child", "888888"},
      {"list", "bbbbbb"},       {"deep", "cccccc"},     {"broken", "ff0000"},
      {"explicit", "111111"},   {"first", "server g"},  {"quoted", "server g"},
      {"current", "current"},   {"none", "none"},       {"plain", "000000"},
      {"grandchild", "888888"},
  };
  for (const auto& c : kCases) EXPECT_EQ(Name(document.StyleOf(c.id).fill), c.fill) << c.id;
}

TEST(Style, Values) {
  const TextDocument document(R"svg(
    <g opacity="0.5" fill-opacity="50%" font-size="20" clip-path="url(#c)"
       stroke-dasharray="1, 2 3" stroke-miterlimit="9" stroke-linecap="round">
      <path id="child" stroke-width="-1" font-size="150%" stroke-miterlimit="0" opacity="7"
            stroke-dasharray="1 -2"/>
      <path id="other" stroke-width="2em" stroke-dasharray="none" stroke-linejoin="bevel"/></g>)svg");
  const Style child = document.StyleOf("child");
  EXPECT_EQ(child.opacity, 1);
  EXPECT_EQ(child.fillOpacity, 0.5);
  EXPECT_EQ(child.fontSize, 30);
  EXPECT_EQ(child.clipPath, "");
  EXPECT_EQ(child.dashes.size(), 3u);
  EXPECT_EQ(child.miterLimit, 9);
  EXPECT_EQ(child.cap, LineCap::Round);
  EXPECT_EQ(child.strokeWidth.value, 1);
  const Style other = document.StyleOf("other");
  EXPECT_EQ(other.opacity, 1);
  EXPECT_TRUE((other.strokeWidth == Length{2, Length::Unit::Em}));
  EXPECT_EQ(other.join, LineJoin::Bevel);
  EXPECT_TRUE(other.dashes.empty());
}

}  // namespace
}  // namespace svg
