// KFTFont: loading, sizes, and the end of a font.
#include "kalvora/text/KFTFont.h"

#include <cerrno>
#include <climits>
#include <utility>

#include "kalvora/support/failure.h"
#include "kalvora/text/KFTLib.h"
#include "kalvora/text/glyphs/KFTCache.h"
#include "kalvora/text/glyphs/strikes.h"

using kalvora::Fail;
using kalvora::FromF26Dot6;

namespace {

constexpr KFixed kFirstSize = KFixed::FromInt(18);

FT_Error OpenFace(FT_Library library, const KFTFontFile& file, int index, FT_Face& face) {
  // FreeType takes a negative index for a question about the file.
  if (index < 0) return FT_Err_Invalid_Argument;
  FT_Open_Args args = {};
  args.flags = FT_OPEN_MEMORY;
  args.memory_base = static_cast<const FT_Byte*>(file.data);
  args.memory_size = static_cast<FT_Long>(file.size);
  return FT_Open_Face(library, &args, index, &face);
}

// Whether FreeType lacks what the bitmaps of a face are packed with: tried with a first glyph.
bool CannotUnpack(FT_Face face) {
  if (!kalvora::IsBitmapOnly(*face) || !FT_HAS_COLOR(face)) return false;
  FT_UInt index = 0;
  FT_Get_First_Char(face, &index);
  return FT_Select_Size(face, 0) == 0 &&
         FT_Load_Glyph(face, index, FT_LOAD_COLOR) == FT_Err_Unimplemented_Feature;
}

}  // namespace

bool KFTFont::LoadFont(const char* path, int index) {
  error_ = {};
  if (!path) return Fail(error_, KErrorArgument, 0, "no path of a font");
  if (face && file && file->file.IsAt(path) && index == faceIndex) return true;
  KFTLib* thread = MakeReady(path);
  return thread && Open(thread, KFTCache::Existing()->OpenEntry(path, error_), index);
}

bool KFTFont::LoadFontFromMemory(const void* data, std::size_t bytes, int index) {
  error_ = {};
  if (!data || bytes == 0 || bytes > LONG_MAX) {
    return Fail(error_, KErrorArgument, 0, "no memory with a font");
  }
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
  if (thread && threadCache) return thread;
  Fail(error_, KErrorMemory, ENOMEM, "no memory for text");
  return nullptr;
}

// Memory is known again only while a font uses it: afterwards it may hold anything.
KFTFaceEntry* KFTFont::EntryOf(const KFTLib* thread, const void* data, std::size_t bytes) const {
  KFTCache* threadCache = KFTCache::Existing();
  for (const KFTFont* other = thread->fonts; other; other = other->nextFont_) {
    if (other->file->file.Borrows(data, bytes)) return threadCache->FindEntry(other->file);
  }
  return threadCache->AddEntry(data, bytes);
}

// `entry` is null when there is no file.
bool KFTFont::Open(KFTLib* thread, const KFTFaceEntry* entry, int index) {
  if (!entry) {
    if (error_.code == KErrorNone) Fail(error_, KErrorMemory, ENOMEM, "no memory for a font");
    return false;
  }
  Attach(thread, entry->file);
  faceIndex = index;
  thread->lends = false;
  thread->ranOut = false;
  FT_Error opened = OpenFace(thread->library, file->file, index, face);
  thread->lends = true;
  // FreeType opens a face without its colours when there is no memory for those.
  if (thread->ranOut) opened = FT_Err_Out_Of_Memory;
  if (!CanBeDrawn(opened)) {
    if (face) FT_Done_Face(std::exchange(face, nullptr));
    return false;
  }
  height = FromF26Dot6(face->size->metrics.height);
  size = kalvora::kZero;  // of the face before, which this one was never set to
  SetFontSize(kFirstSize);
  return true;
}

// Says why, if it cannot.
bool KFTFont::CanBeDrawn(int opened) {
  const char* name = file->file.Name();
  if (opened == FT_Err_Out_Of_Memory) {
    return Fail(error_, KErrorMemory, ENOMEM, "cannot load %s", name);
  }
  if (opened == FT_Err_Invalid_Argument && faceIndex != 0) {
    return Fail(error_, KErrorArgument, 0, "%s has no face %d", name, faceIndex);
  }
  if (opened != 0) {
    return Fail(error_, KErrorNotAFont, 0, "%s is no font (FreeType's error 0x%02x)", name, opened);
  }
  if (kalvora::IsBitmapOnly(*face) && !FT_HAS_FIXED_SIZES(face)) {
    return Fail(error_, KErrorNotAFont, 0, "%s has neither outlines nor bitmaps", name);
  }
  if (CannotUnpack(face)) {
    return Fail(error_, KErrorNotSupported, 0, "FreeType lacks what the bitmaps of %s need", name);
  }
  return true;
}

// Takes a reference on the file and joins the thread's fonts.
void KFTFont::Attach(KFTLib* thread, KFTSharedFile* shared) {
  file = shared;
  file->Hold();
  lib_ = thread;
  nextFont_ = lib_->fonts;
  if (nextFont_) nextFont_->prevFont_ = this;
  lib_->fonts = this;
}

void KFTFont::Detach() {
  if (!lib_) return;
  (prevFont_ ? prevFont_->nextFont_ : lib_->fonts) = nextFont_;
  if (nextFont_) nextFont_->prevFont_ = prevFont_;
  lib_ = nullptr;
  nextFont_ = prevFont_ = nullptr;
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
  // A face that could not be set is of no size: the next call tries again.
  if (kalvora::SetSize(face, size) == FT_Err_Out_Of_Memory) {
    size = kalvora::kZero;
    return;
  }
  height = Metric(face->size->metrics.height);
}

// A 26.6 metric of the face as the font shows it.
KFixed KFTFont::Metric(std::int64_t v) const {
  return FromF26Dot6(v) * kalvora::MetricScale(*this);
}

KFixed KFTFont::GetFontHeight() const { return face ? height : kalvora::kZero; }

KFixed KFTFont::GetAscend() const {
  return face ? Metric(face->size->metrics.ascender) : kalvora::kZero;
}

KFixed KFTFont::GetDescend() const {
  return face ? Metric(face->size->metrics.descender) : kalvora::kZero;
}
