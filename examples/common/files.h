// Files that programs read and write: "-" is standard input or output, and every failure has a
// sentence.
#ifndef EXAMPLES_COMMON_FILES_H
#define EXAMPLES_COMMON_FILES_H

#include <cstdio>
#include <string>
#include <vector>

namespace examples {

/// What messages call it: "standard input" for "-".
std::string InputName(const std::string& path);

/// A whole file; throws Error for what is missing, a folder, unreadable, compressed, or larger than
/// 256 MB.
std::string ReadInput(const std::string& path);

/// Throws Error unless it is a file that can be read.
void CheckInput(const std::string& path);

/// Throws UsageError when writing `output` would replace one of the inputs.
void ProtectInputs(const std::vector<std::string>& inputs, const std::string& output);

/// A file that appears under its name only when it is complete. What is no regular file (a device,
/// a pipe) is written directly: it must not be replaced. So is standard output, "-", unless it is a
/// terminal. Throws Error.
class OutputFile {
 public:
  explicit OutputFile(const std::string& path);
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  std::FILE* Stream() const { return file_; }
  void Finish();

 private:
  std::string path_;
  std::string part_;
  std::FILE* file_ = nullptr;
  bool direct_ = false;
  bool done_ = false;
};

}  // namespace examples

#endif
