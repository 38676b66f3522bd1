// The viewer: snapshots, and its window in a virtual X server.
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>

#include <gtest/gtest.h>
#include <png.h>
#include <sched.h>
#include <sys/shm.h>
#include <sys/wait.h>
#include <unistd.h>

#include "kalvora/display/screens/KShmem.h"

#include "tests/display/endtoend/shell.h"
#include "tests/display/endtoend/xwindow.h"

namespace {

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
  std::uint32_t seed = 0;

  ~Painted() { KShmem::Release(pixels); }
  std::uint32_t At(unsigned i) const { return ((i + 1) * 2654435761u ^ seed) & 0xFFFFFF; }
  void PaintNext() {
    ++seed;
    for (unsigned i = 0; i < KShmem::kWidth * KShmem::kHeight; ++i) pixels[i] = At(i);
  }
};

bool Eventually(const std::function<bool()>& condition) {
  for (int i = 0; i < 1000; ++i) {
    if (condition()) return true;
    usleep(20000);
  }
  return false;
}

/// The pixels of a PNG file; empty when it is none.
std::string Pixels(const std::string& path) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_file(&image, path.c_str()) == 0) return "";
  image.format = PNG_FORMAT_RGB;
  std::string pixels(PNG_IMAGE_SIZE(image), 0);
  png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr);
  return pixels;
}

/// Tests in this process share no System V memory with others on the machine.
class Viewer : public testing::Test {
 protected:
  void SetUp() override {
    static const bool isolated =
        unshare(CLONE_NEWIPC) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0;
    if (!isolated) GTEST_SKIP() << "no shared memory of our own";
  }
};

TEST_F(Viewer, SaysWhatIsWrong) {
  const Result result = Shell(VIEWER " --png /dev/null");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.output.find("there is no surface"), std::string::npos) << result.output;
}

TEST_F(Viewer, TakesASnapshotOfTheDashboard) {
  Folder folder;
  // The frames in shared memory are those of the framebuffer.
  const std::string board = RUN_SIM " --hz 0 --png " + folder.Path("") + " " DASHBOARD " ";
  EXPECT_EQ(Shell(board + "--display fb0 --buffers 2 --frames 20").status, 0);
  for (const char* const buffers : {"1", "2", "3"}) {
    EXPECT_EQ(Shell(board + "--display shm --frames 20 --buffers " + buffers).status, 0);
    EXPECT_EQ(Shell(VIEWER " --png " + folder.Path("snapshot")).status, 0);
    const std::string seen = Pixels(folder.Path("snapshot"));
    EXPECT_EQ(seen.size(), 3 * KShmem::kWidth * KShmem::kHeight);
    EXPECT_TRUE(seen == Pixels(folder.Path("frame-0020.png"))) << buffers;
  }
  EXPECT_EQ(Shell(VIEWER " --png /proc/nowhere").status, 1);
}

TEST_F(Viewer, ShowsTheSurfaceLive) {
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
  XWindow window;
  ASSERT_TRUE(Eventually([&] { return window.Connect(name); }));

  setenv("DISPLAY", name.c_str(), 1);
  // No graphics driver: those keep threads and memory of their own.
  setenv("SDL_RENDER_DRIVER", "software", 1);
  setenv("SDL_FRAMEBUFFER_ACCELERATION", "0", 1);
  setenv("ASAN_OPTIONS", "detect_leaks=0", 1);  // the window system's libraries keep memory
  Process viewer([] { execl(VIEWER, VIEWER, "--zoom", "2", nullptr); });
  const auto waits = [&] { return window.Title().find("waiting") != std::string::npos; };
  EXPECT_TRUE(Eventually(waits));
  Painted surface;
  surface.PaintNext();
  const auto shows = [&](unsigned zoom) {
    return Eventually([&] {
      return window.Shows(
          KShmem::kWidth * zoom, KShmem::kHeight * zoom,
          [&](unsigned x, unsigned y) { return surface.At(y / zoom * KShmem::kWidth + x / zoom); });
    });
  };
  EXPECT_TRUE(shows(2));
  surface.PaintNext();
  EXPECT_TRUE(shows(2));
  window.PressPlus();
  EXPECT_TRUE(shows(3));
  // A picture that keeps changing has a rate, and one that does not has none.
  const auto hasRate = [&] {
    const std::string title = window.Title();
    return title.find(" x3, ") != std::string::npos && title.find(" 0 fps") == std::string::npos;
  };
  EXPECT_TRUE(Eventually([&] {
    surface.PaintNext();
    return hasRate();
  }));
  EXPECT_TRUE(Eventually([&] { return !hasRate() && !waits(); }));
  // The surface is removed and made anew.
  shmctl(shmget(KShmem::kKey, 0, 0), IPC_RMID, nullptr);
  KShmem::Release(surface.pixels);
  EXPECT_TRUE(Eventually(waits));
  surface.pixels = static_cast<std::uint32_t*>(KShmem::Get());
  surface.PaintNext();
  EXPECT_TRUE(shows(3));
  EXPECT_EQ(viewer.Stop(SIGTERM), 0);
}

}  // namespace
