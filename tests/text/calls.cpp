// FreeTypeCalls: these definitions stand before FreeType's own, which they call.
#include "tests/text/calls.h"

#include <cstdlib>

#include <dlfcn.h>
#include <ft2build.h>
#include FT_FREETYPE_H

namespace {

thread_local FreeTypeCalls* counter = nullptr;

bool MustFail() { return counter && ++counter->fallible == counter->failing; }

template <typename Function>
Function* Real(Function*, const char* name) {
  void* found = dlsym(RTLD_NEXT, name);
  if (!found) std::abort();
  return reinterpret_cast<Function*>(found);
}

}  // namespace

FreeTypeCalls::FreeTypeCalls(int failingCall) : failing(failingCall) { counter = this; }
FreeTypeCalls::~FreeTypeCalls() { counter = nullptr; }

#define REAL(function) static const auto real = Real(&function, #function)

extern "C" {

FT_UInt FT_Get_Char_Index(FT_Face face, FT_ULong code) {
  REAL(FT_Get_Char_Index);
  if (counter) ++counter->lookups;
  return real(face, code);
}

FT_Error FT_Load_Glyph(FT_Face face, FT_UInt index, FT_Int32 flags) {
  REAL(FT_Load_Glyph);
  return MustFail() ? FT_Err_Out_Of_Memory : real(face, index, flags);
}

FT_Error FT_Set_Char_Size(FT_Face face, FT_F26Dot6 w, FT_F26Dot6 h, FT_UInt x, FT_UInt y) {
  REAL(FT_Set_Char_Size);
  return MustFail() ? FT_Err_Out_Of_Memory : real(face, w, h, x, y);
}

}  // extern "C"
