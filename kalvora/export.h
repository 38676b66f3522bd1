// KALVORA_API marks what the shared object exports, KALVORA_LOCAL what it does not; the version
// macros follow the SONAME.
#ifndef KALVORA_EXPORT_H
#define KALVORA_EXPORT_H

#if __cplusplus < 202002L
#error "Kalvora needs C++20: compile with -std=c++20"
#endif

#define KALVORA_VERSION_MAJOR 0
#define KALVORA_VERSION_MINOR 1
#define KALVORA_VERSION_PATCH 0

// The library is compiled with hidden visibility: only what carries this mark can be linked
// against.
#define KALVORA_API __attribute__((visibility("default")))
// Private members of a marked class, which nobody links against.
#define KALVORA_LOCAL __attribute__((visibility("hidden")))

#endif
