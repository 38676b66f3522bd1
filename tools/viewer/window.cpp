// Showing the surface in a window, with the rate at which its picture changes.
#include "tools/viewer/window.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <string_view>

#include <SDL.h>

#include "examples/common/Error.h"

namespace {

constexpr int kMostZoom = 8;
constexpr Uint32 kLookEveryMs = 5;  // often enough to see every frame of a fast display
constexpr Uint32 kFindEveryMs = 200;
constexpr Uint32 kRateEveryMs = 1000;

class Window {
 public:
  explicit Window(int firstZoom) : zoom(firstZoom) {
    const int centred = SDL_WINDOWPOS_CENTERED;
    window = SDL_CreateWindow("kalvora-viewer", centred, centred, Width(), Height(), 0);
    if (window != nullptr) renderer = SDL_CreateRenderer(window, -1, 0);
    if (renderer != nullptr) {
      texture = SDL_CreateTexture(renderer, SDL_PIXELFORMAT_RGB888, SDL_TEXTUREACCESS_STREAMING,
                                  Surface::kWidth, Surface::kHeight);
    }
    SetTitle();
  }
  ~Window() {
    if (texture != nullptr) SDL_DestroyTexture(texture);
    if (renderer != nullptr) SDL_DestroyRenderer(renderer);
    if (window != nullptr) SDL_DestroyWindow(window);
  }
  Window(const Window&) = delete;
  Window& operator=(const Window&) = delete;

  bool IsOpen() const { return texture != nullptr; }

  void Show(const Surface& surface) {
    SDL_RenderClear(renderer);
    if (surface.Pixels() != nullptr) {
      SDL_UpdateTexture(texture, nullptr, surface.Pixels(), Surface::kStride);
      SDL_RenderCopy(renderer, texture, nullptr, nullptr);
    }
    SDL_RenderPresent(renderer);
  }
  /// What the title says behind the size.
  void Say(std::string what) {
    said = std::move(what);
    SetTitle();
  }
  void Zoom(int change) {
    zoom = std::clamp(zoom + change, 1, kMostZoom);
    SDL_SetWindowSize(window, Width(), Height());
    SetTitle();
  }

 private:
  void SetTitle() {
    const std::string title = "kalvora-viewer " + std::to_string(Surface::kWidth) + "x" +
                              std::to_string(Surface::kHeight) + " x" + std::to_string(zoom) +
                              ", " + said;
    if (window != nullptr) SDL_SetWindowTitle(window, title.c_str());
  }
  int Width() const { return static_cast<int>(Surface::kWidth) * zoom; }
  int Height() const { return static_cast<int>(Surface::kHeight) * zoom; }

  int zoom;
  std::string said = "waiting for a program";
  SDL_Window* window = nullptr;
  SDL_Renderer* renderer = nullptr;
  SDL_Texture* texture = nullptr;
};

enum class Wish { kNothing, kRedraw, kQuit };

Wish Handle(const SDL_Event& event, Window& window) {
  if (event.type == SDL_QUIT) return Wish::kQuit;
  if (event.type == SDL_WINDOWEVENT) return Wish::kRedraw;
  if (event.type != SDL_KEYDOWN) return Wish::kNothing;
  switch (event.key.keysym.sym) {
    case SDLK_ESCAPE:
    case SDLK_q:
      return Wish::kQuit;
    case SDLK_PLUS:
    case SDLK_EQUALS:
    case SDLK_KP_PLUS:
      window.Zoom(+1);
      return Wish::kRedraw;
    case SDLK_MINUS:
    case SDLK_KP_MINUS:
      window.Zoom(-1);
      return Wish::kRedraw;
    default:
      return Wish::kNothing;
  }
}

// True once in each period.
class Clock {
 public:
  explicit Clock(Uint32 everyMs) : period(everyMs) {}
  bool Strikes() {
    elapsed = SDL_GetTicks() - start;
    if (elapsed < period) return false;
    start += elapsed;
    return true;
  }
  /// Milliseconds from one stroke to the next.
  Uint32 Elapsed() const { return elapsed; }

 private:
  Uint32 period, start = SDL_GetTicks(), elapsed = 0;
};

void Run(Surface& surface, Window& window) {
  std::uint64_t shown = ~surface.Hash();
  unsigned frames = 0;
  Clock find(kFindEveryMs), rate(kRateEveryMs);
  for (;;) {
    bool redraw = find.Strikes() && surface.Find();
    SDL_Event event;
    while (SDL_PollEvent(&event) != 0) {
      const Wish wish = Handle(event, window);
      if (wish == Wish::kQuit) return;
      redraw = redraw || wish == Wish::kRedraw;
    }
    const std::uint64_t hash = surface.Hash();
    if (hash != shown) {
      ++frames;
      redraw = true;
    }
    shown = hash;
    if (redraw) window.Show(surface);
    if (rate.Strikes()) {
      const unsigned fps = (frames * 1000 + rate.Elapsed() / 2) / rate.Elapsed();
      window.Say(surface.IsDrawnOn() ? std::to_string(fps) + " fps" : "waiting for a program");
      frames = 0;
    }
    SDL_Delay(kLookEveryMs);
  }
}

// SDL's video, of a kind that people can see.
class Video {
 public:
  Video() {
    SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
    if (SDL_Init(SDL_INIT_VIDEO) != 0) {
      throw examples::Error(std::string("no window: ") + SDL_GetError());
    }
    const std::string_view driver = SDL_GetCurrentVideoDriver();
    if (driver == "dummy" || driver == "offscreen" || driver == "evdev") {
      SDL_Quit();
      throw examples::Error("no window: there is no window system (DISPLAY, WAYLAND_DISPLAY)");
    }
  }
  ~Video() { SDL_Quit(); }
};

}  // namespace

void ShowWindow(Surface& surface, int zoom) {
  const Video video;
  Window window(zoom);
  if (!window.IsOpen()) throw examples::Error(std::string("no window: ") + SDL_GetError());
  surface.Find();
  if (!surface.IsDrawnOn()) {
    std::fputs("kalvora-viewer: waiting for a program that draws on the shared-memory display\n",
               stderr);
  }
  Run(surface, window);
}
