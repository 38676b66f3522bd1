// Programs on the simulated board.
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/display/endtoend/shell.h"

namespace {

const std::string kRunSim = RUN_SIM;

TEST(RunSim, GivesAFramebufferToAnyProgram) {
  Folder folder;
  const Result result = Shell("cd " + folder.Path("") + " && " + kRunSim +
                              " --size 64x48 --depth 16 --buffers 2 --png . " PROBE " x");
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(folder.Files(), std::set<std::string>{"frame-0000.png"});
  EXPECT_EQ(folder.Read("frame-0000.png").substr(1, 3), "PNG");
}

TEST(RunSim, SaysWhatIsWrong) {
  EXPECT_EQ(Shell(kRunSim).status, 2);
  EXPECT_EQ(Shell(kRunSim + " --what true").status, 2);
  EXPECT_EQ(Shell(kRunSim + " no-such-program").status, 127);
  EXPECT_EQ(Shell(kRunSim + " false").status, 1);
  for (const char* const options : {"--size 0x5", "--size 64", "--depth 12", "--hz fast"}) {
    const Result result = Shell(kRunSim + " " + options + " " DASHBOARD);
    EXPECT_EQ(result.status, 2) << options;
    EXPECT_NE(result.output.find("makes no sense"), std::string::npos) << result.output;
  }
  EXPECT_EQ(Shell(kRunSim + " --png /proc/nowhere " DASHBOARD).status, 1);
}

// A program may close the library while its flip thread hangs in the driver.
TEST(Library, IsNeverUnmapped) {
  const Result result = Shell("readelf -d " LIBRARY);
  EXPECT_EQ(result.status, 0);
  EXPECT_NE(result.output.find("NODELETE"), std::string::npos) << result.output;
}

TEST(Bounce, MovesOneBall) {
  Folder folder;
  const Result result =
      Shell(kRunSim + " --size 80x90 --hz 0 --png " + folder.Path("") + " " BOUNCE);
  EXPECT_EQ(result.status, 0) << result.output;
  EXPECT_EQ(folder.Files().size(), 602u);
  // After 448 frames it is back where it was, and has left nothing anywhere.
  EXPECT_NE(folder.Read("frame-0002.png"), folder.Read("frame-0003.png"));
  EXPECT_EQ(folder.Read("frame-0002.png"), folder.Read("frame-0450.png"));
  EXPECT_EQ(Shell(kRunSim + " --size 48x48 " BOUNCE).status, 1);
}

/// The frames that the dashboard shows when it draws 40.
std::vector<std::string> Frames(const std::string& board, const std::string& options) {
  Folder folder;
  const Result result = Shell(kRunSim + " --hz 0 --png " + folder.Path("") + " " + board + " " +
                              DASHBOARD " --frames 40 " + options);
  EXPECT_EQ(result.status, 0) << board << options << result.output;
  EXPECT_EQ(result.output.rfind("40 frames in ", 0), 0u) << result.output;
  std::vector<std::string> frames;
  for (const std::string& name : folder.Files()) frames.push_back(folder.Read(name));
  return frames;
}

TEST(Dashboard, ShowsTheSameFramesWithAnyNumberOfBuffers) {
  for (const std::string board : {"", "--size 250x200"}) {
    const auto two = Frames(board, "--buffers 2");
    const auto three = Frames(board + " --no-vsync", "--buffers 3");
    EXPECT_EQ(two.size(), 41u);  // the first is what was there before
    EXPECT_EQ(two, three);
    const auto one = Frames(board + " --no-panning --buffers 1", "--buffers 1");
    ASSERT_FALSE(one.empty());
    EXPECT_EQ(one.back(), two.back());
  }
}

TEST(Dashboard, SaysWhatIsWrong) {
  for (const char* const options : {"--what", "--buffers 4", "--buffers 0", "--display lcd",
                                    "--display fb", "--frames -1", "more"}) {
    EXPECT_EQ(Shell(std::string(DASHBOARD " ") + options).status, 2) << options;
  }
  for (const std::string board : {"--buffers 2", "--depth 32 --no-mover"}) {
    const Result result = Shell(kRunSim + " --hz 0 " + board + " " DASHBOARD " --frames 2");
    const bool fails = KALVORA_MSM_ADM || board == "--buffers 2";
    EXPECT_EQ(result.status, fails ? 1 : 0) << board << result.output;
    EXPECT_EQ(result.output.find("cannot be opened") != std::string::npos, fails) << result.output;
  }
}

}  // namespace
