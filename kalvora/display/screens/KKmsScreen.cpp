// Opening an output of a mode-setting driver, its buffers, and giving it back.
#define _FILE_OFFSET_BITS 64  // buffers lie beyond 2 GB in the device, on 32-bit machines too
#include "kalvora/display/screens/KKmsScreen.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <drm_fourcc.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xf86drm.h>

#include "kalvora/support/failure.h"

using kalvora::Fail;
using kalvora::ReasonOf;

bool KKmsScreen::Open(unsigned index, unsigned bitsPerPixel, bool orSimilar, KError& error) {
  std::snprintf(path_, sizeof path_, "/dev/dri/card%d", static_cast<int>(index));
  // Without blocking: two threads may look for the same event.
  output_.fd = open(path_, O_RDWR | O_CLOEXEC | O_NONBLOCK);
  if (output_.fd < 0) {
    return Fail(error, ReasonOf(errno, KErrorDevice), errno, "cannot open %s", path_);
  }
  owner_ = getpid();
  std::uint64_t hasDumb = 0;
  if (drmGetCap(output_.fd, DRM_CAP_DUMB_BUFFER, &hasDumb) != 0 || hasDumb == 0) {
    return Fail(error, KErrorDevice, 0, "%s has no buffers that a processor can draw into", path_);
  }
  if (drmIsMaster(output_.fd) == 0) {
    return Fail(error, KErrorBusy, 0, "somebody else controls %s", path_);
  }
  if (!ChooseOutput(error)) return false;
  width = output_.mode.hdisplay;
  height = output_.mode.vdisplay;
  errno = 0;
  for (const unsigned depth : {32u, 16u}) {
    const bool wanted = bitsPerPixel == 0 || bitsPerPixel == depth || orSimilar;
    if (!wanted || !MakeBuffer(buffers_[0], depth)) continue;
    bpp = depth;
    stride = buffers_[0].pitch;
    wantsShadow = depth == 16;
    if (wantsShadow) layout = KPixelLayout::Rgb565();
    return true;
  }
  return Fail(error, ReasonOf(errno, KErrorFormat), errno, "%s takes no buffer of %u bits a pixel",
              path_, bitsPerPixel != 0 ? bitsPerPixel : 32);
}

/// Opening shows nothing yet.
bool KKmsScreen::Look(unsigned index, KDisplayFacts& facts, KError& error) {
  const bool opens = Open(index, 32, true, error);
  if (output_.fd < 0) return false;
  drmVersion* const version = drmGetVersion(output_.fd);
  if (version != nullptr) {
    std::snprintf(facts.driver, sizeof facts.driver, "%s", version->name);
    drmFreeVersion(version);
  }
  facts.width = output_.mode.hdisplay;
  facts.height = output_.mode.vdisplay;
  facts.bpp = bpp;
  facts.hasShadow = wantsShadow;
  facts.flips = opens;
  KError ignored;
  while (opens && facts.buffers < 3 && MakeBuffers(facts.buffers + 1, ignored)) ++facts.buffers;
  return opens;
}

bool KKmsScreen::ChooseOutput(KError& error) {
  drmModeRes* const resources = drmModeGetResources(output_.fd);
  if (resources == nullptr) {
    return Fail(error, KErrorDevice, errno, "%s sets no modes", path_);
  }
  bool found = false;
  for (int i = 0; i < resources->count_connectors && !found; ++i) {
    found = TryConnector(*resources, resources->connectors[i]);
  }
  drmModeFreeResources(resources);
  if (!found) return Fail(error, KErrorNoDevice, 0, "%s: no display is connected", path_);
  console_ = drmModeGetCrtc(output_.fd, output_.crtc);
  return true;
}

bool KKmsScreen::TryConnector(const drmModeRes& resources, std::uint32_t id) {
  drmModeConnector* const connector = drmModeGetConnector(output_.fd, id);
  if (connector == nullptr) return false;
  const drmModeModeInfo* const modes = connector->modes;
  const drmModeModeInfo* const end = modes + connector->count_modes;
  const drmModeModeInfo* mode = std::find_if(
      modes, end, [](const drmModeModeInfo& m) { return (m.type & DRM_MODE_TYPE_PREFERRED) != 0; });
  if (mode == end) mode = modes;
  bool good = connector->connection == DRM_MODE_CONNECTED && modes != end && mode->hdisplay != 0 &&
              mode->vdisplay != 0;
  if (good) {
    output_.mode = *mode;
    output_.connector = id;
    output_.crtc = ChooseCrtc(resources, *connector);
    good = output_.crtc != 0;
  }
  drmModeFreeConnector(connector);
  return good;
}

/// The one that feeds the connector already, else the first that can.
std::uint32_t KKmsScreen::ChooseCrtc(const drmModeRes& resources,
                                     const drmModeConnector& connector) const {
  std::uint32_t present = 0;
  std::uint32_t possible = 0;
  for (int i = 0; i < connector.count_encoders; ++i) {
    drmModeEncoder* const encoder = drmModeGetEncoder(output_.fd, connector.encoders[i]);
    if (encoder == nullptr) continue;
    if (encoder->encoder_id == connector.encoder_id) present = encoder->crtc_id;
    possible |= encoder->possible_crtcs;
    drmModeFreeEncoder(encoder);
  }
  for (int i = 0; present == 0 && i < std::min(resources.count_crtcs, 32); ++i) {
    if ((possible >> i & 1) != 0) present = resources.crtcs[i];
  }
  return present;
}

bool KKmsScreen::MakeBuffers(unsigned count, KError& error) {
  for (unsigned i = 1; i < count; ++i) {
    if (buffers_[i].pixels == nullptr && !MakeBuffer(buffers_[i], bpp)) {
      return Fail(error, KErrorBuffers, errno, "%s gives %u buffers instead of %u", path_, i,
                  count);
    }
    if (buffers_[i].pitch != stride) {
      return Fail(error, KErrorRows, 0, "%s: buffers with rows of different lengths", path_);
    }
  }
  return true;
}

/// False, with errno, when the driver does not give one.
bool KKmsScreen::MakeBuffer(Buffer& buffer, unsigned depth) {
  drm_mode_create_dumb made{};
  made.width = width;
  made.height = height;
  made.bpp = depth;
  if (drmIoctl(output_.fd, DRM_IOCTL_MODE_CREATE_DUMB, &made) != 0) return false;
  buffer.handle = made.handle;
  buffer.pitch = made.pitch;
  buffer.bytes = static_cast<std::size_t>(made.size);
  const std::uint32_t handles[4] = {made.handle, 0, 0, 0};
  const std::uint32_t pitches[4] = {made.pitch, 0, 0, 0};
  const std::uint32_t offsets[4] = {};
  const std::uint32_t format = depth == 16 ? DRM_FORMAT_RGB565 : DRM_FORMAT_XRGB8888;
  drm_mode_map_dumb place{};
  place.handle = made.handle;
  // Rows of whole pixels, or nothing could be drawn into them.
  if (made.pitch % (depth / 8) == 0 && made.pitch >= width * (depth / 8) &&
      drmModeAddFB2(output_.fd, width, height, format, handles, pitches, offsets,
                    &buffer.framebuffer, 0) == 0 &&
      drmIoctl(output_.fd, DRM_IOCTL_MODE_MAP_DUMB, &place) == 0) {
    void* const p = mmap(nullptr, buffer.bytes, PROT_READ | PROT_WRITE, MAP_SHARED, output_.fd,
                         static_cast<off_t>(place.offset));
    if (p != MAP_FAILED) buffer.pixels = static_cast<std::uint8_t*>(p);
  }
  const int reason = errno;
  if (buffer.pixels == nullptr) Release(buffer);
  errno = reason;
  return buffer.pixels != nullptr;
}

void KKmsScreen::Release(Buffer& buffer) {
  if (buffer.pixels != nullptr) munmap(buffer.pixels, buffer.bytes);
  if (owner_ == getpid()) {
    if (buffer.framebuffer != 0) drmModeRmFB(output_.fd, buffer.framebuffer);
    drm_mode_destroy_dumb old{};
    old.handle = buffer.handle;
    if (buffer.handle != 0) drmIoctl(output_.fd, DRM_IOCTL_MODE_DESTROY_DUMB, &old);
  }
  buffer = {};
}

/// What fails here the kernel does when the device is closed.
void KKmsScreen::RestoreConsole() {
  if (console_ == nullptr) return;
  if (isShown_ && owner_ == getpid() && console_->mode_valid != 0 && console_->buffer_id != 0) {
    output_.Wait();
    drmModeSetCrtc(output_.fd, console_->crtc_id, console_->buffer_id, console_->x, console_->y,
                   &output_.connector, 1, &console_->mode);
  }
  drmModeFreeCrtc(console_);
}

KKmsScreen::~KKmsScreen() {
  RestoreConsole();
  for (Buffer& buffer : buffers_) Release(buffer);
  if (output_.fd >= 0) close(output_.fd);
}

KShown KKmsScreen::Show(unsigned index, const KRect*, bool force,
                        const std::atomic<bool>& cancelled) {
  if (index >= 3 || buffers_[index].framebuffer == 0) return KShown::kNot;
  const std::uint32_t framebuffer = buffers_[index].framebuffer;
  const bool shown = force ? output_.SetMode(framebuffer) : output_.Flip(framebuffer, cancelled);
  if (shown) isShown_ = true;
  return shown ? KShown::kFlipped : KShown::kNot;
}

bool KKmsScreen::ShowFirst(KError& error) {
  isShown_ = output_.SetMode(buffers_[0].framebuffer);
  if (isShown_) return true;
  if (errno == EACCES || errno == EPERM) {
    return Fail(error, KErrorBusy, errno, "somebody else controls %s", path_);
  }
  return Fail(error, ReasonOf(errno, KErrorDevice), errno, "%s: cannot set the mode", path_);
}

void KKmsScreen::DrawnOver(unsigned index, const KRect* dirty) {
  if (index >= 3 || buffers_[index].framebuffer == 0) return;
  const auto limit = [](std::uint32_t v) { return static_cast<std::int16_t>(std::min(v, 32767u)); };
  const KRect whole{0, 0, limit(width), limit(height)};
  output_.MarkDirty(buffers_[index].framebuffer, dirty != nullptr ? *dirty : whole);
}
