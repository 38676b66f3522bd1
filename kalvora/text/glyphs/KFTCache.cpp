// KFTCache: the thread's cache and its face list.
#include "kalvora/text/glyphs/KFTCache.h"

constinit KTlsItem<KFTCache> KFTCache::TlsCache{
    [](void* cache) { TlsCacheDestructor(static_cast<KFTCache*>(cache)); }};

static KTlsOwner<KFTCache> owner{KFTCache::TlsCache};

void KFTCacheKey::Print() const {
  if (style & kByIndex) {
    std::printf("Glyph [%u]", ch);
  } else {
    std::printf("Char [%u,'%c']", ch, static_cast<int>(ch & 255));
  }
  std::printf(" PointSize [%f] Transform [%d,%d,%d,%d] File[%s] Hash[0x%x]\n",
              static_cast<double>(fontSize.raw) / 65536.0, xx, xy, yx, yy, file->file.Name(), hash);
}

KFTCache* KFTCache::Thread() {
  if (KFTCache* cache = TlsCache.Get()) return cache;
  auto* cache = new (std::nothrow) KFTCache;
  if (!cache || TlsCache.Set(cache)) return cache;
  delete cache;
  return nullptr;
}

KFTCache::~KFTCache() {
  while (KFTFaceEntry* entry = faces) {
    faces = entry->next;
    entry->file->Drop();
    delete entry;
  }
  delete spare;
}

KFTCacheData* KFTCache::Spare() {
  if (!spare) spare = new (std::nothrow) KFTCacheData;
  return spare;
}

KFTFaceEntry* KFTCache::FindEntry(const KFTSharedFile* file) const {
  KFTFaceEntry* entry = faces;
  while (entry && entry->file != file) entry = entry->next;
  return entry;
}

KFTFaceEntry* KFTCache::OpenEntry(const char* path, KError& why) {
  for (KFTFaceEntry* entry = faces; entry; entry = entry->next) {
    if (entry->file->file.IsAt(path)) return entry;
  }
  auto* file = new (std::nothrow) KFTSharedFile;
  if (file && file->file.Map(path, &why)) return Push(file);
  delete file;
  return nullptr;
}

KFTFaceEntry* KFTCache::AddEntry(const void* data, std::size_t size) {
  auto* file = new (std::nothrow) KFTSharedFile;
  if (!file) return nullptr;
  file->file.Borrow(data, size);
  return Push(file);
}

// Takes over the caller's reference.
KFTFaceEntry* KFTCache::Push(KFTSharedFile* file) {
  auto* entry = new (std::nothrow) KFTFaceEntry(file);
  if (!entry) {
    file->Drop();
    return nullptr;
  }
  entry->next = faces;
  if (faces) faces->prev = entry;
  faces = entry;
  return entry;
}

void KFTCache::Purge(const char* keepPath, const KFTSharedFile* inUse) {
  KFTFaceEntry* following;
  for (KFTFaceEntry* entry = faces; entry; entry = following) {
    following = entry->next;
    KFTSharedFile* file = entry->file;
    if (file->refCount != 1) continue;
    if (file->file.IsAt(keepPath)) continue;
    Unlink(entry);
    delete entry;
    if (--file->refCount == 0 && file != inUse) delete file;
  }
}

void KFTCache::Unlink(KFTFaceEntry* entry) {
  (entry->prev ? entry->prev->next : faces) = entry->next;
  if (entry->next) entry->next->prev = entry->prev;
}
