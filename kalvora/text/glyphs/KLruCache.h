// KLruCache: a cache of bounded size that forgets what was not asked for longest.
#ifndef KALVORA_TEXT_GLYPHS_KLRUCACHE_H
#define KALVORA_TEXT_GLYPHS_KLRUCACHE_H

#include <cstdint>
#include <cstdio>
#include <new>

/// Owns Data objects by Key, in hash chains and in the order of their last use.
///
/// A Key has a `hash`, an operator==, Hold and Drop for what it refers to, and Print. Data has
/// ByteSize. One thread at a time.
template <typename Key, typename Data>
class KLruCache {
 public:
  static constexpr unsigned kBuckets = 128;
  /// Entries of size 0 do not count against maxSize; this is what keeps them from piling up.
  static constexpr std::uint32_t kMaxItems = 32767;

  struct Node {
    Key key;
    Data* data;
    Node* chainNext;  ///< next in the bucket
    Node* newer;      ///< towards mru
    Node* older;      ///< towards lru
  };
  struct BucketStats {
    std::uint16_t count = 0;     ///< nodes in the chain now
    std::int16_t watermark = 0;  ///< most nodes it ever had
  };

  Node* buckets[kBuckets] = {};
  Node* lru = nullptr;  ///< least recently used
  Node* mru = nullptr;
  BucketStats bucketStats[kBuckets];
  std::uint32_t maxSize = 400 * 1024;
  std::uint32_t curSize = 0;  ///< bytes of all data
  std::uint32_t items = 0;
  std::uint32_t hits = 0;
  std::uint32_t misses = 0;
  std::uint32_t evictions = 0;
  std::uint32_t watermarkBucket = 0;  ///< the bucket with the largest watermark

  KLruCache() = default;
  ~KLruCache() {
    while (lru) Evict();
  }
  KLruCache(const KLruCache&) = delete;
  KLruCache& operator=(const KLruCache&) = delete;

  /// The data of an equal key, which becomes the most recently used; else null. Counts a hit or a
  /// miss.
  Data* Find(const Key& key) {
    for (Node* node = buckets[BucketOf(key)]; node; node = node->chainNext) {
      if (!(node->key == key)) continue;
      Unlink(node);
      Push(node);
      ++hits;
      return node->data;
    }
    ++misses;
    return nullptr;
  }

  /// Takes `data` for a key that is not in the cache, and forgets old entries to make room. False
  /// when it is larger than the whole cache or memory runs out: then `data` stays the caller's.
  bool Insert(const Key& key, Data* data) {
    const std::uint64_t size = data->ByteSize();
    if (size > maxSize) return false;
    const unsigned b = BucketOf(key);
    auto* node = new (std::nothrow) Node{key, data, nullptr, nullptr, nullptr};
    if (!node) return false;
    while (lru && (size + curSize > maxSize || items >= kMaxItems)) Evict();
    node->chainNext = buckets[b];
    buckets[b] = node;
    node->key.Hold();
    Push(node);
    ++items;
    curSize += static_cast<std::uint32_t>(size);
    CountIn(b);
    return true;
  }

  /// The size of all data from here on; forgets old entries until it is kept.
  void SetBudget(std::uint32_t bytes) {
    maxSize = bytes;
    while (curSize > maxSize) Evict();
  }

  /// Forgets the least recently used entry.
  void Evict() {
    Node* node = lru;
    const unsigned b = BucketOf(node->key);
    Node** link = &buckets[b];
    while (*link != node) link = &(*link)->chainNext;
    *link = node->chainNext;
    --bucketStats[b].count;
    Unlink(node);
    --items;
    curSize -= static_cast<std::uint32_t>(node->data->ByteSize());
    ++evictions;
    delete node->data;
    node->key.Drop();
    delete node;
  }

  /// Average length of the chains that are not empty, rounded down; 0 when all are.
  std::uint32_t AverageChain() const {
    std::uint32_t sum = 0;
    std::uint32_t chains = 0;
    for (const BucketStats& stats : bucketStats) {
      sum += stats.count;
      chains += stats.count > 0;
    }
    return chains > 0 ? sum / chains : 0;
  }
  int Watermark() const { return bucketStats[watermarkBucket].watermark; }

  /// Zeroes the counters. The buckets keep their watermarks, deliberately; bucket 0's is the one
  /// reported until another bucket outgrows it.
  void ResetStats() { hits = misses = evictions = watermarkBucket = 0; }

  /// Prints the totals, and all entries by bucket and by age.
  void Dump(bool byHash, bool byLru) const {
    std::printf("CacheSize: %u bytes (MaxCacheSize %u bytes) Cached Items %u\n", curSize, maxSize,
                items);
    for (unsigned b = 0; byHash && b < kBuckets; ++b) {
      std::printf("EntryHash[%u]\n", b);
      for (const Node* node = buckets[b]; node; node = node->chainNext) Print(node);
    }
    if (!byLru) return;
    std::puts("LRU->MRU");
    for (const Node* node = lru; node; node = node->newer) Print(node);
  }

 private:
  static unsigned BucketOf(const Key& key) { return key.hash & (kBuckets - 1); }

  static void Print(const Node* node) {
    std::printf("Size[%u]\t", static_cast<unsigned>(node->data->ByteSize()));
    node->key.Print();
  }

  // Makes a node that is in no list the most recently used.
  void Push(Node* node) {
    node->newer = nullptr;
    node->older = mru;
    (mru ? mru->newer : lru) = node;
    mru = node;
  }

  void Unlink(Node* node) {
    (node->older ? node->older->newer : lru) = node->newer;
    (node->newer ? node->newer->older : mru) = node->older;
  }

  void CountIn(unsigned b) {
    BucketStats& stats = bucketStats[b];
    if (++stats.count <= stats.watermark) return;
    stats.watermark = static_cast<std::int16_t>(stats.count);
    if (stats.watermark > Watermark()) watermarkBucket = b;
  }
};

#endif
