// Binding a display, and keeping its buffers current.
#include "kalvora/display/KLinuxFb.h"

#include <algorithm>
#include <cerrno>
#include <new>

#include "kalvora/display/KMsmAdm.h"
#include "kalvora/display/flip/KFbThread.h"
#include "kalvora/display/flip/KFlipper.h"
#include "kalvora/display/screens/KShadowScreen.h"
#include "kalvora/display/screens/screens.h"
#include "kalvora/support/failure.h"

using kalvora::Fail;

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

bool OpenMover(KMsmAdm& mover, KError& error) {
  return mover.Open() ||
         Fail(error, KErrorDataMover, errno, "cannot open the data mover %s", KMsmAdm::kPath);
}

bool Contains(const KRect& outer, const KRect& inner) {
  return inner.left >= outer.left && inner.top >= outer.top && inner.right <= outer.right &&
         inner.bottom <= outer.bottom;
}

}  // namespace

KLinuxFb::KLinuxFb() { NeedFlipper(); }

KLinuxFb::~KLinuxFb() {
  Close();
  delete flipper_;
}

/// Makes the flipper; there is always one, unless memory has run out.
bool KLinuxFb::NeedFlipper() {
  if (flipper_ != nullptr) return true;
  flipper_ = new (std::nothrow) KFlipper;
  if (flipper_ == nullptr) return Fail(error_, KErrorMemory, ENOMEM, "no display");
  flipper_->ResetFps(1);
  flipper_->ResetFps(fpsCapacity_);
  flipper_->SetFpsInterval(fpsIntervalMs_);
  return true;
}

KScreen* KLinuxFb::Screen() const { return flipper_ != nullptr ? flipper_->screen : nullptr; }

bool KLinuxFb::Open(KDisplay kind, unsigned fbIndex, unsigned bpp) {
  return Open(kind, fbIndex, bpp, false);
}

bool KLinuxFb::Open(KDisplay kind, unsigned index, unsigned bpp, bool orSimilar) {
  error_ = {};
  if (!kalvora::IsScreen(kind))
    return Fail(error_, KErrorArgument, 0, "no display of kind %d", kind);
  if (!NeedFlipper()) return false;
  if (flipper_->screen != nullptr) Close();
  if (!NeedFlipper()) return false;
  flipper_->screen = kalvora::NewScreen(kind, error_);
  if (flipper_->screen == nullptr || !flipper_->screen->Open(index, bpp, orSimilar, error_)) {
    return false;
  }
  displayKind_ = kind;
  return true;
}

bool KLinuxFb::Look(KDisplay kind, unsigned index, KDisplayFacts& facts, KError& error) {
  facts = {};
  error = {};
  if (!kalvora::IsScreen(kind))
    return Fail(error, KErrorArgument, 0, "no display of kind %d", kind);
  KScreen* const screen = kalvora::NewScreen(kind, error);
  bool works = screen != nullptr && screen->Look(index, facts, error);
  if (works && kUseMover && screen->wantsMover && !screen->wantsShadow) {
    KMsmAdm mover;
    works = OpenMover(mover, error);
  }
  delete screen;
  return works;
}

void* KLinuxFb::SetDisplay(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount) {
  Close();
  error_ = {};
  if (bufferCount < 1 || bufferCount > 3) {
    Fail(error_, KErrorArgument, 0, "a display has 1 to 3 buffers, not %u", bufferCount);
    return nullptr;
  }
  if (!Bind(kind, fbIndex, format, bufferCount)) {
    Close();
    return nullptr;
  }
  return BackBuffer();
}

bool KLinuxFb::Bind(KDisplay kind, unsigned fbIndex, KFormat format, unsigned bufferCount) {
  const bool isDrawn = format == KFormat0888PM || format == KFormat8888PM;
  if (!Open(kind, fbIndex, DepthOf(format), isDrawn)) return false;
  if (isDrawn && !AddShadow()) return false;
  KScreen& screen = *flipper_->screen;
  if (!screen.MakeBuffers(bufferCount, error_)) return false;
  flipper_->bufferCount = bufferCount;
  if (!screen.ShowFirst(error_)) return false;
  backIndex_ = bufferCount > 1 ? 1 : 0;
  hasPrevDirty_ = false;
  asyncFlip_ = bufferCount > 2 && KFbThread::Start(*this) != nullptr;
  screen.isBound = !screen.wantsMover || StartMover();
  return screen.isBound;
}

/// Where the renderer cannot draw into the screen itself, or not upright, it draws into a shadow.
bool KLinuxFb::AddShadow() {
  if (rotation_ == 0 && !flipper_->screen->wantsShadow) return true;
  auto* const shadow = new (std::nothrow) KShadowScreen(flipper_->screen, {rotation_, dithering_});
  if (shadow == nullptr) return Fail(error_, KErrorMemory, ENOMEM, "no display");
  flipper_->screen = shadow;
  return shadow->Open(0, 0, true, error_);
}

bool KLinuxFb::StartMover() {
  if constexpr (!kUseMover) return true;
  adm_ = new (std::nothrow) KMsmAdm;
  if (adm_ == nullptr) return Fail(error_, KErrorMemory, ENOMEM, "no data mover");
  return OpenMover(*adm_, error_);
}

void KLinuxFb::Close() {
  if (flipWorker_ != nullptr && !flipWorker_->Stop()) {
    flipper_ = nullptr;  // the thread's now
    NeedFlipper();
  }
  flipWorker_ = nullptr;
  asyncFlip_ = false;
  backIndex_ = 0;
  displayKind_ = KDisplayNone;
  delete adm_;
  adm_ = nullptr;
  if (flipper_ != nullptr) flipper_->Close();
}

void* KLinuxFb::Flip(bool copyBack, const KRect* dirty) {
  if (flipper_ == nullptr) return nullptr;
  const unsigned count = flipper_->bufferCount;
  if (count == 0) {
    flipper_->DrawFps(backIndex_);
    return BackBuffer();
  }
  KScreen& screen = *flipper_->screen;
  KRect clipped;
  if (dirty != nullptr) {
    clipped = screen.Clip(*dirty);
    dirty = &clipped;
  }
  if (count == 1) {
    flipper_->DrawFps(backIndex_);
    screen.DrawnOver(backIndex_, dirty);
    return BackBuffer();
  }
  unsigned shown = 0;
  const bool wasAsync = asyncFlip_;
  if (wasAsync) asyncFlip_ = flipWorker_->Send(copyBack, backIndex_, dirty, shown);
  if (!asyncFlip_) {
    // The screen may lack what a thread that was given up had to show: the first frame is whole.
    ProcessFlip(flipper_->frontIndex, backIndex_, copyBack, wasAsync ? nullptr : dirty);
    shown = flipper_->frontIndex;
  }
  // The buffers take turns, but nothing is drawn into one that is or may stay on screen: a surface,
  // or where a driver that does not pan is.
  unsigned next = (backIndex_ + 1) % count;
  if (next == shown) next = (next + 1) % count;

  if (count == 3 && !screen.isSurface) {
    TbufPreserve(static_cast<int>(next), static_cast<int>(backIndex_), copyBack, dirty);
  } else if (copyBack && next != backIndex_) {
    CopyRect(next, backIndex_, dirty);
  }
  backIndex_ = next;
  return BackBuffer();
}

void KLinuxFb::ProcessFlip(unsigned front, unsigned back, bool copyBack, const KRect* dirty) {
  if (Screen() == nullptr) return;
  const KRect clipped = dirty != nullptr ? Screen()->Clip(*dirty) : KRect{};
  flipper_->BeginFlip(back);
  flipper_->EndFlip(front, back, copyBack && dirty != nullptr ? &clipped : nullptr,
                    kNeverCancelled);
}

void KLinuxFb::TbufPreserve(int next, int back, bool copyBack, const KRect* dirty) {
  const auto to = static_cast<unsigned>(next);
  const auto from = static_cast<unsigned>(back);
  const KRect full{0, 0, static_cast<std::int16_t>(std::min(Width(), 32767u)),
                   static_cast<std::int16_t>(std::min(Height(), 32767u))};
  // Each buffer has missed two frames when its turn comes: the one now shown and the one before.
  if (hasPrevDirty_) CopyRect(to, from, &prevDirty_);
  if (copyBack) {
    const bool covered =
        hasPrevDirty_ && (dirty == nullptr ? prevDirty_ == full : Contains(prevDirty_, *dirty));
    if (!covered) CopyRect(to, from, dirty);
    prevDirty_ = dirty != nullptr ? *dirty : full;
  }
  hasPrevDirty_ = copyBack;
}

void KLinuxFb::CopyRect(unsigned dst, unsigned src, const KRect* rect) {
  if (Screen() == nullptr) return;
  KRect clipped;
  if (rect != nullptr) {
    clipped = Screen()->Clip(*rect);
    if (clipped.IsEmpty()) return;
    rect = &clipped;
  }
  if (!MoveRect(dst, src, rect)) Screen()->CopyRect(dst, src, rect, kNeverCancelled);
}

/// Copies by the data mover; false when it cannot do it.
bool KLinuxFb::MoveRect(unsigned dst, unsigned src, const KRect* rect) {
  const KScreen& screen = *Screen();
  const int to = screen.MoverFd(dst);
  const int from = screen.MoverFd(src);
  if (adm_ == nullptr || screen.bpp != 32 || to < 0 || from < 0) return false;
  // Its rectangles count rows from the start of the memory, in 16 bits.
  const std::uint32_t height = screen.height;
  if (screen.width > 32767 || std::uint64_t{height} * (std::max(dst, src) + 1) > 32767) {
    return false;
  }
  const KRect whole{0, 0, static_cast<std::int16_t>(screen.width),
                    static_cast<std::int16_t>(height)};
  const auto inBuffer = [&](unsigned index) {
    KRect r = rect != nullptr ? *rect : whole;
    r.top = static_cast<std::int16_t>(r.top + static_cast<int>(height * index));
    r.bottom = static_cast<std::int16_t>(r.bottom + static_cast<int>(height * index));
    return r;
  };
  const int stride = static_cast<int>(screen.stride);
  adm_->Rectcpy32(to, from, inBuffer(dst), inBuffer(src), stride, stride);
  return true;
}

bool KLinuxFb::SetRotation(unsigned degrees) {
  if (degrees % 90 != 0 || degrees >= 360) return false;
  rotation_ = degrees;
  return true;
}

void KLinuxFb::DisplayBuffer(unsigned index, const KRect* dirty, bool force) {
  if (Screen() != nullptr) Screen()->Show(index, dirty, force, kNeverCancelled);
}

int KLinuxFb::WaitForVsync() { return Screen() != nullptr ? Screen()->WaitForVsync() : 0; }

void KLinuxFb::DrawFps(int index) {
  if (flipper_ != nullptr) flipper_->DrawFps(static_cast<unsigned>(index));
}

void* KLinuxFb::BackBuffer() const {
  return Screen() != nullptr ? Screen()->Address(backIndex_) : nullptr;
}

std::uint32_t KLinuxFb::Width() const { return Screen() != nullptr ? Screen()->width : 0; }
std::uint32_t KLinuxFb::Height() const { return Screen() != nullptr ? Screen()->height : 0; }
std::uint32_t KLinuxFb::Stride() const { return Screen() != nullptr ? Screen()->stride : 0; }

void KLinuxFb::ResetFps(int capacity) {
  if (capacity > 0) fpsCapacity_ = capacity;
  if (flipper_ != nullptr) flipper_->ResetFps(capacity);
}

void KLinuxFb::DumpFps() {
  if (flipper_ != nullptr) flipper_->DumpFps();
}

void KLinuxFb::SetFpsInterval(unsigned milliseconds) {
  fpsIntervalMs_ = static_cast<int>(std::min(milliseconds, 2147483647u));
  if (flipper_ != nullptr) flipper_->SetFpsInterval(fpsIntervalMs_);
}

int KGetDirtyRects(KRect*, unsigned, unsigned, unsigned) { return 0; }
