// The viewer's window in an X server, seen from outside. Comes behind GoogleTest: X11 defines
// macros.
#ifndef KALVORA_TESTS_DISPLAY_ENDTOEND_XWINDOW_H
#define KALVORA_TESTS_DISPLAY_ENDTOEND_XWINDOW_H

#include <cstdint>
#include <string>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

/// The viewer's top-level window.
class XWindow {
 public:
  XWindow() = default;
  ~XWindow() {
    if (display != nullptr) XCloseDisplay(display);
  }
  XWindow(const XWindow&) = delete;
  XWindow& operator=(const XWindow&) = delete;

  /// False while the server does not answer.
  bool Connect(const std::string& server) {
    // The window may change while it is looked at: such a look sees nothing, and is no error.
    XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
    display = XOpenDisplay(server.c_str());
    return display != nullptr;
  }

  /// The title; empty while there is no such window.
  std::string Title() {
    Window root = 0;
    Window* children = nullptr;
    unsigned count = 0;
    std::string title;
    XQueryTree(display, DefaultRootWindow(display), &root, &root, &children, &count);
    for (unsigned i = 0; i < count; ++i) {
      char* name = nullptr;
      if (XFetchName(display, children[i], &name) == 0 || name == nullptr) continue;
      if (std::string(name).rfind("kalvora-viewer", 0) == 0) {
        window = children[i];
        title = name;
      }
      XFree(name);
    }
    if (children != nullptr) XFree(children);
    return title;
  }

  /// True when the window has this size and all its pixels, 0x00RRGGBB, are those of `pixelAt`.
  template <typename PixelAt>
  bool Shows(unsigned width, unsigned height, PixelAt pixelAt) {
    XWindowAttributes shape;
    if (Title().empty() || XGetWindowAttributes(display, window, &shape) == 0) return false;
    if (shape.map_state != IsViewable || shape.width != static_cast<int>(width) ||
        shape.height != static_cast<int>(height)) {
      return false;
    }
    XImage* const image = XGetImage(display, window, 0, 0, width, height, AllPlanes, ZPixmap);
    if (image == nullptr) return false;
    unsigned same = 0;
    for (unsigned i = 0; i < width * height; ++i) {
      const unsigned x = i % width;
      const unsigned y = i / width;
      const auto pixel = XGetPixel(image, static_cast<int>(x), static_cast<int>(y));
      same += (static_cast<std::uint32_t>(pixel) & 0xFFFFFF) == pixelAt(x, y);
    }
    XDestroyImage(image);
    return same == width * height;
  }

  /// Sends the key "+" of the number pad to the window that was looked at.
  void PressPlus() {
    XEvent event{};
    event.xkey.type = KeyPress;
    event.xkey.display = display;
    event.xkey.window = window;
    event.xkey.root = DefaultRootWindow(display);
    event.xkey.same_screen = True;
    event.xkey.keycode = XKeysymToKeycode(display, XK_KP_Add);
    XSendEvent(display, window, True, KeyPressMask, &event);
    XFlush(display);
  }

 private:
  Display* display = nullptr;
  Window window = 0;
};

#endif
