// KALVORA_API marks what the shared object exports; the version macros follow the SONAME.
#ifndef KALVORA_EXPORT_H
#define KALVORA_EXPORT_H

#define KALVORA_VERSION_MAJOR 0
#define KALVORA_VERSION_MINOR 1
#define KALVORA_VERSION_PATCH 0

// The library is compiled with hidden visibility: only what carries this mark can be linked
// against.
#define KALVORA_API __attribute__((visibility("default")))

#endif
