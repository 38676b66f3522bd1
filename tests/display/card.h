// The card: a mode-setting driver in memory, which stands in for libdrm in these tests.
#ifndef KALVORA_TESTS_DISPLAY_CARD_H
#define KALVORA_TESTS_DISPLAY_CARD_H

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include <drm_fourcc.h>

/// "/dev/dri/card0", while one exists within a Rig, which notes its calls and lets them fail. Its
/// output has two modes, the second one preferred. Page flips are done at once; their events wait
/// to be read.
class Card {
 public:
  struct Settings {
    unsigned width = 20, height = 12;
    unsigned pitchAlign = 4;
    bool hasDumb = true;
    bool connected = true;
    bool hasPreferred = true;
    bool takesWords = true;  ///< XRGB8888, or else RGB565 alone
    bool knowsDirty = true;
    bool isLit = true;     ///< the console is on screen when it is opened
    unsigned buffers = 8;  ///< how many it gives
  };

  Card() : Card(Settings()) {}
  explicit Card(const Settings& s);
  /// Checks that all that was taken was given back.
  ~Card();

  // What happens while it is in use.
  std::atomic<bool> isMaster{true};
  std::atomic<bool> isPlugged{true};
  std::atomic<bool> knowsFlips{true};
  std::atomic<int> busy{0};        ///< so many page flips are answered with EBUSY
  std::atomic<bool> events{true};  ///< events of page flips come

  /// What the output shows: rows of the framebuffer. Empty when it is not one of the card's.
  std::vector<std::uint8_t> Shown();
  /// Where it lies; null likewise.
  const std::uint8_t* ShownAt();
  bool ShowsConsole() const { return shown == kConsole; }

  // The driver's side, for the calls of libdrm.
  static constexpr std::uint32_t kConsole = 99;
  struct Memory {
    std::size_t offset, size;
    unsigned pitch;
  };
  Settings settings;
  int fd = -1;  ///< the memory
  std::mutex lock;
  std::map<std::uint32_t, Memory> buffers;              ///< by handle
  std::map<std::uint32_t, std::uint32_t> framebuffers;  ///< their handles
  std::uint32_t next = 1;
  std::atomic<std::uint32_t> shown{kConsole};
  std::vector<void*> waiting;  ///< user data of events that nobody has read
  bool wasShown = false;

  static Card* Active();
};

#endif
