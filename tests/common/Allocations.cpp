// Allocations: the wrappers that the linker puts before the C allocator.
#include "tests/common/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool counting = false;
thread_local bool failsOn = false;
thread_local int calls = 0;
thread_local int failingCall = 0;
thread_local int live = 0;

bool MustFail() {
  if (!counting) return false;
  ++calls;
  return failingCall != 0 && (failsOn ? calls >= failingCall : calls == failingCall);
}

void* Taken(void* p) {
  live += p != nullptr;
  return p;
}

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* p, std::size_t size);
char* __real_strdup(const char* text);
void __real_free(void* p);

void* __wrap_malloc(std::size_t size) { return MustFail() ? nullptr : Taken(__real_malloc(size)); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return MustFail() ? nullptr : Taken(__real_calloc(count, size));
}
void* __wrap_realloc(void* p, std::size_t size) {
  if (MustFail()) return nullptr;
  void* moved = __real_realloc(p, size);
  return p ? moved : Taken(moved);
}
char* __wrap_strdup(const char* text) {
  return MustFail() ? nullptr : static_cast<char*>(Taken(__real_strdup(text)));
}
void __wrap_free(void* p) {
  live -= p != nullptr;
  __real_free(p);
}

}  // extern "C"

#ifdef __SANITIZE_ADDRESS__

// The sanitizer's own operators check that new meets delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return MustFail() ? nullptr : ::operator new(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return MustFail() ? nullptr : ::operator new[](size);
}

#else

void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return std::malloc(size); }
void* operator new(std::size_t size) {
  if (counting) ++calls;
  if (void* p = Taken(__real_malloc(size ? size : 1))) return p;
  std::abort();
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }

#endif

Allocations::Allocations(int failing, bool persistently) {
  counting = true;
  calls = 0;
  failingCall = failing;
  failsOn = persistently;
}

Allocations::~Allocations() { counting = false; }

int Allocations::Count() const { return calls; }

int Allocations::Live() { return live; }
