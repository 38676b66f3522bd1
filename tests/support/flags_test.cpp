// KFlags: what the environment says, and what is printed about it.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "kalvora/support/KFlags.h"

namespace {

const struct {
  const char* variable;
  const char* name;
  KFlag KFlags::*flag;
} kSwitches[] = {
    {"K_IGNORE_TRANSFORM", "IgnoreTransform", &KFlags::IgnoreTransform},
    {"K_DRAW_COLORED_OUTLINES", "DrawColoredOutlines", &KFlags::DrawColoredOutlines},
    {"K_DISPLAY_FPS", "DisplayFps", &KFlags::DisplayFps},
    {"K_IGNORE_ALPHA", "IgnoreAlpha", &KFlags::IgnoreAlpha},
    {"K_ONLY_NEAREST", "OnlyNearest", &KFlags::OnlyNearest},
    {"K_SHOW_MISSING_GLYPHS", "ShowMissingGlyphs", &KFlags::ShowMissingGlyphs},
    {"K_USE_FONT_HINTING", "UseFontHinting", &KFlags::UseFontHinting},
};

class FlagsTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& s : kSwitches) unsetenv(s.variable);
  }
  void TearDown() override { SetUp(); }
};

TEST_F(FlagsTest, OnlyTheNumberOneSwitchesOn) {
  const struct {
    const char* value;
    bool on;
  } values[] = {{"1", true},    {"0", false},    {"-1", false},         {"", false},
                {"yes", false}, {" +01x", true}, {"4294967297", false}, {"0x1", false}};
  for (const auto& value : values) {
    for (const auto& s : kSwitches) {
      setenv(s.variable, value.value, 1);
      testing::internal::CaptureStdout();
      const KFlags flags;
      const std::string printed = testing::internal::GetCapturedStdout();
      unsetenv(s.variable);
      EXPECT_EQ(printed, "KFlags: " + std::string(s.name) + " = " + (value.on ? "1\n" : "0\n"));
      for (const auto& other : kSwitches) {
        EXPECT_EQ(flags.*other.flag, value.on && &other == &s) << value.value << ' ' << s.name;
      }
    }
  }
}

TEST_F(FlagsTest, LinesComeInOrderAndOnlyForWhatIsSet) {
  setenv("K_USE_FONT_HINTING", "0", 1);
  setenv("K_DISPLAY_FPS", "1", 1);
  testing::internal::CaptureStdout();
  const KFlags flags;
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "KFlags: DisplayFps = 1\nKFlags: UseFontHinting = 0\n");
}

TEST_F(FlagsTest, TheProcessReadsThemWhenItStarts) {
  char program[4096] = "";
  ASSERT_GT(readlink("/proc/self/exe", program, sizeof program - 1), 0);
  setenv("K_ONLY_NEAREST", "1", 1);
  std::FILE* child = popen(("'" + std::string(program) + "' --gtest_list_tests").c_str(), "r");
  ASSERT_NE(child, nullptr);
  std::string output(4096, '\0');
  output.resize(std::fread(output.data(), 1, output.size(), child));
  if (pclose(child) != 0) GTEST_SKIP() << "the emulator does not start programs";
  EXPECT_TRUE(output.starts_with("KFlags: OnlyNearest = 1\n")) << output;
}

}  // namespace
