// Notes: tells the user once about each thing that a drawing asks for and does not get.
#ifndef EXAMPLES_SVG_NOTES_H
#define EXAMPLES_SVG_NOTES_H

#include <set>
#include <string>

namespace svg {

/// Writes to standard error: "kalvora-svg: FILE: skipping <text>".
class Notes {
 public:
  explicit Notes(std::string file) : file_(std::move(file)) {}
  void Once(const std::string& message);

 private:
  std::string file_;
  std::set<std::string> said_;
};

}  // namespace svg

#endif
