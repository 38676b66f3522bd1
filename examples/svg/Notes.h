// Notes: tells the user once about each thing that a drawing asks for and does not get.
#ifndef EXAMPLES_SVG_NOTES_H
#define EXAMPLES_SVG_NOTES_H

#include <set>
#include <string>

namespace svg {

/// Writes to standard error: "kalvora-svg: FILE: skipping <text>". A quiet one writes nothing.
class Notes {
 public:
  explicit Notes(std::string file, bool quiet = false) : file_(std::move(file)), quiet_(quiet) {}
  void Once(const std::string& message);

 private:
  std::string file_;
  bool quiet_;
  std::set<std::string> said_;
};

}  // namespace svg

#endif
