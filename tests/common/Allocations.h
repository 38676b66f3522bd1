// Allocations: counts what the library takes from the C allocator, and makes it fail on request.
#ifndef KALVORA_TESTS_COMMON_ALLOCATIONS_H
#define KALVORA_TESTS_COMMON_ALLOCATIONS_H

/// While one lives, the calls of malloc, calloc, realloc and new (std::nothrow) on this thread are
/// counted from its construction, and the `failing`-th of them (1 is the first, 0 none) returns
/// null.
class Allocations {
 public:
  explicit Allocations(int failing = 0);
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  /// Calls so far, the failed one included.
  int Count() const;
};

#endif
