// Finding and reading the shared-memory surface.
#include "tools/viewer/surface.h"

#include <cerrno>
#include <cstring>

#include <sys/shm.h>

Surface::Surface() {
  const std::string key = std::to_string(KShmem::kKey);
  const int id = shmget(KShmem::kKey, KShmem::kBytes, 0);
  if (id < 0 && errno == ENOENT) {
    problem =
        "there is no surface: no program has opened the shared-memory display (key " + key + ")";
    return;
  }
  void* const p = id < 0 ? nullptr : shmat(id, nullptr, SHM_RDONLY);
  if (id < 0 || p == reinterpret_cast<void*>(-1)) {
    problem = "the surface (key " + key + ") cannot be read: " + std::strerror(errno);
    return;
  }
  pixels = static_cast<const std::uint8_t*>(p);
}

Surface::~Surface() {
  if (pixels != nullptr) shmdt(pixels);
}

std::uint64_t Surface::Hash() const {
  std::uint64_t hash = 0;
  for (unsigned i = 0; i < kStride * kHeight; i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, pixels + i, sizeof word);
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 29;
  }
  return hash;
}
