// Running programs, and folders for what they write.
#ifndef KALVORA_TESTS_DISPLAY_ENDTOEND_SHELL_H
#define KALVORA_TESTS_DISPLAY_ENDTOEND_SHELL_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

struct Result {
  int status;          ///< of the shell command
  std::string output;  ///< standard output and standard error
};

/// Runs a shell command.
inline Result Shell(const std::string& command) {
  Result result{-1, ""};
  std::FILE* const pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  for (int c; (c = std::getc(pipe)) != EOF;) result.output += static_cast<char>(c);
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

/// A fresh folder that goes away with the object.
class Folder {
 public:
  Folder() : path(testing::TempDir() + "kalvora-XXXXXX") {
    EXPECT_NE(mkdtemp(path.data()), nullptr);
  }
  ~Folder() { std::filesystem::remove_all(path); }
  Folder(const Folder&) = delete;
  Folder& operator=(const Folder&) = delete;

  std::string Path(const std::string& name) const { return path + "/" + name; }
  /// The names of its files, in order.
  std::set<std::string> Files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  /// The contents of a file; empty when there is none.
  std::string Read(const std::string& name) const {
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

 private:
  std::string path;
};

#endif
