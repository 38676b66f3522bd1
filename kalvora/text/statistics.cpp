// KFTFontContext: the calling thread's cache: its size, and what it has been doing.
#include <cstdio>

#include <pthread.h>
#include <sys/time.h>

#include "kalvora/text/KFTFontContext.h"
#include "kalvora/text/glyphs/KFTCache.h"

namespace {

void Store(int* to, std::int64_t value) {
  if (to) *to = static_cast<int>(value);
}

// Once a second in the process; true for one caller alone. A lock makes the time atomic: not every
// processor we run on has 64-bit atomics.
bool IsDumpDue() {
  static pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
  static std::int64_t LastDumpTimeUs = 0;
  timeval time;
  gettimeofday(&time, nullptr);
  const std::int64_t now = std::int64_t{time.tv_sec} * 1000000 + time.tv_usec;
  pthread_mutex_lock(&mutex);
  const bool due = now - LastDumpTimeUs > 1000000;
  if (due) LastDumpTimeUs = now;
  pthread_mutex_unlock(&mutex);
  return due;
}

}  // namespace

unsigned KFTFontContext::GetCacheSize() {
  const KFTCache* cache = KFTCache::Thread();
  return cache ? cache->curSize : 0;
}

void KFTFontContext::SetCacheBudget(unsigned bytes) {
  if (KFTCache* cache = KFTCache::Thread()) cache->SetBudget(bytes);
}

void KFTFontContext::TrimCache() {
  KFTCache* cache = KFTCache::Existing();
  if (!cache) return;
  while (cache->lru) cache->Evict();
  cache->Purge(nullptr, nullptr);
}

void KFTFontContext::GetCacheStats(int* hits, int* misses, int* evictions, int* watermark,
                                   int* avgNonZero) {
  const KFTCache* cache = KFTCache::Thread();
  Store(hits, cache ? cache->hits : 0);
  Store(misses, cache ? cache->misses : 0);
  Store(evictions, cache ? cache->evictions : 0);
  Store(watermark, cache ? cache->Watermark() : 0);
  Store(avgNonZero, cache ? cache->AverageChain() : 0);
}

void KFTFontContext::ResetCacheStats() {
  if (KFTCache* cache = KFTCache::Thread()) cache->ResetStats();
}

void KFTFontContext::DumpFontCache() {
  const KFTCache* cache = KFTCache::Thread();
  if (!cache) return;
  cache->Dump(true, true);
  std::puts("FaceCache:");
  for (const KFTFaceEntry* entry = cache->faces; entry; entry = entry->next) {
    std::printf("'%s' (count=%d)\n", entry->file->file.Name(), entry->file->refCount);
  }
}

void KFTFontContext::DebugDumpStats() {
  if (!IsDumpDue()) return;
  int hits, misses, evictions, watermark, avgNonZero;
  const unsigned size = GetCacheSize();
  GetCacheStats(&hits, &misses, &evictions, &watermark, &avgNonZero);
  ResetCacheStats();
  std::printf(
      "Font cache [%p] stats: Size [%d kb] Hits [%d] Misses[%d] Evictions[%d] "
      "HashWatermark[%d] AvgNonZeroHashCount[%d]\n",
      static_cast<const void*>(KFTCache::Existing()), static_cast<int>(size / 1024), hits, misses,
      evictions, watermark, avgNonZero);
}
