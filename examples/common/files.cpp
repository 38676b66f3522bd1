// Files: see the header.
#include "examples/common/files.h"

#include <cerrno>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "examples/common/Error.h"

namespace examples {

namespace {

constexpr std::size_t kLargest = std::size_t{256} << 20;

[[noreturn]] void Fail(const std::string& path, const std::string& reason) {
  throw Error(InputName(path) + ": " + reason);
}

class Descriptor {
 public:
  explicit Descriptor(const std::string& path)
      : number_(path == "-" ? dup(STDIN_FILENO) : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (number_ < 0) Fail(path, std::strerror(errno));
    struct stat status;
    if (fstat(number_, &status) == 0 && S_ISDIR(status.st_mode)) {
      close(number_);
      Fail(path, "is a folder, not a file");
    }
  }
  ~Descriptor() { close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int Number() const { return number_; }

 private:
  int number_;
};

void RefuseCompressed(const std::string& path, std::string_view bytes) {
  constexpr struct {
    std::string_view mark, tool;
  } kPackers[] = {{"\x1F\x8B", "gunzip"},
                  {"BZh", "bunzip2"},
                  {"\xFD"
                   "7zXZ",
                   "unxz"},
                  {"\x28\xB5\x2F\xFD", "unzstd"},
                  {"PK\x03\x04", "unzip"}};
  for (const auto& packer : kPackers) {
    if (bytes.starts_with(packer.mark)) {
      Fail(path, "is compressed; unpack it first, with " + std::string(packer.tool));
    }
  }
}

}  // namespace

std::string InputName(const std::string& path) { return path == "-" ? "standard input" : path; }

std::string ReadInput(const std::string& path) {
  const Descriptor file(path);
  std::string bytes;
  char block[65536];
  for (;;) {
    const ssize_t count = read(file.Number(), block, sizeof block);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(path, std::strerror(errno));
    if (count == 0) break;
    bytes.append(block, static_cast<std::size_t>(count));
    if (bytes.size() > kLargest) Fail(path, "is larger than 256 MB");
  }
  RefuseCompressed(path, bytes);
  return bytes;
}

void CheckInput(const std::string& path) { const Descriptor file(path); }

void ProtectInputs(const std::vector<std::string>& inputs, const std::string& output) {
  struct stat to, from;
  if (stat(output.c_str(), &to) != 0 || !S_ISREG(to.st_mode)) return;
  for (const std::string& input : inputs) {
    if (stat(input.c_str(), &from) == 0 && from.st_dev == to.st_dev && from.st_ino == to.st_ino) {
      throw UsageError(output + " is an input, and would be written over");
    }
  }
}

OutputFile::OutputFile(const std::string& path) : path_(path), part_(path) {
  struct stat status;
  if (path == "-") {
    path_ = "standard output";
    if (isatty(STDOUT_FILENO) != 0) throw Error("a terminal shows no pictures: redirect them");
  }
  direct_ = path == "-" || (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
  if (!direct_) part_ += ".part-" + std::to_string(getpid());
  const int flags = O_WRONLY | O_CLOEXEC | (direct_ ? 0 : O_CREAT | O_EXCL);
  const int descriptor = path == "-" ? dup(STDOUT_FILENO) : open(part_.c_str(), flags, 0666);
  if (descriptor >= 0) file_ = fdopen(descriptor, "wb");
  if (!file_) Fail(path_, std::strerror(errno));
}

OutputFile::~OutputFile() {
  if (file_) std::fclose(file_);
  if (!done_ && !direct_) unlink(part_.c_str());
}

void OutputFile::Finish() {
  std::FILE* file = file_;
  file_ = nullptr;
  const bool failed = std::ferror(file) != 0;  // before now: what is left may well be written
  if (std::fclose(file) != 0) Fail(path_, std::strerror(errno));
  if (failed) Fail(path_, std::strerror(EIO));
  if (!direct_ && std::rename(part_.c_str(), path_.c_str()) != 0) {
    Fail(path_, std::strerror(errno));
  }
  done_ = true;
}

}  // namespace examples
