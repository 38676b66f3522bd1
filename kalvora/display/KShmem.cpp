// Attaching and detaching the shared-memory surface.
#include "kalvora/display/KShmem.h"

#include <cstdint>

#include <sys/shm.h>

void* KShmem::Get() {
  const int id = shmget(kKey, kBytes, IPC_CREAT | 0644);
  if (id < 0) return nullptr;
  void* const p = shmat(id, nullptr, 0);
  return reinterpret_cast<std::intptr_t>(p) == -1 ? nullptr : p;
}

void KShmem::Release(void* p) { shmdt(p); }
