// Showing the surface in a window, with the rate at which its picture changes.
#include "tools/viewer/window.h"

#include <algorithm>
#include <cstdio>

#include <SDL.h>

namespace {

constexpr int kMostZoom = 8;
constexpr Uint32 kLookEveryMs = 5;  // often enough to see every frame of a fast display
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
    SetTitle(0);
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
    SDL_UpdateTexture(texture, nullptr, surface.Pixels(), Surface::kStride);
    SDL_RenderCopy(renderer, texture, nullptr, nullptr);
    SDL_RenderPresent(renderer);
  }
  void SetTitle(unsigned framesPerSecond) {
    char title[64];
    std::snprintf(title, sizeof title, "kalvora-viewer %ux%u x%d, %u fps", Surface::kWidth,
                  Surface::kHeight, zoom, framesPerSecond);
    if (window != nullptr) SDL_SetWindowTitle(window, title);
    rate = framesPerSecond;
  }
  void Zoom(int change) {
    zoom = std::clamp(zoom + change, 1, kMostZoom);
    SDL_SetWindowSize(window, Width(), Height());
    SetTitle(rate);
  }

 private:
  int Width() const { return static_cast<int>(Surface::kWidth) * zoom; }
  int Height() const { return static_cast<int>(Surface::kHeight) * zoom; }

  int zoom;
  unsigned rate = 0;
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

void Run(const Surface& surface, Window& window) {
  std::uint64_t shown = ~surface.Hash();
  unsigned frames = 0;
  Uint32 rateStart = SDL_GetTicks();
  for (;;) {
    bool redraw = false;
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
    const Uint32 elapsed = SDL_GetTicks() - rateStart;
    if (elapsed >= kRateEveryMs) {
      window.SetTitle((frames * 1000 + elapsed / 2) / elapsed);
      frames = 0;
      rateStart += elapsed;
    }
    SDL_Delay(kLookEveryMs);
  }
}

}  // namespace

int ShowWindow(const Surface& surface, int zoom) {
  SDL_SetHint(SDL_HINT_RENDER_SCALE_QUALITY, "nearest");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    std::fprintf(stderr, "kalvora-viewer: no window: %s\n", SDL_GetError());
    return 1;
  }
  int status = 0;
  {
    Window window(std::clamp(zoom, 1, kMostZoom));
    if (window.IsOpen()) {
      Run(surface, window);
    } else {
      std::fprintf(stderr, "kalvora-viewer: no window: %s\n", SDL_GetError());
      status = 1;
    }
  }
  SDL_Quit();
  return status;
}
