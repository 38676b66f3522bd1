// Running programs, and folders for what they write.
#ifndef KALVORA_TESTS_DISPLAY_ENDTOEND_SHELL_H
#define KALVORA_TESTS_DISPLAY_ENDTOEND_SHELL_H

#include <string>
#include <vector>

struct Result {
  int status;          ///< of the shell command
  std::string output;  ///< standard output and standard error
};

/// Runs a shell command.
Result Shell(const std::string& command);

/// A fresh folder that goes away with the object.
class Folder {
 public:
  Folder();
  ~Folder();
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string Path(const std::string& name) const { return path + "/" + name; }
  /// The names of its files, in order.
  std::vector<std::string> Files() const;
  /// The contents of a file; empty when there is none.
  std::string Read(const std::string& name) const;

 private:
  std::string path;
};

/// Takes this process into a System V shared memory of its own, so that tests on one machine do not
/// meet. False when the system does not allow it.
bool IsolateSharedMemory();

#endif
