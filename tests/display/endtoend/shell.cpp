// Running programs, and folders for what they write.
#include "tests/display/endtoend/shell.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/wait.h>

Result Shell(const std::string& command) {
  Result result{-1, ""};
  std::FILE* const pipe = popen(("{ " + command + "; } 2>&1").c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[512];
  for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
    result.output.append(buffer, n);
  }
  const int status = pclose(pipe);
  result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return result;
}

Folder::Folder() : path(testing::TempDir() + "kalvora-XXXXXX") {
  EXPECT_NE(mkdtemp(path.data()), nullptr);
}

Folder::~Folder() { std::filesystem::remove_all(path); }

std::vector<std::string> Folder::Files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(path)) {
    names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string Folder::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

bool IsolateSharedMemory() {
  static const bool isolated =
      unshare(CLONE_NEWIPC) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0;
  return isolated;
}
