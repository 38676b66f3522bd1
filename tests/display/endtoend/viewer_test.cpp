// The viewer: snapshots, and its window in a virtual X server.
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kalvora/display/KShmem.h"

#include "tests/display/endtoend/shell.h"
#include "tests/display/endtoend/xwindow.h"

namespace {

constexpr unsigned kWidth = KShmem::kWidth;
constexpr unsigned kHeight = KShmem::kHeight;

/// A process that ends with the object.
class Process {
 public:
  Process(const std::function<void()>& child) : pid(fork()) {
    if (pid == 0) {
      child();
      std::_Exit(127);
    }
  }
  ~Process() { Stop(SIGKILL); }
  /// Ends it, and returns its exit status; -1 when it was the signal that ended it.
  int Stop(int signal) {
    if (pid <= 0) return -1;
    kill(pid, signal);
    int status = 0;
    waitpid(pid, &status, 0);
    pid = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  pid_t pid;
};

/// The surface, painted with something that differs in every pixel.
struct Painted {
  std::uint32_t* pixels = static_cast<std::uint32_t*>(KShmem::Get());

  ~Painted() { KShmem::Release(pixels); }
  static std::uint32_t At(unsigned x, unsigned y, std::uint32_t seed) {
    return ((x + y * kWidth + 1) * 2654435761u ^ seed) & 0xFFFFFF;
  }
  void Paint(std::uint32_t seed) {
    for (unsigned i = 0; i < kWidth * kHeight; ++i) pixels[i] = At(i % kWidth, i / kWidth, seed);
  }
};

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

/// True when the window shows the painted surface at this zoom, pixel by pixel.
bool Shows(XWindow& window, unsigned zoom, std::uint32_t seed) {
  const auto picture = window.Look();
  if (!picture || picture->width != kWidth * zoom || picture->height != kHeight * zoom)
    return false;
  for (unsigned i = 0; i < picture->pixels.size(); ++i) {
    const unsigned x = i % picture->width / zoom;
    const unsigned y = i / picture->width / zoom;
    if (picture->pixels[i] != Painted::At(x, y, seed)) return false;
  }
  return true;
}

TEST(Viewer, SaysWhenThereIsNoSurface) {
  if (!IsolateSharedMemory()) GTEST_SKIP() << "no shared memory of our own";
  const Result result = Shell(VIEWER " --png /dev/null");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.output.find("there is no surface"), std::string::npos) << result.output;
}

TEST(Viewer, RefusesBadOptions) {
  EXPECT_EQ(Shell(VIEWER " --zoom 0").status, 2);
  EXPECT_EQ(Shell(VIEWER " --zoom 9").status, 2);
  EXPECT_EQ(Shell(VIEWER " --what").status, 2);
  EXPECT_EQ(Shell(VIEWER " more").status, 2);
  EXPECT_EQ(Shell(VIEWER " --help").status, 0);
}

TEST(Viewer, TakesASnapshotOfTheDashboard) {
  if (!IsolateSharedMemory()) GTEST_SKIP() << "no shared memory of our own";
  Folder folder;
  // The frames in shared memory are those of the framebuffer.
  const std::string board = RUN_SIM " --hz 0 --png " + folder.Path("") + " " DASHBOARD " ";
  EXPECT_EQ(Shell(board + "--display fb0 --buffers 2 --frames 20").status, 0);
  for (const char* const buffers : {"1", "2", "3"}) {
    EXPECT_EQ(Shell(board + "--display shm --frames 20 --buffers " + buffers).status, 0);
    EXPECT_EQ(Shell(VIEWER " --png " + folder.Path("snapshot")).status, 0);
    EXPECT_TRUE(folder.Read("snapshot") == folder.Read("frame-0020.png")) << buffers;
  }
  EXPECT_EQ(Shell(VIEWER " --png /proc/nowhere").status, 1);
}

TEST(Viewer, ShowsTheSurfaceLive) {
  if (!IsolateSharedMemory()) GTEST_SKIP() << "no shared memory of our own";
  if (Shell("command -v Xvfb").status != 0) GTEST_SKIP() << "no virtual X server";
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  Process server([&] {
    const std::string fd = std::to_string(ends[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", "1600x2400x24", "-nolisten",
           "tcp", nullptr);
  });
  char number[16] = "";
  ASSERT_GT(read(ends[0], number, sizeof number - 1), 0);
  close(ends[0]);
  close(ends[1]);
  const std::string name = ":" + std::to_string(std::atoi(number));
  XWindow window("kalvora-viewer");
  ASSERT_TRUE(Eventually([&] { return window.Connect(name); }));

  Painted surface;
  surface.Paint(1);
  setenv("DISPLAY", name.c_str(), 1);
  // No graphics driver: those keep threads and memory of their own.
  setenv("SDL_RENDER_DRIVER", "software", 1);
  setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // the window system's libraries keep memory
  Process viewer([] { execl(VIEWER, VIEWER, "--zoom", "2", nullptr); });
  EXPECT_TRUE(Eventually([&] { return Shows(window, 2, 1); }));
  surface.Paint(2);
  EXPECT_TRUE(Eventually([&] { return Shows(window, 2, 2); }));
  window.PressPlus();
  EXPECT_TRUE(Eventually([&] { return Shows(window, 3, 2); }));
  // A picture that keeps changing has a rate, and one that does not has none.
  const auto hasRate = [&] {
    const std::string title = window.Title();
    return title.find(" x3, ") != std::string::npos && title.find(" 0 fps") == std::string::npos;
  };
  std::uint32_t seed = 2;
  EXPECT_TRUE(Eventually([&] {
    surface.Paint(++seed);
    return hasRate();
  }));
  EXPECT_TRUE(Eventually([&] { return !hasRate(); }));
  EXPECT_EQ(viewer.Stop(SIGTERM), 0);
}

}  // namespace
