// The cache's bookkeeping, against a list that is searched from end to end.
#include <algorithm>
#include <list>

#include <gtest/gtest.h>

#include "kalvora/text/glyphs/KLruCache.h"

#include "tests/common/Random.h"

namespace {

int held = 0;
int alive = 0;

struct Key {
  std::uint32_t hash;
  int size;  // part of the key, so that chains hold keys of equal hash
  bool operator==(const Key& b) const { return hash == b.hash && size == b.size; }
  void Hold() const { ++held; }
  void Drop() const { --held; }
  void Print() const {}
};

struct Data {
  std::uint64_t size;
  explicit Data(std::uint64_t bytes) : size(bytes) { ++alive; }
  ~Data() { --alive; }
  std::uint64_t ByteSize() const { return size; }
};

using Cache = KLruCache<Key, Data>;

// The same cache, plainly: the front is the least recently used.
struct Model {
  std::list<Key> entries;
  std::uint64_t size = 0;
  unsigned hits = 0, misses = 0, evictions = 0;
  int chains[Cache::kBuckets] = {}, watermarks[Cache::kBuckets] = {};
  unsigned highest = 0;  // the bucket whose watermark is reported

  bool Find(const Key& key) {
    const auto found = std::find(entries.begin(), entries.end(), key);
    found == entries.end() ? ++misses : ++hits;
    if (found == entries.end()) return false;
    entries.splice(entries.end(), entries, found);
    return true;
  }
  void Insert(const Key& key, std::uint64_t maxSize) {
    while (size + static_cast<unsigned>(key.size) > maxSize) {
      size -= static_cast<unsigned>(entries.front().size);
      --chains[entries.front().hash % Cache::kBuckets];
      entries.pop_front();
      ++evictions;
    }
    entries.push_back(key);
    size += static_cast<unsigned>(key.size);
    const unsigned b = key.hash % Cache::kBuckets;
    if (++chains[b] <= watermarks[b]) return;
    watermarks[b] = chains[b];
    if (watermarks[b] > watermarks[highest]) highest = b;
  }
  // The buckets' watermarks stay; bucket 0's is reported until another one outgrows it.
  void ResetStats() { hits = misses = evictions = highest = 0; }
};

void ExpectSame(const Cache& cache, const Model& model) {
  ASSERT_EQ(cache.items, model.entries.size());
  ASSERT_EQ(cache.curSize, model.size);
  ASSERT_EQ(cache.hits, model.hits);
  ASSERT_EQ(cache.misses, model.misses);
  ASSERT_EQ(cache.evictions, model.evictions);
  ASSERT_EQ(held, static_cast<int>(model.entries.size()));
  const Cache::Node* older = nullptr;
  const Cache::Node* node = cache.lru;
  for (const Key& key : model.entries) {
    ASSERT_TRUE(node->key == key && node->older == older);
    older = node;
    node = node->newer;
  }
  ASSERT_EQ(node, nullptr);
  ASSERT_EQ(cache.mru, older);
  unsigned chains = 0;
  for (unsigned b = 0; b < Cache::kBuckets; ++b) {
    chains += model.chains[b] > 0;
    ASSERT_EQ(cache.bucketStats[b].count, model.chains[b]);
    ASSERT_EQ(cache.bucketStats[b].watermark, model.watermarks[b]);
  }
  ASSERT_EQ(cache.Watermark(), model.watermarks[model.highest]);
  ASSERT_EQ(cache.AverageChain(), chains > 0 ? model.entries.size() / chains : 0);
}

TEST(Lru, KeepsWhatWasUsedLast) {
  unsigned evictions = 0;
  for (const std::uint64_t seed : {1, 2, 3, 4}) {
    Random random(seed);
    Cache cache;
    if (seed > 1) cache.maxSize = 2000 * static_cast<std::uint32_t>(seed);
    Model model;
    for (int i = 0; i < 4000; ++i) {
      const int size = random.OneIn(40) ? static_cast<int>(cache.maxSize) + random.Between(-1, 1)
                                        : 45 * random.Between(0, 3);
      if (random.OneIn(1000)) {
        cache.ResetStats();
        model.ResetStats();
      }
      const Key key = {random.Below(160), size};
      Data* data = cache.Find(key);
      ASSERT_EQ(data != nullptr, model.Find(key));
      ASSERT_TRUE(!data || data->size == static_cast<unsigned>(size));
      if (data) continue;
      data = new Data(static_cast<unsigned>(size));
      const bool kept = cache.Insert(key, data);
      ASSERT_EQ(kept, static_cast<unsigned>(size) <= cache.maxSize);
      if (kept) model.Insert(key, cache.maxSize);
      if (!kept) delete data;
      if (i % 8 == 0) ExpectSame(cache, model);
      if (testing::Test::HasFatalFailure()) return;
    }
    evictions += cache.evictions;
  }
  EXPECT_GT(evictions, 100u);
  EXPECT_EQ(held, 0);
  EXPECT_EQ(alive, 0);
}

TEST(Lru, EntriesOfNoSizeDoNotPileUp) {
  Cache cache;
  for (std::uint32_t i = 0; i < 40000; ++i) ASSERT_TRUE(cache.Insert({i, 0}, new Data(0)));
  EXPECT_EQ(cache.items, 32767u);
  EXPECT_EQ(cache.evictions, 40000u - 32767u);
  EXPECT_EQ(cache.Find({40000 - 32768, 0}), nullptr);
  EXPECT_NE(cache.Find({40000 - 32767, 0}), nullptr);
}

}  // namespace
