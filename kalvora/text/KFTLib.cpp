// KFTLib: the start and the end of a thread's FreeType library.
#include "kalvora/text/KFTLib.h"

#include <new>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/ft.h"

constinit KTlsItem<KFTLib> KFTLib::TlsLib{
    [](void* lib) { TlsLibDestructor(static_cast<KFTLib*>(lib)); }};

static KTlsOwner<KFTLib> owner{KFTLib::TlsLib};

KFTLib* KFTLib::Thread() {
  if (KFTLib* lib = TlsLib.Get()) return lib;
  auto* lib = new (std::nothrow) KFTLib;
  if (!lib) return nullptr;
  if (FT_Init_FreeType(&lib->library) == 0 && TlsLib.Set(lib)) return lib;
  TlsLibDestructor(lib);
  return nullptr;
}

void KFTLib::TlsLibDestructor(KFTLib* lib) {
  if (!lib) return;
  // Fonts may outlive their thread: the library takes its faces along, so no font may keep one.
  while (lib->fonts) lib->fonts->Release(nullptr);
  if (lib->library) FT_Done_FreeType(lib->library);
  delete lib;
}
