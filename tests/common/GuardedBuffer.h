// GuardedBuffer: memory that ends, or begins, at a page no one may touch.
#ifndef KALVORA_TESTS_COMMON_GUARDEDBUFFER_H
#define KALVORA_TESTS_COMMON_GUARDEDBUFFER_H

#include <cstddef>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

/// `size` bytes between two guard pages: the byte after the last one (or, for kAtStart, the byte
/// before the first) lies on a guard page, so that reading or writing it crashes at once.
class GuardedBuffer {
 public:
  enum Edge { kAtEnd, kAtStart };

  explicit GuardedBuffer(std::size_t size, Edge edge = kAtEnd) : bytes(size) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    const std::size_t inner = (size + page - 1) / page * page;
    mapped = inner + 2 * page;
    void* p = mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED) std::abort();
    base = static_cast<unsigned char*>(p);
    if (inner > 0 && mprotect(base + page, inner, PROT_READ | PROT_WRITE) != 0) std::abort();
    first = base + page + (edge == kAtEnd ? inner - size : 0);
  }
  ~GuardedBuffer() { munmap(base, mapped); }
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;

  std::size_t size() const { return bytes; }
  unsigned char* data() const { return first; }
  unsigned char* begin() const { return first; }
  unsigned char* end() const { return first + bytes; }
  /// The first byte as a T; with kAtEnd it is aligned when `size` is a multiple of T's alignment.
  template <typename T>
  T* As() const {
    return static_cast<T*>(static_cast<void*>(first));
  }

 private:
  unsigned char* base;
  std::size_t mapped;
  unsigned char* first;
  std::size_t bytes;
};

#endif
