// Counts the library's calls of FreeType, and makes them fail on request.
#ifndef KALVORA_TESTS_TEXT_CALLS_H
#define KALVORA_TESTS_TEXT_CALLS_H

/// While one lives, this thread's calls of FreeType are counted from its construction, and the
/// `failing`-th of those that can fail (1 is the first, 0 none) fails.
struct FreeTypeCalls {
  int lookups = 0;     ///< FT_Get_Char_Index
  int loads = 0;       ///< FT_Load_Glyph, FT_Load_Char
  int renders = 0;     ///< FT_Render_Glyph
  int sizes = 0;       ///< FT_Set_Char_Size
  int opened = 0;      ///< FT_Open_Face
  int closed = 0;      ///< FT_Done_Face
  int transforms = 0;  ///< FT_Set_Transform
  int fallible = 0;    ///< those of them that can fail
  int failing;

  explicit FreeTypeCalls(int failingCall = 0);
  ~FreeTypeCalls();
  FreeTypeCalls(const FreeTypeCalls&) = delete;
  FreeTypeCalls& operator=(const FreeTypeCalls&) = delete;
};

#endif
