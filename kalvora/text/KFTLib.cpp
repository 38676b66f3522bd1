// KFTLib: the start and the end of a thread's FreeType library.
#include "kalvora/text/KFTLib.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <new>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/ft.h"

#include FT_MODULE_H

constinit KTlsItem<KFTLib> KFTLib::TlsLib{
    [](void* lib) { TlsLibDestructor(static_cast<KFTLib*>(lib)); }};

static KTlsOwner<KFTLib> owner{KFTLib::TlsLib};

namespace {

KFTLib* LibOf(FT_Memory memory) { return static_cast<KFTLib*>(memory->user); }

void* Checked(FT_Memory memory, void* p) {
  if (!p) LibOf(memory)->ranOut = true;
  return p;
}

bool IsNode(const KFTLib* lib, const void* p) {
  return p >= lib->nodes && p < lib->nodes + KFTLib::kNodes;
}

void* Alloc(FT_Memory memory, long size) {
  KFTLib* lib = LibOf(memory);
  const auto free = static_cast<unsigned>(std::countr_one(lib->taken));
  if (lib->lends && size <= long{sizeof(KFTLib::Node)} && free < KFTLib::kNodes) {
    lib->taken |= 1u << free;
    return &lib->nodes[free];
  }
  return Checked(memory, std::malloc(static_cast<std::size_t>(size)));
}

void Free(FT_Memory memory, void* p) {
  KFTLib* lib = LibOf(memory);
  if (IsNode(lib, p)) {
    lib->taken &= ~(1u << (static_cast<KFTLib::Node*>(p) - lib->nodes));
  } else {
    std::free(p);
  }
}

void* ReAlloc(FT_Memory memory, long, long size, void* p) {
  if (!IsNode(LibOf(memory), p)) {
    return Checked(memory, std::realloc(p, static_cast<std::size_t>(size)));
  }
  if (size <= long{sizeof(KFTLib::Node)}) return p;
  void* larger = Checked(memory, std::malloc(static_cast<std::size_t>(size)));
  if (!larger) return nullptr;
  std::memcpy(larger, p, sizeof(KFTLib::Node));
  Free(memory, p);
  return larger;
}

}  // namespace

KFTLib::KFTLib() : memory{this, Alloc, Free, ReAlloc} {}

// What FT_Init_FreeType does, but for one thing: a library that lacks modules, because there was no
// memory for them, would refuse fonts for good.
bool KFTLib::Start() {
  if (FT_New_Library(&memory, &library) != 0) return false;
  FT_Add_Default_Modules(library);
  FT_Set_Default_Properties(library);
  lends = true;
  return !ranOut;
}

KFTLib* KFTLib::Thread() {
  if (KFTLib* lib = TlsLib.Get()) return lib;
  auto* lib = new (std::nothrow) KFTLib;
  if (!lib) return nullptr;
  if (lib->Start() && TlsLib.Set(lib)) return lib;
  TlsLibDestructor(lib);
  return nullptr;
}

void KFTLib::TlsLibDestructor(KFTLib* lib) {
  if (!lib) return;
  // Fonts may outlive their thread: the library takes its faces along, so no font may keep one.
  while (lib->fonts) lib->fonts->Release(nullptr);
  if (lib->library) FT_Done_Library(lib->library);
  delete lib;
}
