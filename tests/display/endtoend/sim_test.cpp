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
  EXPECT_EQ(Shell(kRunSim + " no-such-program").status, 127);
  EXPECT_EQ(Shell(kRunSim + " false").status, 1);
  // Boards that cannot be, by the option's name; the library refuses them by its variable's.
  for (const std::string options :
       {"--size 0x5", "--size 64", "--size=9x9999", "--depth 12", "--hz fast", "--hz", "--what",
        "--buffers=17", "--size 8192x8192 --buffers 16"}) {
    const Result result = Shell(kRunSim + " " + options + " " DASHBOARD);
    const std::string name = options.substr(0, options.find_first_of(" ="));
    EXPECT_EQ(result.status, 2) << options;
    EXPECT_NE(result.output.find(name), std::string::npos) << result.output;
  }
  const Result result = Shell("KALVORA_SIM_DEPTH=12 " + kRunSim + " " DASHBOARD);
  EXPECT_EQ(result.status, 2);
  EXPECT_NE(result.output.find("makes no sense"), std::string::npos) << result.output;
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

TEST(Info, ListsTheDisplays) {
  const std::string board = kRunSim + " --size 64x48 --no-mover --only-depth --depth ";
  const Result text = Shell(board + "32 " INFO);
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.output.find("\n/dev/fb0\n  driver   kalvora-sim\n"
                             "  screen   64 x 48, 32 bits a pixel\n"
                             "  buffers  3, shown by flips\n"),
            std::string::npos)
      << text.output;
  const char* const opens = KALVORA_MSM_ADM ? "cannot open the data mover" : "yes";
  EXPECT_NE(text.output.find(std::string("  opens    ") + opens), std::string::npos);
  const Result json = Shell(board + "16 " INFO " --json | python3 -c 'import json, sys; " +
                            "d = json.load(sys.stdin)[\"displays\"][0]; " +
                            "print(d[\"path\"], d[\"bits\"], d[\"shadow\"], d[\"opens\"])'");
  EXPECT_EQ(json.output, "/dev/fb0 16 True True\n");
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
    for (const std::string odd : {" --padding 40", " --bgr", " --bgr --depth 24 --only-depth"}) {
      EXPECT_EQ(Frames(board + odd, "--buffers 3"), two) << odd;
    }
  }
}

TEST(Dashboard, SaysWhatIsWrong) {
  const struct {
    std::string board, answer;
    bool fails;
  } boards[] = {
      {"--buffers 2", "/dev/fb0 has memory for 2 buffers, not for 3", true},
      {"--no-mover", "cannot open the data mover /dev/msm_adm: No such file or directory",
       KALVORA_MSM_ADM != 0},
      {"--no-mover --depth 16 --only-depth", "", false},  // a shadow needs none
  };
  for (const auto& b : boards) {
    const Result result = Shell(kRunSim + " --hz 0 " + b.board + " " DASHBOARD " --frames 2");
    EXPECT_EQ(result.status, b.fails ? 1 : 0) << b.board << result.output;
    if (b.fails) {
      EXPECT_EQ(result.output, "kalvora-dashboard: " + b.answer + "\n");
    }
  }
}

}  // namespace
