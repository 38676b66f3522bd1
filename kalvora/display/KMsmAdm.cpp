// The data mover's device and its one request.
#include "kalvora/display/KMsmAdm.h"

#include <cstdint>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

constexpr unsigned kCopyRequest = 0x40044B01;  // _IOW('K', 1, 4 bytes)

/// One side of a copy, as the driver reads it.
struct Region {
  std::uint32_t height, width, stride, offset, fd;
};

struct Request {
  Region source, destination;
};
static_assert(sizeof(Request) == 40);

Region MakeRegion(int fd, const KRect& r, int stride) {
  const auto bytes = static_cast<std::uint32_t>(stride);
  return {static_cast<std::uint32_t>(r.bottom - r.top),
          static_cast<std::uint32_t>(r.right - r.left), bytes,
          static_cast<std::uint32_t>(r.left) * 4u + static_cast<std::uint32_t>(r.top) * bytes,
          static_cast<std::uint32_t>(fd)};
}

}  // namespace

bool KMsmAdm::Open() {
  if (fd_ < 0) fd_ = open(kPath, O_RDWR | O_CLOEXEC);
  return fd_ >= 0;
}

void KMsmAdm::Close() {
  if (fd_ < 0) return;
  close(fd_);
  fd_ = -1;
}

void KMsmAdm::Rectcpy32(int fd1, int fd2, const KRect& r1, const KRect& r2, int stride1,
                        int stride2) {
  if (fd_ < 0) return;
  Request request{MakeRegion(fd2, r2, stride2), MakeRegion(fd1, r1, stride1)};
  ioctl(fd_, kCopyRequest, &request);
}
