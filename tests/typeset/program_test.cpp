// kalvora-text as people call it.
#include <cstdlib>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(Program, SetsTheSample) {
  char folder[] = "/tmp/kalvora-typeset-XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  const std::string out = std::string(folder) + "/out.png", list = std::string(folder) + "/list";
  const auto run = [&](const std::string& arguments) {
    return std::system((KALVORA_TEXT " " + arguments + " >" + list + " 2>&1").c_str());
  };
  const auto read = [](const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string{std::istreambuf_iterator<char>(file), {}};
  };
  for (const char* options :
       {"", "--align justify --width 200", "--direction rtl --size 40 --lines 3",
        "--font /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf --font "
        "/usr/share/fonts/truetype/droid/DroidSansFallbackFull.ttf --spacing 150"}) {
    EXPECT_EQ(run(std::string(options) + " " SAMPLE " " + out), 0) << options;
    EXPECT_EQ(read(out).substr(1, 3), "PNG") << options;
    EXPECT_GT(read(out).size(), 10000u) << options;
    unlink(out.c_str());
  }
  EXPECT_EQ(run("- " + out + " </dev/null"), 0);
  unlink(out.c_str());
  EXPECT_EQ(run("--list --font /usr/share/fonts/truetype/dejavu/DejaVuSans.ttf <" SAMPLE), 0);
  EXPECT_EQ(read(list).substr(0, 7), "0 0 46 ");  // the K of the first line
  unlink(list.c_str());
  rmdir(folder);
}

}  // namespace
