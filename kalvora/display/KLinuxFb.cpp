// Binding a display, and keeping its buffers current.
#include "kalvora/display/KLinuxFb.h"

#include <algorithm>
#include <new>

#include "kalvora/display/KFbScreen.h"
#include "kalvora/display/KFbThread.h"
#include "kalvora/display/KMsmAdm.h"

namespace {

constexpr bool kUseMover = KALVORA_MSM_ADM != 0;
const std::atomic<bool> kNeverCancelled{false};

unsigned DepthOf(KFormat format) {
  switch (format) {
    case KFormatMask8:
      return 8;
    case KFormat16:
      return 16;
    case KFormat24:
      return 24;
    case KFormat0888PM:
    case KFormat8888PM:
      return 32;
    default:
      return 0;
  }
}

bool Contains(const KRect& outer, const KRect& inner) {
  return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
         inner.bottom <= outer.bottom;
}

}  // namespace

KLinuxFb::KLinuxFb() { NeedScreen(); }

KLinuxFb::~KLinuxFb() {
  Close();
  delete screen;
}

/// Makes the screen object; there is always one, unless memory has run out.
bool KLinuxFb::NeedScreen() {
  if (screen != nullptr) return true;
  screen = new (std::nothrow) KFbScreen;
  if (screen == nullptr) return false;
  screen->ResetFps(1);
  screen->ResetFps(fpsCapacity);
  screen->SetFpsInterval(fpsIntervalMs);
  return true;
}

bool KLinuxFb::Open(KDisplay kind, unsigned fbIndex, unsigned bpp) {
  if (kind != KDisplayFramebuffer || !NeedScreen()) return false;
  if (screen->fd >= 0 || screen->mapping != nullptr) Close();
  return NeedScreen() && screen->Open(fbIndex, bpp);
}

void* KLinuxFb::SetDisplay(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount) {
  Close();
  if (bufferCount < 1 || bufferCount > 3) return nullptr;
  if (!Bind(kind, fbIndex, format, bufferCount)) {
    Close();
    return nullptr;
  }
  return BackBuffer();
}

bool KLinuxFb::Bind(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount) {
  if (!NeedScreen()) return false;
  const bool opened =
      kind == KDisplayShared ? screen->OpenShared() : Open(kind, fbIndex, DepthOf(format));
  if (!opened || (screen->isDevice && bufferCount > screen->available)) return false;

  screen->bufferCount = bufferCount;
  if (!screen->DisplayBuffer(0, nullptr, true, kNeverCancelled)) return false;
  backIndex = bufferCount > 1 ? 1 : 0;
  hasPrevDirty = false;
  if (!screen->MakeBuffers(bufferCount)) return false;
  asyncFlip = bufferCount > 2 && KFbThread::Start(*this) != nullptr;
  return StartMover();
}

bool KLinuxFb::StartMover() {
  if constexpr (!kUseMover) return true;
  adm = new (std::nothrow) KMsmAdm;
  return adm != nullptr && adm->Open();
}

void KLinuxFb::Close() {
  if (flipWorker != nullptr && !flipWorker->Stop()) {
    screen = nullptr;  // the thread's now
    NeedScreen();
  }
  flipWorker = nullptr;
  asyncFlip = false;
  backIndex = 0;
  delete adm;
  adm = nullptr;
  if (screen != nullptr) screen->Close();
}

void* KLinuxFb::Flip(bool copyBack, const KRect* dirty) {
  if (screen == nullptr) return nullptr;
  const unsigned count = screen->bufferCount;
  if (count < 2) {
    screen->DrawFps(backIndex);
    return BackBuffer();
  }
  KRect clipped;
  if (dirty != nullptr) {
    clipped = screen->Clip(*dirty);
    dirty = &clipped;
  }
  unsigned shown = 0;
  if (asyncFlip) asyncFlip = flipWorker->Send(copyBack, backIndex, dirty, shown);
  if (!asyncFlip) {
    ProcessFlip(screen->frontIndex, backIndex, copyBack, dirty);
    shown = screen->frontIndex;
  }
  // The buffers take turns, but nothing is drawn into one that is or may stay on screen: the
  // surface itself of shared memory, or where a driver that does not pan is.
  unsigned next = (backIndex + 1) % count;
  if (next == shown) next = (next + 1) % count;

  if (screen->isDevice && count == 3) {
    TbufPreserve(static_cast<int>(next), static_cast<int>(backIndex), copyBack, dirty);
  } else if (copyBack && next != backIndex) {
    CopyRect(next, backIndex, dirty);
  }
  backIndex = next;
  return BackBuffer();
}

void KLinuxFb::ProcessFlip(unsigned front, unsigned back, bool copyBack, const KRect* dirty) {
  if (screen == nullptr) return;
  const KRect clipped = dirty != nullptr ? screen->Clip(*dirty) : KRect{};
  screen->BeginFlip(back);
  screen->EndFlip(front, back, copyBack && dirty != nullptr ? &clipped : nullptr, kNeverCancelled);
}

void KLinuxFb::TbufPreserve(int next, int back, bool copyBack, const KRect* dirty) {
  if (screen == nullptr) return;
  const auto to = static_cast<unsigned>(next);
  const auto from = static_cast<unsigned>(back);
  const KRect full{0, 0, static_cast<std::int16_t>(std::min(Width(), 32767u)),
                   static_cast<std::int16_t>(std::min(Height(), 32767u))};
  // Each buffer has missed two frames when its turn comes: the one now shown and the one before.
  if (hasPrevDirty) CopyRect(to, from, &prevDirty);
  if (copyBack) {
    const bool covered =
        hasPrevDirty && (dirty == nullptr ? prevDirty == full : Contains(prevDirty, *dirty));
    if (!covered) CopyRect(to, from, dirty);
    prevDirty = dirty != nullptr ? *dirty : full;
  }
  hasPrevDirty = copyBack;
}

void KLinuxFb::CopyRect(unsigned dst, unsigned src, const KRect* rect) {
  if (screen == nullptr) return;
  KRect clipped;
  if (rect != nullptr) {
    clipped = screen->Clip(*rect);
    if (clipped.IsEmpty()) return;
    rect = &clipped;
  }
  if (!MoveRect(dst, src, rect)) screen->CopyRect(dst, src, rect);
}

/// Copies by the data mover; false when it cannot do it.
bool KLinuxFb::MoveRect(unsigned dst, unsigned src, const KRect* rect) {
  if (adm == nullptr || screen->bpp != 32 || !screen->IsMapped(dst) || !screen->IsMapped(src)) {
    return false;
  }
  // Its rectangles count rows from the start of the memory, in 16 bits.
  const std::uint32_t height = screen->height;
  if (screen->width > 32767 || std::uint64_t{height} * (std::max(dst, src) + 1) > 32767) {
    return false;
  }
  const KRect whole{0, 0, static_cast<std::int16_t>(screen->width),
                    static_cast<std::int16_t>(height)};
  const auto inBuffer = [&](unsigned index) {
    KRect r = rect != nullptr ? *rect : whole;
    r.top = static_cast<std::int16_t>(r.top + static_cast<int>(height * index));
    r.bottom = static_cast<std::int16_t>(r.bottom + static_cast<int>(height * index));
    return r;
  };
  const int stride = static_cast<int>(screen->stride);
  adm->Rectcpy32(screen->fd, screen->fd, inBuffer(dst), inBuffer(src), stride, stride);
  return true;
}

void KLinuxFb::DisplayBuffer(unsigned index, const KRect* dirty, bool force) {
  if (screen != nullptr) screen->DisplayBuffer(index, dirty, force, kNeverCancelled);
}

int KLinuxFb::WaitForVsync() { return screen != nullptr ? screen->WaitForVsync() : 0; }

void KLinuxFb::DrawFps(int index) {
  if (screen != nullptr) screen->DrawFps(static_cast<unsigned>(index));
}

void* KLinuxFb::BackBuffer() const { return screen->Address(backIndex); }

std::uint32_t KLinuxFb::Width() const { return screen != nullptr ? screen->width : 0; }
std::uint32_t KLinuxFb::Height() const { return screen != nullptr ? screen->height : 0; }
std::uint32_t KLinuxFb::Stride() const { return screen != nullptr ? screen->stride : 0; }

KDisplay KLinuxFb::DisplayKind() const {
  return screen != nullptr ? screen->displayKind : KDisplayNone;
}

void KLinuxFb::ResetFps(int capacity) {
  if (capacity > 0) fpsCapacity = capacity;
  if (screen != nullptr) screen->ResetFps(capacity);
}

void KLinuxFb::DumpFps() {
  if (screen != nullptr) screen->DumpFps();
}

void KLinuxFb::SetFpsInterval(unsigned milliseconds) {
  fpsIntervalMs = static_cast<int>(std::min(milliseconds, 2147483647u));
  if (screen != nullptr) screen->SetFpsInterval(fpsIntervalMs);
}

int KGetDirtyRects(KRect*, unsigned, unsigned, unsigned) { return 0; }
