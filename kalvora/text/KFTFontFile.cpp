// KFTFontFile: mapping a file.
#include "kalvora/text/KFTFontFile.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "kalvora/support/failure.h"

namespace {

// Of a system call that failed just now.
KErrorCode Reason() {
  const KErrorCode reason = kalvora::ReasonOf(errno, KErrorFile);
  return reason == KErrorPermission || reason == KErrorMemory ? reason : KErrorFile;
}

}  // namespace

bool KFTFontFile::Map(const char* newPath, KError* why) {
  KError unread;
  KError& error = why ? *why : unread;
  fd = open(newPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return kalvora::Fail(error, Reason(), errno, "cannot open %s", newPath);
  // Descriptor 0 is refused, deliberately: a process that closed its standard input has put a font
  // where others will read what they take for that input.
  if (fd == 0) {
    return kalvora::Fail(error, KErrorFile, 0, "%s would become the standard input", newPath);
  }
  struct stat status;
  if (fstat(fd, &status) != 0) {
    return kalvora::Fail(error, Reason(), errno, "cannot look at %s", newPath);
  }
  if (!S_ISREG(status.st_mode)) {
    return kalvora::Fail(error, KErrorFile, 0, "%s is no regular file", newPath);
  }
  if (status.st_size <= 0 || status.st_size > PTRDIFF_MAX) {
    return kalvora::Fail(error, KErrorNotAFont, 0, "%s is %s", newPath,
                         status.st_size > 0 ? "too large" : "empty");
  }
  size = static_cast<std::size_t>(status.st_size);
  data = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd, 0);
  if (data == MAP_FAILED) {
    data = nullptr;
    return kalvora::Fail(error, Reason(), errno, "cannot map %s", newPath);
  }
  path = strdup(newPath);
  return path || kalvora::Fail(error, KErrorMemory, ENOMEM, "cannot open %s", newPath);
}

void KFTFontFile::Borrow(const void* memory, std::size_t bytes) {
  data = memory;
  size = bytes;
}

bool KFTFontFile::IsAt(const char* otherPath) const {
  return path && otherPath && std::strcmp(path, otherPath) == 0;
}

void KFTFontFile::Unmap() {
  std::free(path);
  path = nullptr;
  if (fd != -1) {
    if (data) munmap(const_cast<void*>(data), size);
    close(fd);
  }
  fd = -1;
  data = nullptr;
  size = 0;
}

// A lock, because not every processor we run on counts 64 bits atomically.
std::uint64_t KFTSharedFile::NextSerial() {
  static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  static std::uint64_t last = 0;
  pthread_mutex_lock(&mutex);
  const std::uint64_t next = ++last;
  pthread_mutex_unlock(&mutex);
  return next;
}
