// KUtil: the error log.
#ifndef KALVORA_SUPPORT_KUTIL_H
#define KALVORA_SUPPORT_KUTIL_H

struct KUtil {
  /// Appends "[time] " and the formatted text to /var/log/kalvora-err.log; the format brings its
  /// own newline. Says nothing when the file cannot be opened. Any thread may call it.
  static void LogError(const char* format, ...) __attribute__((format(printf, 1, 2)));
};

#endif
