// The calls of the C library that lead to devices: those for the board's go to the board, all
// others to the library.
#include <cstdarg>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

#include "tools/sim/board.h"

namespace {

#define SIM_HOOK __attribute__((visibility("default")))

template <typename Function>
Function* Next(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool IsOurs(const char* path) {
  return path != nullptr &&
         (std::strcmp(path, "/dev/fb0") == 0 || std::strcmp(path, "/dev/msm_adm") == 0);
}

mode_t ModeOf(int flags, std::va_list arguments) {
  const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
  return creates ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

int BoardIoctl(int fd, unsigned long request, void* argument) {
  sim::Board* const board = sim::Board::Existing();
  return board != nullptr ? board->Ioctl(fd, static_cast<unsigned>(request), argument)
                          : sim::Board::kNotOurs;
}

__attribute__((destructor)) void Finish() {
  if (sim::Board* const board = sim::Board::Existing()) board->Finish();
}

}  // namespace

// open(path, flags, mode) and its other names.
#define SIM_OPEN(name)                                                          \
  extern "C" SIM_HOOK int name(const char* path, int flags, ...) {              \
    if (IsOurs(path)) return sim::Board::Get().Open(path);                      \
    std::va_list arguments;                                                     \
    va_start(arguments, flags);                                                 \
    const mode_t mode = ModeOf(flags, arguments);                               \
    va_end(arguments);                                                          \
    return Next<int(const char*, int, ...)>(nullptr, #name)(path, flags, mode); \
  }
SIM_OPEN(open)
SIM_OPEN(open64)

// openat(folder, path, flags, mode) and its other name.
#define SIM_OPENAT(name)                                                                     \
  extern "C" SIM_HOOK int name(int folder, const char* path, int flags, ...) {               \
    if (IsOurs(path)) return sim::Board::Get().Open(path);                                   \
    std::va_list arguments;                                                                  \
    va_start(arguments, flags);                                                              \
    const mode_t mode = ModeOf(flags, arguments);                                            \
    va_end(arguments);                                                                       \
    return Next<int(int, const char*, int, ...)>(nullptr, #name)(folder, path, flags, mode); \
  }
SIM_OPENAT(openat)
SIM_OPENAT(openat64)

// What fortified programs call instead when no mode is given.
#define SIM_OPEN_2(name)                                             \
  extern "C" SIM_HOOK int name(const char* path, int flags) {        \
    if (IsOurs(path)) return sim::Board::Get().Open(path);           \
    return Next<int(const char*, int)>(nullptr, #name)(path, flags); \
  }
SIM_OPEN_2(__open_2)
SIM_OPEN_2(__open64_2)

#define SIM_OPENAT_2(name)                                                        \
  extern "C" SIM_HOOK int name(int folder, const char* path, int flags) {         \
    if (IsOurs(path)) return sim::Board::Get().Open(path);                        \
    return Next<int(int, const char*, int)>(nullptr, #name)(folder, path, flags); \
  }
SIM_OPENAT_2(__openat_2)
SIM_OPENAT_2(__openat64_2)

// ioctl, and what programs with 64-bit time call on 32-bit machines.
#define SIM_IOCTL(name)                                                               \
  extern "C" SIM_HOOK int name(int fd, unsigned long request, ...) {                  \
    std::va_list arguments;                                                           \
    va_start(arguments, request);                                                     \
    void* const argument = va_arg(arguments, void*);                                  \
    va_end(arguments);                                                                \
    const int answer = BoardIoctl(fd, request, argument);                             \
    if (answer != sim::Board::kNotOurs) return answer;                                \
    return Next<int(int, unsigned long, ...)>(nullptr, #name)(fd, request, argument); \
  }
SIM_IOCTL(ioctl)
SIM_IOCTL(__ioctl_time64)
