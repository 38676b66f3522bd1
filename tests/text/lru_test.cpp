// The cache's bookkeeping, against a list that is searched from end to end.
#include <algorithm>
#include <list>

#include <gtest/gtest.h>

#include "kalvora/text/KLruCache.h"

#include "tests/common/Random.h"
#include "tests/text/fonts.h"

namespace {

int held = 0;
int alive = 0;

struct Key {
  std::uint32_t hash;
  int size;  // part of the key, so that chains hold keys of equal hash
  bool operator==(const Key& b) const { return hash == b.hash && size == b.size; }
  void Hold() const { ++held; }
  void Drop() const { --held; }
  void Print() const { std::printf("%u\n", hash); }
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
      entries.pop_front();
      ++evictions;
    }
    entries.push_back(key);
    size += static_cast<unsigned>(key.size);
  }
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
  unsigned counts[Cache::kBuckets] = {};
  for (const Key& key : model.entries) ++counts[key.hash % Cache::kBuckets];
  unsigned chains = 0;
  for (unsigned b = 0; b < Cache::kBuckets; ++b) {
    chains += counts[b] > 0;
    ASSERT_EQ(cache.bucketStats[b].count, counts[b]);
    ASSERT_GE(cache.bucketStats[b].watermark, static_cast<int>(counts[b]));
    ASSERT_LE(cache.bucketStats[b].watermark, cache.Watermark());
  }
  ASSERT_EQ(cache.AverageChain(), chains > 0 ? model.entries.size() / chains : 0);
}

TEST(Lru, KeepsWhatWasUsedLast) {
  for (const std::uint64_t seed : {1, 2, 3, 4}) {
    Random random(seed);
    Cache cache;
    if (seed > 1) cache.maxSize = 2000 * static_cast<std::uint32_t>(seed);
    Model model;
    for (int i = 0; i < 4000; ++i) {
      const int size = random.OneIn(40) ? static_cast<int>(cache.maxSize) + random.Between(-1, 1)
                                        : 45 * random.Between(0, 3);
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
    EXPECT_GT(cache.hits, 100u);
    EXPECT_GT(cache.evictions, 100u);
  }
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

TEST(Lru, SizesBeyondThirtyTwoBitsAreTooLarge) {
  Cache cache;
  Data data((std::uint64_t{1} << 32) + 1);
  EXPECT_FALSE(cache.Insert({1, 1}, &data));
  EXPECT_EQ(cache.items, 0u);
}

TEST(Lru, ResetKeepsTheBucketsWatermarks) {
  Cache cache;
  for (const std::uint32_t hash : {5u, 5u + 128, 5u + 256, 0u})
    cache.Insert({hash, 1}, new Data(1));
  cache.Find({5, 1});
  cache.Find({6, 1});
  EXPECT_EQ(cache.Watermark(), 3);
  cache.ResetStats();
  EXPECT_EQ(cache.hits + cache.misses + cache.evictions, 0u);
  EXPECT_EQ(cache.Watermark(), 1);  // of bucket 0
  cache.Insert({7, 1}, new Data(1));
  EXPECT_EQ(cache.Watermark(), 1);
  cache.Insert({5 + 384, 1}, new Data(1));
  EXPECT_EQ(cache.Watermark(), 4);
}

TEST(Lru, Dumps) {
  Cache cache;
  cache.Insert({2, 7}, new Data(7));
  cache.Insert({130, 0}, new Data(0));
  cache.Find({2, 7});
  std::string buckets;
  for (int b = 0; b < 128; ++b) {
    buckets += "EntryHash[" + std::to_string(b) + "]\n";
    if (b == 2) buckets += "Size[0]\t130\nSize[7]\t2\n";
  }
  const std::string totals = "CacheSize: 7 bytes (MaxCacheSize 409600 bytes) Cached Items 2\n";
  const std::string ages = "LRU->MRU\nSize[0]\t130\nSize[7]\t2\n";
  EXPECT_EQ(Printed([&] { cache.Dump(true, true); }), totals + buckets + ages);
  EXPECT_EQ(Printed([&] { cache.Dump(true, false); }), totals + buckets);
  EXPECT_EQ(Printed([&] { cache.Dump(false, true); }), totals + ages);
}

}  // namespace
