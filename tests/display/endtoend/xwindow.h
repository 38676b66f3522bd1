// A program's window in an X server, seen from outside.
#ifndef KALVORA_TESTS_DISPLAY_ENDTOEND_XWINDOW_H
#define KALVORA_TESTS_DISPLAY_ENDTOEND_XWINDOW_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// The top-level window whose title starts with some text.
class XWindow {
 public:
  struct Picture {
    unsigned width, height;
    std::vector<std::uint32_t> pixels;  ///< 0x00RRGGBB
  };

  explicit XWindow(std::string startOfTitle) : start(std::move(startOfTitle)) {}
  ~XWindow();
  XWindow(const XWindow&) = delete;
  XWindow& operator=(const XWindow&) = delete;

  /// False while the server does not answer.
  bool Connect(const std::string& server);
  /// The whole title; empty while there is no such window.
  std::string Title();
  /// What the window shows, when it can be seen.
  std::optional<Picture> Look();
  /// Sends the key "+" of the number pad.
  void PressPlus();

 private:
  unsigned long Find(std::string* title);

  std::string start;
  void* display = nullptr;
};

#endif
