// KFTFont: loading, sizes, and the end of a font.
#include "kalvora/text/KFTFont.h"

#include <utility>

#include "kalvora/text/KFTCache.h"
#include "kalvora/text/KFTLib.h"
#include "kalvora/text/ft.h"

using kalvora::FromF26Dot6;

namespace {

constexpr KFixed kFirstSize = KFixed::FromInt(18);

// In 26.6, rounded a little under half a step, deliberately: glyphs have these sizes.
FT_F26Dot6 CharSize(KFixed size) {
  return static_cast<FT_F26Dot6>(((std::int64_t{size.raw} << 6) + 0x7F00) >> 16);
}

FT_Face OpenFace(FT_Library library, const KFTFontFile& file, int index) {
  // FreeType takes a negative index for a question about the file.
  if (index < 0) return nullptr;
  FT_Open_Args args = {};
  args.flags = FT_OPEN_MEMORY;
  args.memory_base = static_cast<const FT_Byte*>(file.data);
  args.memory_size = static_cast<FT_Long>(file.size);
  FT_Face face = nullptr;
  return FT_Open_Face(library, &args, index, &face) == 0 ? face : nullptr;
}

}  // namespace

bool KFTFont::LoadFont(const char* path, int index) {
  if (!path) return false;
  if (face && file && file->file.IsAt(path) && index == faceIndex) return true;
  KFTLib* thread = MakeReady(path);
  return thread && Open(thread, KFTCache::Existing()->OpenEntry(path), index);
}

bool KFTFont::LoadFontFromMemory(const void* data, std::size_t bytes, int index) {
  if (!data || bytes == 0 || bytes > PTRDIFF_MAX) return false;
  if (face && file && file->file.Borrows(data, bytes) && index == faceIndex) return true;
  KFTLib* thread = MakeReady(nullptr);
  return thread && Open(thread, EntryOf(thread, data, bytes), index);
}

// Empties the font. Null when the thread cannot have fonts.
KFTLib* KFTFont::MakeReady(const char* keepPath) {
  KFTLib* thread = KFTLib::Thread();
  KFTCache* threadCache = KFTCache::Thread();
  if (!cache) cache = threadCache;
  Release(keepPath);
  return threadCache ? thread : nullptr;
}

// Memory is known again only while a font uses it: afterwards it may hold anything.
KFTFaceEntry* KFTFont::EntryOf(const KFTLib* thread, const void* data, std::size_t bytes) const {
  KFTCache* threadCache = KFTCache::Existing();
  for (const KFTFont* other = thread->fonts; other; other = other->nextFont) {
    if (other->file->file.Borrows(data, bytes)) return threadCache->FindEntry(other->file);
  }
  return threadCache->AddEntry(data, bytes);
}

// `entry` is null when there is no file.
bool KFTFont::Open(KFTLib* thread, const KFTFaceEntry* entry, int index) {
  if (!entry) return false;
  Attach(thread, entry->file);
  faceIndex = index;
  thread->lends = false;
  face = OpenFace(thread->library, file->file, index);
  thread->lends = true;
  if (!face) return false;
  height = FromF26Dot6(face->size->metrics.height);
  size = kalvora::kZero;  // of the face before, which this one was never set to
  SetFontSize(kFirstSize);
  return true;
}

// Takes a reference on the file and joins the thread's fonts.
void KFTFont::Attach(KFTLib* thread, KFTSharedFile* shared) {
  file = shared;
  file->Hold();
  lib = thread;
  nextFont = lib->fonts;
  if (nextFont) nextFont->prevFont = this;
  lib->fonts = this;
}

void KFTFont::Detach() {
  if (!lib) return;
  (prevFont ? prevFont->nextFont : lib->fonts) = nextFont;
  if (nextFont) nextFont->prevFont = prevFont;
  lib = nullptr;
  nextFont = prevFont = nullptr;
}

// Count and face list first, then the face, and last the mapping, which the face reads from.
void KFTFont::Release(const char* keepPath) {
  KFTSharedFile* held = std::exchange(file, nullptr);
  if (held) {
    --held->refCount;
    if (KFTCache* threadCache = KFTCache::Existing()) threadCache->Purge(keepPath, held);
  }
  if (face) FT_Done_Face(std::exchange(face, nullptr));
  if (held && held->refCount == 0) delete held;
  Detach();
}

void KFTFont::SetFontSize(KFixed newSize) {
  if (!face || newSize == size) return;
  size = newSize;
  const FT_F26Dot6 charSize = CharSize(size);
  // A face that could not be set is of no size: the next call tries again.
  if (FT_Set_Char_Size(face, charSize, charSize, 0, 0) == FT_Err_Out_Of_Memory) {
    size = kalvora::kZero;
    return;
  }
  height = FromF26Dot6(face->size->metrics.height);
}

KFixed KFTFont::GetFontHeight() const { return face ? height : kalvora::kZero; }

KFixed KFTFont::GetAscend() const {
  return face ? FromF26Dot6(face->size->metrics.ascender) : kalvora::kZero;
}

KFixed KFTFont::GetDescend() const {
  return face ? FromF26Dot6(face->size->metrics.descender) : kalvora::kZero;
}
