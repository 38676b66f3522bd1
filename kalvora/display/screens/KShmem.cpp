// Attaching and detaching the shared-memory surface.
#include "kalvora/display/screens/KShmem.h"

#include <cerrno>
#include <cstdint>

#include <sys/shm.h>
#include <unistd.h>

namespace {

/// This process made the segment, and nobody has ever let go of it: nobody has seen it either,
/// unless somebody still looks.
bool IsNew(const shmid_ds& segment) {
  return segment.shm_cpid == getpid() && segment.shm_dtime == 0;
}

}  // namespace

void* KShmem::Get() {
  const int id = shmget(kKey, kBytes, IPC_CREAT | 0644);
  if (id < 0) return nullptr;
  void* const p = shmat(id, nullptr, 0);
  if (reinterpret_cast<std::intptr_t>(p) != -1) return p;
  const int reason = errno;
  shmid_ds segment{};
  if (shmctl(id, IPC_STAT, &segment) == 0 && IsNew(segment) && segment.shm_nattch == 0) {
    shmctl(id, IPC_RMID, nullptr);
  }
  errno = reason;
  return nullptr;
}

void KShmem::Release(void* p) { shmdt(p); }

void KShmem::Discard(void* p) {
  shmid_ds segment{};
  const int id = shmget(kKey, kBytes, 0);
  const bool isOurs =
      id >= 0 && shmctl(id, IPC_STAT, &segment) == 0 && IsNew(segment) && segment.shm_nattch == 1;
  shmdt(p);
  if (isOurs) shmctl(id, IPC_RMID, nullptr);
}
