// The surface in shared memory and its back buffers.
#include "kalvora/display/screens/KShmScreen.h"

#include <cerrno>
#include <cstddef>
#include <cstdlib>

#include "kalvora/display/screens/KShmem.h"
#include "kalvora/support/failure.h"

KShmScreen::KShmScreen() {
  isSurface = true;
  digitsLast = true;
}

bool KShmScreen::Open(unsigned, unsigned, bool, KError& error) {
  buffers_[0] = static_cast<std::uint8_t*>(KShmem::Get());
  if (buffers_[0] == nullptr) {
    return kalvora::Fail(error, kalvora::ReasonOf(errno, KErrorDevice), errno,
                         "cannot attach shared memory %d", KShmem::kKey);
  }
  width = KShmem::kWidth;
  height = KShmem::kHeight;
  bpp = 32;
  stride = KShmem::kStride;
  return true;
}

/// There is always a surface to be had.
bool KShmScreen::Look(unsigned, KDisplayFacts& facts, KError&) {
  facts.width = KShmem::kWidth;
  facts.height = KShmem::kHeight;
  facts.bpp = 32;
  facts.buffers = 3;
  return true;
}

bool KShmScreen::MakeBuffers(unsigned count, KError& error) {
  for (unsigned i = 1; i < count; ++i) {
    buffers_[i] = static_cast<std::uint8_t*>(std::calloc(std::size_t{height} + 1, stride));
    if (buffers_[i] == nullptr) {
      return kalvora::Fail(error, KErrorMemory, ENOMEM, "no back buffers");
    }
  }
  return true;
}

KShmScreen::~KShmScreen() {
  for (unsigned i = 1; i < 3; ++i) std::free(buffers_[i]);
  if (buffers_[0] != nullptr) isBound ? KShmem::Release(buffers_[0]) : KShmem::Discard(buffers_[0]);
}

KShown KShmScreen::Show(unsigned index, const KRect* dirty, bool,
                        const std::atomic<bool>& cancelled) {
  if (index == 0) return KShown::kFlipped;
  CopyRect(0, index, dirty, cancelled);
  return KShown::kCopied;
}
