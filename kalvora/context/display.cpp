// The drawing context on a display: binding, presenting, and the frame-rate history.
#include <algorithm>

#include "kalvora/context/KSoftContext2D.h"
#include "kalvora/display/KLinuxFb.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/raster/KStack.h"

bool KSoftContext2D::SetDisplay(KDisplay display, unsigned index, KFormat format,
                                unsigned buffers) {
  mError = {};
  if (!NeedParts()) return false;
  const bool onDisplay = mFb->DisplayKind() != KDisplayNone;
  void* const pixels = mFb->SetDisplay(display, index, format, buffers);
  if (!pixels) {
    mError = mFb->LastError();
    if (onDisplay) UnbindTarget();  // its memory is gone; a pixmap stays bound
    return false;
  }
  DropLineBuffer();
  mTarget.Create(mFb->Width(), mFb->Height(), format, pixels, mFb->Stride());
  if (!BindStrips(format)) return false;
  const bool bound = display == KDisplayShared ? BorrowLineBuffer() : NewDisplayLineBuffer();
  ResetState();
  return bound;
}

/// A display of another depth than the fillers write gets no coverage line, so that nothing is
/// drawn.
bool KSoftContext2D::NewDisplayLineBuffer() {
  return mTarget.stride / 4 < mTarget.width || NewLineBuffer(mTarget.width);
}

/// The shared-memory surface and its back buffers bring one spare row behind the frame.
bool KSoftContext2D::BorrowLineBuffer() {
  if (!mStyle) return false;
  mStyle->lineBuffer = reinterpret_cast<std::int32_t*>(mTarget.Row32(mTarget.height));
  std::fill_n(mStyle->lineBuffer, mTarget.width, 0);
  return true;
}

/// An empty target, into which nothing is drawn.
void KSoftContext2D::UnbindTarget() {
  DropLineBuffer();
  mTarget.Create(0, 0, KFormat8888PM, nullptr, 0);
  ResetState();
}

void KSoftContext2D::Flip(bool copyBack, const KRect* dirty) {
  if (mFb && mFb->DisplayKind() != KDisplayNone) {
    void* const pixels = mFb->Flip(copyBack, dirty);
    if (pixels) {
      mTarget.Create(mFb->Width(), mFb->Height(), mTarget.format, pixels, mFb->Stride());
      NoteTarget();
    }
  }
  if (stack) stack->Collect();
}

void KSoftContext2D::SetDisplayAttribute(unsigned key, unsigned value) {
  if (!mFb) return;
  switch (key) {
    case 2:
      if (value == 1) mFb->DumpFps();
      mFb->ResetFps(value == 1 ? 0 : static_cast<int>(value));
      break;
    case 3:
      mFb->SetFpsInterval(value);
      break;
    case 4:
      mFb->SetRotation(value);
      break;
    case 5:
      mFb->SetDithering(value != 0);
      break;
    default:
      break;
  }
}
