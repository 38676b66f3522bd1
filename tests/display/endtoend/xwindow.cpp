// Finding windows and reading their pixels.
#include "tests/display/endtoend/xwindow.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/keysym.h>

namespace {

Display* AsDisplay(void* p) { return static_cast<Display*>(p); }

}  // namespace

XWindow::~XWindow() {
  if (display != nullptr) XCloseDisplay(AsDisplay(display));
}

bool XWindow::Connect(const std::string& server) {
  // The window may change while it is looked at: such a look sees nothing, and is no error.
  XSetErrorHandler([](Display*, XErrorEvent*) { return 0; });
  display = XOpenDisplay(server.c_str());
  return display != nullptr;
}

unsigned long XWindow::Find(std::string* title) {
  Window root = 0;
  Window parent = 0;
  Window* children = nullptr;
  unsigned count = 0;
  Display* const d = AsDisplay(display);
  XQueryTree(d, DefaultRootWindow(d), &root, &parent, &children, &count);
  Window found = 0;
  for (unsigned i = 0; i < count; ++i) {
    char* name = nullptr;
    if (XFetchName(d, children[i], &name) == 0 || name == nullptr) continue;
    if (std::string(name).rfind(start, 0) == 0) {
      found = children[i];
      *title = name;
    }
    XFree(name);
  }
  if (children != nullptr) XFree(children);
  return found;
}

std::string XWindow::Title() {
  std::string title;
  Find(&title);
  return title;
}

std::optional<XWindow::Picture> XWindow::Look() {
  std::string title;
  Display* const d = AsDisplay(display);
  const Window window = Find(&title);
  XWindowAttributes shape;
  if (window == 0 || XGetWindowAttributes(d, window, &shape) == 0) return {};
  if (shape.map_state != IsViewable) return {};
  Picture picture{static_cast<unsigned>(shape.width), static_cast<unsigned>(shape.height), {}};
  XImage* const image =
      XGetImage(d, window, 0, 0, picture.width, picture.height, AllPlanes, ZPixmap);
  if (image == nullptr) return {};
  for (int y = 0; y < shape.height; ++y) {
    for (int x = 0; x < shape.width; ++x) {
      picture.pixels.push_back(static_cast<std::uint32_t>(XGetPixel(image, x, y)) & 0xFFFFFF);
    }
  }
  XDestroyImage(image);
  return picture;
}

void XWindow::PressPlus() {
  std::string title;
  Display* const d = AsDisplay(display);
  XEvent event{};
  event.xkey.type = KeyPress;
  event.xkey.display = d;
  event.xkey.window = Find(&title);
  event.xkey.root = DefaultRootWindow(d);
  event.xkey.same_screen = True;
  event.xkey.keycode = XKeysymToKeycode(d, XK_KP_Add);
  XSendEvent(d, event.xkey.window, True, KeyPressMask, &event);
  XFlush(d);
}
