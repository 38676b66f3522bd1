// A program that knows nothing of the simulation: opens the framebuffer in every way there is, and
// uses it. Exits with the number of the line that went wrong.
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <linux/fb.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

void Check(bool good, int line) {
  if (!good) std::_Exit(line < 255 ? line : 255);
}
#define CHECK(condition) Check(condition, __LINE__)

void CheckOrdinaryFiles(int flags) {
  const char* const path = "kalvora-probe-file";
  const int fd = open(path, O_CREAT | O_RDWR | flags, 0640);
  CHECK(fd >= 0);
  struct stat status {};
  CHECK(fstat(fd, &status) == 0 && (status.st_mode & 0777) == 0640);
  fb_var_screeninfo mode{};
  CHECK(ioctl(fd, FBIOGET_VSCREENINFO, &mode) != 0);
  int waiting = 0;
  CHECK(write(fd, "abc", 3) == 3 && lseek(fd, 1, SEEK_SET) == 1);
  CHECK(ioctl(fd, FIONREAD, &waiting) == 0 && waiting == 2);
  close(fd);
  unlink(path);
  CHECK(open("/dev/fb7", flags) < 0);
}

void Use(int fd, int copy) {
  CHECK(fd >= 0);
  fb_var_screeninfo mode{};
  fb_fix_screeninfo memory{};
  CHECK(ioctl(fd, FBIOGET_VSCREENINFO, &mode) == 0);
  CHECK(ioctl(copy, FBIOGET_FSCREENINFO, &memory) == 0);
  CHECK(mode.xres == 64 && mode.yres == 48 && mode.bits_per_pixel == 16);
  mode.yres_virtual = mode.yres * 2;
  CHECK(ioctl(fd, FBIOPUT_VSCREENINFO, &mode) == 0);
  auto* const pixels = static_cast<unsigned short*>(
      mmap(nullptr, memory.smem_len, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
  CHECK(pixels != MAP_FAILED);
  for (unsigned i = 0; i < 64 * 48; ++i) pixels[64 * 48 + i] = 0xF800;  // red
  // A child has the same screen.
  if (fork() == 0) {
    for (unsigned i = 0; i < 64; ++i) pixels[64 * 48 + i] = 0x001F;  // its first row blue
    std::_Exit(0);
  }
  int status = 0;
  CHECK(wait(&status) > 0 && status == 0);
  mode.yoffset = mode.yres;
  CHECK(ioctl(fd, FBIOPAN_DISPLAY, &mode) == 0);
  unsigned zero = 0;
  CHECK(ioctl(fd, FBIO_WAITFORVSYNC, &zero) == 0);
  mode.yoffset = mode.yres + 1;
  CHECK(ioctl(fd, FBIOPAN_DISPLAY, &mode) != 0);
  munmap(pixels, memory.smem_len);
}

}  // namespace

// The flags come from the command line, so that no compiler knows them.
int main(int argc, char** argv) {
  const int flags = argc > 1 ? O_RDWR : O_RDONLY;
  CheckOrdinaryFiles(flags & ~O_RDWR);
  const int fds[] = {open("/dev/fb0", flags), open64("/dev/fb0", flags),
                     openat(AT_FDCWD, "/dev/fb0", flags), openat64(AT_FDCWD, "/dev/fb0", flags),
                     open("/dev/fb0", O_RDWR | O_CLOEXEC)};
  Use(fds[0], dup(fds[1]));
  for (const int fd : fds) {
    fb_var_screeninfo mode{};
    CHECK(ioctl(fd, FBIOGET_VSCREENINFO, &mode) == 0 && close(fd) == 0);
  }
  (void)argv;
  return 0;
}
