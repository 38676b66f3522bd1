// Counts the library's calls of FreeType, and makes them fail on request.
#ifndef KALVORA_TESTS_TEXT_CALLS_H
#define KALVORA_TESTS_TEXT_CALLS_H

/// While one lives, some calls of FreeType by this thread are counted from its construction, and
/// the `failing`-th of those that can fail (1 is the first, 0 none) fails.
struct FreeTypeCalls {
  int lookups = 0;   ///< FT_Get_Char_Index
  int fallible = 0;  ///< FT_Set_Char_Size and FT_Load_Glyph
  int failing;

  explicit FreeTypeCalls(int failingCall = 0);
  ~FreeTypeCalls();
  FreeTypeCalls(const FreeTypeCalls&) = delete;
  FreeTypeCalls& operator=(const FreeTypeCalls&) = delete;
};

#endif
