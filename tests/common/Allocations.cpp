// Allocations: the wrappers that the linker puts before the C allocator.
#include "tests/common/Allocations.h"

#include <cstddef>
#include <new>

namespace {

thread_local bool counting = false;
thread_local int calls = 0;
thread_local int failingCall = 0;

bool MustFail() { return counting && ++calls == failingCall; }

}  // namespace

extern "C" {

void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* p, std::size_t size);

void* __wrap_malloc(std::size_t size) { return MustFail() ? nullptr : __real_malloc(size); }
void* __wrap_calloc(std::size_t count, std::size_t size) {
  return MustFail() ? nullptr : __real_calloc(count, size);
}
void* __wrap_realloc(void* p, std::size_t size) {
  return MustFail() ? nullptr : __real_realloc(p, size);
}

}  // extern "C"

// The library's objects come from here.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return MustFail() ? nullptr : ::operator new(size);
}

Allocations::Allocations(int failing) {
  counting = true;
  calls = 0;
  failingCall = failing;
}

Allocations::~Allocations() { counting = false; }

int Allocations::Count() const { return calls; }
