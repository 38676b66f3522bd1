// The card's answers. The calls have libdrm's names: the display code is linked with these.
#include "tests/display/card.h"

#include <cerrno>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/mman.h>
#include <unistd.h>
#include <xf86drm.h>
#include <xf86drmMode.h>

#include "tests/display/rig.h"

namespace {

std::atomic<Card*> active{nullptr};
constexpr std::uint32_t kConnector = 31, kEncoder = 41, kCrtc = 51;
constexpr std::size_t kMemory = 1 << 20;

// By new, which never fails here: the card has memory when the display has none.
std::uint32_t* List(std::uint32_t value) { return new std::uint32_t(value); }

Rig* Of(const std::string& call) {
  Rig* const rig = Rig::Active();
  return rig->Record(call) ? rig : nullptr;
}

drmModeModeInfo Mode(unsigned width, unsigned height, bool preferred) {
  drmModeModeInfo mode{};
  mode.hdisplay = static_cast<std::uint16_t>(width);
  mode.vdisplay = static_cast<std::uint16_t>(height);
  mode.type = preferred ? DRM_MODE_TYPE_PREFERRED : 0;
  return mode;
}

}  // namespace

Card* Card::Active() { return active; }

Card::Card(const Settings& s) : settings(s), fd(memfd_create("card", 0)) {
  EXPECT_EQ(ftruncate(fd, kMemory), 0);
  isPlugged = s.connected;
  if (!s.isLit) shown = 0;
  active = this;
  Rig::Active()->cardFd = fd;
}

Card::~Card() {
  EXPECT_TRUE(buffers.empty());
  EXPECT_TRUE(framebuffers.empty());
  active = nullptr;
  Rig::Active()->cardFd = -1;
  close(fd);
}

std::vector<std::uint8_t> Card::Shown() {
  const std::lock_guard<std::mutex> guard(lock);
  const auto framebuffer = framebuffers.find(shown);
  if (framebuffer == framebuffers.end()) return {};
  const Memory& memory = buffers.at(framebuffer->second);
  std::vector<std::uint8_t> bytes(std::size_t{memory.pitch} * settings.height);
  EXPECT_EQ(pread(fd, bytes.data(), bytes.size(), static_cast<off_t>(memory.offset)),
            static_cast<ssize_t>(bytes.size()));
  return bytes;
}

// --- libdrm's calls

extern "C" int drmGetCap(int, std::uint64_t, std::uint64_t* value) {
  *value = active.load()->settings.hasDumb ? 1 : 0;
  return Of("cap") != nullptr ? 0 : -1;
}

extern "C" int drmIsMaster(int) { return active.load()->isMaster ? 1 : 0; }

extern "C" drmVersionPtr drmGetVersion(int) {
  static char name[] = "card";
  drmVersion version{};
  version.name = name;
  return new drmVersion(version);
}
extern "C" void drmFreeVersion(drmVersionPtr p) { delete p; }

extern "C" drmModeResPtr drmModeGetResources(int) {
  if (Of("resources") == nullptr) return nullptr;
  drmModeRes resources{};
  resources.count_connectors = resources.count_crtcs = 1;
  resources.connectors = List(kConnector);
  resources.crtcs = List(kCrtc);
  return new drmModeRes(resources);
}
extern "C" void drmModeFreeResources(drmModeResPtr p) {
  delete p->connectors;
  delete p->crtcs;
  delete p;
}

extern "C" drmModeConnectorPtr drmModeGetConnector(int, std::uint32_t id) {
  EXPECT_EQ(id, kConnector);
  if (Of("connector") == nullptr) return nullptr;
  const Card::Settings& s = active.load()->settings;
  drmModeConnector connector{};
  connector.connection = active.load()->isPlugged ? DRM_MODE_CONNECTED : DRM_MODE_DISCONNECTED;
  connector.encoder_id = s.isLit ? kEncoder : 0;
  connector.count_encoders = 1;
  connector.encoders = List(kEncoder);
  connector.count_modes = s.hasPreferred ? 2 : 1;
  connector.modes = new drmModeModeInfo[2];
  connector.modes[0] = s.hasPreferred ? Mode(7, 7, false) : Mode(s.width, s.height, false);
  connector.modes[1] = Mode(s.width, s.height, true);
  return new drmModeConnector(connector);
}
extern "C" void drmModeFreeConnector(drmModeConnectorPtr p) {
  delete p->encoders;
  delete[] p->modes;
  delete p;
}

extern "C" drmModeEncoderPtr drmModeGetEncoder(int, std::uint32_t id) {
  EXPECT_EQ(id, kEncoder);
  if (Of("encoder") == nullptr) return nullptr;
  drmModeEncoder encoder{};
  encoder.encoder_id = kEncoder;
  encoder.crtc_id = active.load()->settings.isLit ? kCrtc : 0;
  encoder.possible_crtcs = 1;
  return new drmModeEncoder(encoder);
}
extern "C" void drmModeFreeEncoder(drmModeEncoderPtr p) { delete p; }

extern "C" drmModeCrtcPtr drmModeGetCrtc(int, std::uint32_t id) {
  EXPECT_EQ(id, kCrtc);
  if (Of("crtc") == nullptr) return nullptr;
  drmModeCrtc crtc{};
  crtc.crtc_id = kCrtc;
  crtc.buffer_id = active.load()->shown;
  crtc.mode_valid = active.load()->settings.isLit ? 1 : 0;
  return new drmModeCrtc(crtc);
}
extern "C" void drmModeFreeCrtc(drmModeCrtcPtr p) { delete p; }

extern "C" int drmIoctl(int, unsigned long request, void* argument) {
  Card& card = *active.load();
  const std::lock_guard<std::mutex> guard(card.lock);
  if (request == DRM_IOCTL_MODE_DESTROY_DUMB) {
    EXPECT_EQ(card.buffers.erase(static_cast<drm_mode_destroy_dumb*>(argument)->handle), 1u);
    Rig::Active()->Record("destroy", false);
    return 0;
  }
  if (request == DRM_IOCTL_MODE_MAP_DUMB) {
    auto* const map = static_cast<drm_mode_map_dumb*>(argument);
    map->offset = card.buffers.at(map->handle).offset;
    return Of("map") != nullptr ? 0 : -1;
  }
  EXPECT_EQ(request, DRM_IOCTL_MODE_CREATE_DUMB);
  auto* const made = static_cast<drm_mode_create_dumb*>(argument);
  if (Of(Text("create %ux%ux%u", made->width, made->height, made->bpp)) == nullptr) return -1;
  errno = ENOMEM;
  if (card.buffers.size() == card.settings.buffers) return -1;
  const unsigned align = card.settings.pitchAlign;
  made->pitch = (made->width * made->bpp / 8 + align - 1) / align * align;
  made->size = (std::uint64_t{made->pitch} * made->height + 4095) / 4096 * 4096;
  made->handle = card.next++;
  const std::size_t offset = std::size_t{made->handle % 16} * (kMemory / 16);
  EXPECT_LE(made->size, kMemory / 16);
  card.buffers[made->handle] = {offset, static_cast<std::size_t>(made->size), made->pitch};
  return 0;
}

extern "C" int drmModeAddFB2(int, std::uint32_t, std::uint32_t, std::uint32_t format,
                             const std::uint32_t handles[4], const std::uint32_t pitches[4],
                             const std::uint32_t*, std::uint32_t* id, std::uint32_t) {
  Card& card = *active.load();
  if (Of(format == DRM_FORMAT_XRGB8888 ? "addfb xrgb" : "addfb 565") == nullptr) return -EIO;
  errno = EINVAL;
  if (format == DRM_FORMAT_XRGB8888 && !card.settings.takesWords) return -EINVAL;
  const std::lock_guard<std::mutex> guard(card.lock);
  EXPECT_EQ(card.buffers.at(handles[0]).pitch, pitches[0]);
  *id = 100 + card.next++;
  card.framebuffers[*id] = handles[0];
  return 0;
}

extern "C" int drmModeRmFB(int, std::uint32_t id) {
  Card& card = *active.load();
  const std::lock_guard<std::mutex> guard(card.lock);
  EXPECT_EQ(card.framebuffers.erase(id), 1u);
  Rig::Active()->Record("rmfb", false);
  return 0;
}

extern "C" int drmModeSetCrtc(int, std::uint32_t crtc, std::uint32_t framebuffer, std::uint32_t,
                              std::uint32_t, std::uint32_t* connectors, int count,
                              drmModeModeInfoPtr) {
  EXPECT_TRUE(crtc == kCrtc && count == 1 && *connectors == kConnector);
  Card& card = *active.load();
  if (Of(framebuffer == Card::kConsole ? "console" : "mode") == nullptr) return -EIO;
  if (!card.isMaster) return -EACCES;
  if (!card.isPlugged) return -EINVAL;
  card.shown = framebuffer;
  return 0;
}

extern "C" int drmModePageFlip(int, std::uint32_t, std::uint32_t framebuffer, std::uint32_t flags,
                               void* data) {
  EXPECT_EQ(flags, unsigned{DRM_MODE_PAGE_FLIP_EVENT});
  Card& card = *active.load();
  if (Rig::Active()->onRequest) Rig::Active()->onRequest(Rig::Caller(), 0);
  if (Of("flip") == nullptr) return -EIO;
  if (!card.knowsFlips) return -EINVAL;
  if (!card.isMaster) return -EACCES;
  if (!card.isPlugged) return -EINVAL;
  if (card.busy > 0 && card.busy-- > 0) return -EBUSY;
  const std::lock_guard<std::mutex> guard(card.lock);
  if (!card.waiting.empty()) return -EBUSY;
  card.shown = framebuffer;
  card.waiting.push_back(data);
  return 0;
}

extern "C" int drmModeDirtyFB(int, std::uint32_t framebuffer, drmModeClipPtr c, std::uint32_t n) {
  EXPECT_EQ(n, 1u);
  Card& card = *active.load();
  EXPECT_EQ(framebuffer, card.shown);
  if (Of(Text("dirty %u,%u %u,%u", c->x1, c->y1, c->x2, c->y2)) == nullptr) return -EIO;
  return card.settings.knowsDirty ? 0 : -ENOSYS;
}

extern "C" int drmHandleEvent(int fd, drmEventContextPtr context) {
  Card& card = *active.load();
  std::vector<void*> events;
  {
    const std::lock_guard<std::mutex> guard(card.lock);
    events.swap(card.waiting);
  }
  for (void* const data : events) context->page_flip_handler(fd, 0, 0, 0, data);
  return events.empty() ? -1 : 0;
}

/// Waiting takes no time: the rig's clock goes on instead.
extern "C" int __real_poll(pollfd* fds, nfds_t count, int timeoutMs);
extern "C" int __wrap_poll(pollfd* fds, nfds_t count, int timeoutMs) {
  Card* const card = active;
  if (card == nullptr) return __real_poll(fds, count, timeoutMs);
  if (count == 1) {
    const std::lock_guard<std::mutex> guard(card->lock);
    fds->revents = card->events && !card->waiting.empty() ? POLLIN : 0;
    if (fds->revents != 0) return 1;
  }
  Rig::Active()->clockOffsetUs += timeoutMs * 1000;
  usleep(100);
  return 0;
}
