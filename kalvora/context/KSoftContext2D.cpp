// KSoftContext2D: targets and what belongs to them.
#include "kalvora/context/KSoftContext2D.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <new>

#include "kalvora/display/KLinuxFb.h"
#include "kalvora/paint/KStrips.h"
#include "kalvora/paint/KStyleContext2D.h"
#include "kalvora/raster/KClipRings.h"
#include "kalvora/raster/KStack.h"
#include "kalvora/raster/rectangle.h"
#include "kalvora/support/failure.h"

std::uint64_t KSoftContext2D::Id = 0;

KSoftContext2D::KSoftContext2D(KBackend, unsigned) {
  NeedParts();
  mTarget.SetQuality(KSamplingBilinear);
}

KSoftContext2D::~KSoftContext2D() {
  DropLineBuffer();
  delete mStyle;
  delete mClipRings;
  delete mFb;
}

// What there was no memory for is made with the next bind.
bool KSoftContext2D::NeedParts() {
  if (!mStyle) mStyle = new (std::nothrow) KStyleContext2D;
  if (!mClipRings) mClipRings = new (std::nothrow) KClipRings;
  if (!mFb) mFb = new (std::nothrow) KLinuxFb;
  if (!stack) stack = new (std::nothrow) KStack;
  return (mStyle && mClipRings && mFb && stack) || NoMemory();
}

bool KSoftContext2D::NoMemory() {
  return kalvora::Fail(mError, KErrorMemory, ENOMEM, "no memory for the context");
}

bool KSoftContext2D::RenderToTexture(KSoftPixmap* pixmap) {
  mError = {};
  const bool complete = NeedParts();
  if (mFb) mFb->Close();
  if (!pixmap) {
    UnbindTarget();
    return true;
  }
  if (pixmap->pixels && pixmap->pixelShift == 2 && !pixmap->HasWords()) {
    UnbindTarget();
    return kalvora::Fail(mError, KErrorRows, 0, "the pixmap's rows do not lie at whole pixels");
  }
  mTarget.Create(pixmap->width, pixmap->height, pixmap->format, pixmap->pixels, pixmap->stride);
  mTarget.transform = pixmap->transform;
  mTarget.repeatRule = pixmap->repeatRule;
  mTarget.pixelShift = pixmap->pixelShift;
  mTarget.stride = pixmap->stride;
  mTarget.quality = pixmap->quality;
  mTarget.targetFlag = pixmap->targetFlag;
  if (!BindStrips(mTarget.format)) {
    DropLineBuffer();
    return false;
  }
  const bool bound = NewLineBuffer(mTarget.width);
  ResetState();
  return bound && complete;
}

// Format 1 and values that are no format at all keep whatever fillers the context had.
bool KSoftContext2D::BindStrips(KFormat format) {
  switch (format) {
    case KFormat0888PM:
      mStripInit = &KStrips<KColor_0888_PM>::VTable;
      return true;
    case KFormat8888PM:
      mStripInit = &KStrips<KColor_8888_PM>::VTable;
      return true;
    case KFormatMask8:
    case KFormat16:
    case KFormat24:
    case KFormat8888Straight:
      return kalvora::Fail(mError, KErrorFormat, 0, "format %d is none to draw into", format);
    default:
      return true;
  }
}

// A line that is as long already stays: binding in every frame takes nothing from the heap.
bool KSoftContext2D::NewLineBuffer(unsigned width) {
  if (mStyle && mStyle->ownsLineBuffer && width != 0 && width == mLineWidth) return true;
  DropLineBuffer();
  if (!mStyle || std::size_t{width} > SIZE_MAX / sizeof(std::int32_t)) return NoMemory();
  mStyle->lineBuffer = static_cast<std::int32_t*>(std::calloc(width, sizeof(std::int32_t)));
  mStyle->ownsLineBuffer = mStyle->lineBuffer != nullptr;
  mLineWidth = width;
  return mStyle->ownsLineBuffer || width == 0 || NoMemory();
}

void KSoftContext2D::DropLineBuffer() {
  mCanDraw = false;
  if (!mStyle) return;
  if (mStyle->ownsLineBuffer) std::free(mStyle->lineBuffer);
  mStyle->lineBuffer = nullptr;
  mStyle->ownsLineBuffer = false;
}

void KSoftContext2D::ResetState() {
  SetFont(nullptr);
  SetFallbackFont(nullptr);
  SetFallbackFonts(nullptr, nullptr);
  ResetClip();
  SetNoStroke();
  SetNoFill();
  mTransform.Identity();
  mStroke.opacity = 256;
  SetFillColor({0, 0, 0, 255});
  mFill.opacity = 256;
  mFillRule = KFillNonZero;
  ResetStroke();
  NoteTarget();
}

// A target that can be drawn into has fillers, 32-bit pixels and a coverage line. Looked at with
// each bind and flip, so that draws need not.
void KSoftContext2D::NoteTarget() {
  const bool drawable = mTarget.format == KFormat0888PM || mTarget.format == KFormat8888PM;
  mCanDraw = drawable && mStripInit && mTarget.HasWords() && mStyle && mClipRings &&
             mStyle->lineBuffer && stack && mTarget.width != 0 && mTarget.height != 0;
}

void KSoftContext2D::GetPixels(KRect rect, void* buffer) const { mTarget.Get(rect, buffer); }

void KSoftContext2D::Clear(KColor32 color, const KRect* rect) {
  if (!CanDraw()) return;
  KPaint paint;
  paint.type = KPaintColor;
  paint.color = color.PreMultiply();
  const auto width = static_cast<std::int32_t>(std::min<std::uint32_t>(mTarget.width, INT32_MAX));
  const auto height = static_cast<std::int32_t>(std::min<std::uint32_t>(mTarget.height, INT32_MAX));
  kalvora::PixelBox box;
  if (rect) {
    box.x0 = std::max<std::int32_t>(rect->left, 0);
    box.y0 = std::max<std::int32_t>(rect->top, 0);
    box.x1 = std::min<std::int32_t>(rect->right, width);
    box.y1 = std::min<std::int32_t>(rect->bottom, height);
  } else {
    // The row padding is filled too.
    box.x1 = std::max(width, static_cast<std::int32_t>(mTarget.stride >> 2));
    box.y1 = height;
  }
  kalvora::FillBox(Painting(paint), box);
}
