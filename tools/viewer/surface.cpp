// Finding and reading the shared-memory surface.
#include "tools/viewer/surface.h"

#include <cerrno>
#include <cstring>
#include <string>

#include <sys/shm.h>

#include "examples/common/Error.h"

bool Surface::Find() {
  const int found = shmget(KShmem::kKey, KShmem::kBytes, 0);
  // A surface that was removed is still drawn on by whoever has it open.
  if (found == id || (found < 0 && errno == ENOENT)) return false;
  void* const p = found < 0 ? nullptr : shmat(found, nullptr, SHM_RDONLY);
  if (found < 0 || p == reinterpret_cast<void*>(-1)) {
    const std::string reason = std::strerror(errno);
    throw examples::Error("the surface (shared memory " + std::to_string(KShmem::kKey) +
                          ") cannot be read: " + reason);
  }
  if (pixels != nullptr) shmdt(pixels);
  id = found;
  pixels = static_cast<const std::uint8_t*>(p);
  return true;
}

Surface::~Surface() {
  if (pixels != nullptr) shmdt(pixels);
}

bool Surface::IsDrawnOn() const {
  shmid_ds segment{};
  return pixels != nullptr && shmctl(id, IPC_STAT, &segment) == 0 && segment.shm_nattch > 1;
}

std::uint64_t Surface::Hash() const {
  std::uint64_t hash = 0;
  for (unsigned i = 0; pixels != nullptr && i < kStride * kHeight; i += 8) {
    std::uint64_t word = 0;
    std::memcpy(&word, pixels + i, sizeof word);
    hash = (hash ^ word) * 0x9E3779B97F4A7C15u;
    hash ^= hash >> 29;
  }
  return hash;
}
