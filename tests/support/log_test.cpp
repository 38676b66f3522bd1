// KUtil::LogError: the line it appends.
#include <ctime>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "kalvora/support/KUtil.h"

namespace {

constexpr char kLog[] = "/var/log/kalvora-err.log";

// What follows the time stamp at the start of `text`; null when there is none.
const char* AfterStamp(const char* text) {
  std::tm time{};
  return text == nullptr ? nullptr : strptime(text, "[%a %b %e %H:%M:%S %Y] ", &time);
}

TEST(ErrorLog, AppendsAStampedText) {
  if (access("/var/log", W_OK) != 0) GTEST_SKIP() << "/var/log is not writable";
  const std::string first = "log test of process " + std::to_string(getpid());
  KUtil::LogError("%s\n", first.c_str());
  KUtil::LogError("no newline, %d of %s", 1, "two");
  KUtil::LogError(";\n");

  std::ifstream file(kLog);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  const std::size_t at = text.find(first);
  ASSERT_NE(at, std::string::npos);
  const std::size_t line = text.rfind('\n', at) + 1;  // npos + 1 is the file's start
  EXPECT_EQ(AfterStamp(text.c_str() + line), text.c_str() + at);
  const char* second = AfterStamp(text.c_str() + at + first.size() + 1);
  ASSERT_NE(second, nullptr);
  const std::string expected = "no newline, 1 of two";
  EXPECT_EQ(std::string(second).substr(0, expected.size()), expected);
  EXPECT_STREQ(AfterStamp(second + expected.size()), ";\n");
}

}  // namespace
