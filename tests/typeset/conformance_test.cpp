// The conformance files of Unicode, run against the kit's rules.
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "kits/typeset/bidi.h"
#include "kits/typeset/boundaries.h"
#include "kits/typeset/properties.h"
#include "kits/typeset/utf8.h"

namespace {

using namespace kalvora::typeset;

const std::string kData = "/usr/share/unicode/";

// Calls `check` with each line of a file without its comment; false when the file is not installed.
template <typename Check>
bool ForEachLine(const std::string& name, Check check) {
  std::ifstream file(kData + name);
  if (!file) return false;
  for (std::string line; std::getline(file, line);) {
    line = line.substr(0, line.find('#'));
    while (line.ends_with('\t') || line.ends_with(' ')) line.pop_back();
    if (!line.empty()) check(line);
  }
  return true;
}

std::vector<std::string> Fields(const std::string& line, char separator) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, separator);) {
    if (!field.empty() || separator == ';') fields.push_back(field);
  }
  return fields;
}

std::u32string Characters(const std::string& codes) {
  std::u32string text;
  for (const std::string& code : Fields(codes, ' ')) {
    text += static_cast<char32_t>(std::stoul(code, nullptr, 16));
  }
  return text;
}

TEST(Conformance, LinesAndClustersBreakAsUnicodeSays) {
  for (const bool lines : {true, false}) {
    int count = 0;
    const bool found =
        ForEachLine(lines ? "auxiliary/LineBreakTest.txt" : "auxiliary/GraphemeBreakTest.txt",
                    [&](const std::string& line) {
                      std::u32string text;
                      std::string expected, got;  // a sign before each character
                      for (const std::string& field : Fields(line, ' ')) {
                        if (field == "÷" || field == "×") {
                          expected += field;
                        } else {
                          text += static_cast<char32_t>(std::stoul(field, nullptr, 16));
                        }
                      }
                      if (text.empty()) return;
                      std::vector<Break> breaks;
                      std::vector<bool> clusters;
                      FindLineBreaks(text, breaks);
                      FindClusters(text, clusters);
                      for (std::size_t i = 0; i < text.size(); ++i) {
                        got += (lines ? breaks[i] != Break::kNone : bool{clusters[i]}) ? "÷" : "×";
                      }
                      EXPECT_EQ(got + "÷", expected) << line;
                      ++count;
                    });
    if (!found) GTEST_SKIP() << "unicode-data is not installed";
    EXPECT_GT(count, 600);
  }
}

// Levels as the files write them; x is a character that the algorithm removes.
void ExpectLevels(const std::u32string& text, KTextDirection direction, const std::string& expected,
                  const std::string& order, int base, const std::string& where) {
  std::vector<Level> levels, seen;
  std::vector<BidiPart> parts;
  FindLevels(text, direction, levels, parts);
  std::vector<std::string> wanted = Fields(expected, ' ');
  std::vector<std::uint32_t> places;
  ASSERT_EQ(levels.size(), wanted.size()) << where;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (wanted[i] == "x") continue;
    ASSERT_EQ(levels[i], std::stoi(wanted[i])) << where << ", character " << i;
    seen.push_back(levels[i]);
    places.push_back(static_cast<std::uint32_t>(i));
  }
  std::vector<std::uint32_t> visual;
  FindVisualOrder(seen, visual);
  std::string got;
  for (const std::uint32_t i : visual) got += (got.empty() ? "" : " ") + std::to_string(places[i]);
  ASSERT_EQ(got, order) << where;
  ASSERT_TRUE(base < 0 || base == parts[0].base) << where;
}

TEST(Conformance, BidiCharacters) {
  int count = 0;
  const bool found = ForEachLine("BidiCharacterTest.txt", [&](const std::string& line) {
    const std::vector<std::string> fields = Fields(line, ';');
    const KTextDirection directions[] = {KTextLeftToRight, KTextRightToLeft, KTextAuto};
    ExpectLevels(Characters(fields[0]), directions[std::stoi(fields[1])], fields[3],
                 fields.size() > 4 ? fields[4] : "", std::stoi(fields[2]), line);
    ++count;
  });
  if (!found) GTEST_SKIP() << "unicode-data is not installed";
  EXPECT_GT(count, 90000);
}

// A character of each class.
char32_t CharacterOf(const std::string& type) {
  static const std::pair<const char*, char32_t> kTypes[] = {
      {"L", U'a'},     {"R", 0x5D0},    {"AL", 0x627},   {"EN", U'1'},    {"ES", U'+'},
      {"ET", U'#'},    {"AN", 0x661},   {"CS", U','},    {"B", 0x2029},   {"S", U'\t'},
      {"WS", U' '},    {"ON", U'!'},    {"BN", 0xAD},    {"NSM", 0x300},  {"LRE", 0x202A},
      {"LRO", 0x202D}, {"RLE", 0x202B}, {"RLO", 0x202E}, {"PDF", 0x202C}, {"LRI", 0x2066},
      {"RLI", 0x2067}, {"FSI", 0x2068}, {"PDI", 0x2069}};
  for (const auto& [name, character] : kTypes) {
    if (type == name) return character;
  }
  ADD_FAILURE() << type;
  return 0;
}

TEST(Conformance, BidiClasses) {
  std::string levels, order;
  int count = 0;
  const bool found = ForEachLine("BidiTest.txt", [&](const std::string& line) {
    const std::string value = line.substr(line.find_first_of(" \t") + 1);
    if (line.starts_with("@Levels:")) {
      levels = value;
    } else if (line.starts_with("@Reorder:")) {
      order = line.size() > 9 ? value : "";
    } else if (line[0] != '@') {
      const std::vector<std::string> fields = Fields(line, ';');
      std::u32string text;
      for (const std::string& type : Fields(fields[0], ' ')) text += CharacterOf(type);
      // A paragraph separator within begins a new part, which the file does not know of.
      const std::size_t separator = text.find(0x2029);
      if (separator != std::u32string::npos && separator + 1 < text.size()) return;
      const int paragraphs = std::stoi(fields[1], nullptr, 16);
      if (paragraphs & 1) ExpectLevels(text, KTextAuto, levels, order, -1, line);
      if (paragraphs & 2) ExpectLevels(text, KTextLeftToRight, levels, order, -1, line);
      if (paragraphs & 4) ExpectLevels(text, KTextRightToLeft, levels, order, -1, line);
      ++count;
    }
  });
  if (!found) GTEST_SKIP() << "unicode-data is not installed";
  EXPECT_GT(count, 300000);
}

// Maximal parts that are malformed are one character each.
TEST(Conformance, Utf8) {
  struct Case {
    std::string bytes;
    std::u32string characters;
  };
  const Case cases[] = {
      {"", U""},
      {"a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80", U"a\u00E9\u4E2D\U0001F600"},
      {"\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
       U"\u0080\u07FF\u0800\uFFFF\U00010000\U0010FFFF"},
      {"\xC0\x80", U"\uFFFD\uFFFD"},            // written too long
      {"\xED\xA0\x80", U"\uFFFD\uFFFD\uFFFD"},  // a surrogate
      {"\xF4\x90\x80\x80", U"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"\xE4\xB8z\x80\xF0\x90\x80", U"\uFFFDz\uFFFD\uFFFD"},
  };
  std::u32string characters;
  std::vector<std::uint32_t> offsets;
  for (const Case& c : cases) {
    DecodeUtf8(c.bytes, characters, offsets);
    EXPECT_EQ(characters, c.characters) << c.bytes;
    EXPECT_EQ(offsets.size(), characters.size() + 1);
    EXPECT_EQ(offsets.back(), c.bytes.size());
  }
}

}  // namespace
