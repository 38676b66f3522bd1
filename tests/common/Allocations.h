// Allocations: counts what the library takes from the C allocator, and makes it fail on request.
#ifndef KALVORA_TESTS_COMMON_ALLOCATIONS_H
#define KALVORA_TESTS_COMMON_ALLOCATIONS_H

/// While one lives, the allocations of this thread are counted from its construction: malloc,
/// calloc, realloc and strdup of what is linked statically (the library included), what FreeType
/// takes through the library, and new. The `failing`-th of them (1 is the first, 0 none) returns
/// null, and with `persistently` all that follow do, too. The new that throws is counted but never
/// fails.
class Allocations {
 public:
  explicit Allocations(int failing = 0, bool persistently = false);
  ~Allocations();
  Allocations(const Allocations&) = delete;
  Allocations& operator=(const Allocations&) = delete;

  /// Calls so far, the failed ones included.
  int Count() const;

  /// Blocks that this thread has taken and not given back, also while nothing is counted. Under the
  /// address sanitizer, which finds leaks itself, those of new are missing.
  static int Live();
};

#endif
