// FreeTypeCalls: these definitions stand before FreeType's own, which they call.
#include "tests/text/calls.h"

#include <cstdlib>

#include <dlfcn.h>
#include <ft2build.h>
#include FT_FREETYPE_H

namespace {

thread_local FreeTypeCalls* counter = nullptr;

bool Counted(int FreeTypeCalls::*kind) {
  if (counter) ++(counter->*kind);
  return counter != nullptr;
}

bool MustFail(int FreeTypeCalls::*kind) {
  return Counted(kind) && ++counter->fallible == counter->failing;
}

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
  Counted(&FreeTypeCalls::lookups);
  return real(face, code);
}

FT_Error FT_Load_Glyph(FT_Face face, FT_UInt index, FT_Int32 flags) {
  REAL(FT_Load_Glyph);
  return MustFail(&FreeTypeCalls::loads) ? FT_Err_Out_Of_Memory : real(face, index, flags);
}

FT_Error FT_Load_Char(FT_Face face, FT_ULong code, FT_Int32 flags) {
  REAL(FT_Load_Char);
  return MustFail(&FreeTypeCalls::loads) ? FT_Err_Out_Of_Memory : real(face, code, flags);
}

FT_Error FT_Render_Glyph(FT_GlyphSlot slot, FT_Render_Mode mode) {
  REAL(FT_Render_Glyph);
  return MustFail(&FreeTypeCalls::renders) ? FT_Err_Out_Of_Memory : real(slot, mode);
}

FT_Error FT_Set_Char_Size(FT_Face face, FT_F26Dot6 w, FT_F26Dot6 h, FT_UInt x, FT_UInt y) {
  REAL(FT_Set_Char_Size);
  return MustFail(&FreeTypeCalls::sizes) ? FT_Err_Out_Of_Memory : real(face, w, h, x, y);
}

FT_Error FT_Open_Face(FT_Library library, const FT_Open_Args* args, FT_Long index, FT_Face* face) {
  REAL(FT_Open_Face);
  return MustFail(&FreeTypeCalls::opened) ? FT_Err_Out_Of_Memory : real(library, args, index, face);
}

FT_Error FT_Done_Face(FT_Face face) {
  REAL(FT_Done_Face);
  Counted(&FreeTypeCalls::closed);
  return real(face);
}

void FT_Set_Transform(FT_Face face, FT_Matrix* matrix, FT_Vector* delta) {
  REAL(FT_Set_Transform);
  Counted(&FreeTypeCalls::transforms);
  real(face, matrix, delta);
}

}  // extern "C"
