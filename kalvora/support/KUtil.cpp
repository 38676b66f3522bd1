// KUtil: lines of the error log.
#include "kalvora/support/KUtil.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

void KUtil::LogError(const char* format, ...) {
  const std::time_t now = std::time(nullptr);
  char stamp[32] = "";
  if (ctime_r(&now, stamp) == nullptr) stamp[0] = 0;  // a year beyond its four digits
  stamp[sizeof stamp - 1] = 0;
  if (const std::size_t length = std::strlen(stamp); length > 0) stamp[length - 1] = 0;

  std::FILE* file = std::fopen("/var/log/kalvora-err.log", "ae");
  if (file == nullptr) return;
  std::fprintf(file, "[%s] ", stamp);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(file, format, arguments);
  va_end(arguments);
  std::fclose(file);
}
