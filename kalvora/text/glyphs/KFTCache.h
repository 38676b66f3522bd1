// KFTCache: a thread's glyph masks and the font files that it knows.
#ifndef KALVORA_TEXT_GLYPHS_KFTCACHE_H
#define KALVORA_TEXT_GLYPHS_KFTCACHE_H

#include "kalvora/core/KSoftPixmap.h"
#include "kalvora/text/KFTFaceEntry.h"
#include "kalvora/text/KTlsItem.h"
#include "kalvora/text/glyphs/KLruCache.h"

/// What makes one mask differ from another.
struct KFTCacheKey {
  std::uint32_t ch;             ///< character code, or glyph index
  std::int32_t xx, xy, yx, yy;  ///< the glyph matrix
  KFixed fontSize;              ///< of the font that supplied the glyph
  KFTSharedFile* file;          ///< of that font
  std::uint32_t hash;           ///< `ch` again; not compared
  std::int32_t faceIndex;       ///< of that font within its file
  std::uint32_t style;          ///< how it is named and rendered, as follows

  static constexpr std::uint32_t kByIndex = 1;   ///< `ch` is a glyph index
  static constexpr unsigned kHintingShift = 1;   ///< two bits: KHinting, as the font says
  static constexpr unsigned kQuarterShift = 3;   ///< two bits: quarters of a pixel to the right
  static constexpr std::uint32_t kColours = 32;  ///< in colours, of a font that has them

  std::uint32_t ink;  ///< what a font's layers have in place of the text's colour; else 0

  bool operator==(const KFTCacheKey& b) const {
    return ch == b.ch && xx == b.xx && xy == b.xy && yx == b.yx && yy == b.yy &&
           fontSize == b.fontSize && file == b.file && faceIndex == b.faceIndex &&
           style == b.style && ink == b.ink;
  }
  /// Names the glyph, moved to the right by a number of quarters.
  void Name(std::uint32_t glyph, unsigned quarter) {
    ch = hash = glyph;
    style = (style & ~(3u << kQuarterShift)) | quarter << kQuarterShift;
  }
  unsigned Quarter() const { return style >> kQuarterShift & 3; }
  void Hold() const { file->Hold(); }
  void Drop() const { file->Drop(); }
  void Print() const;
};

/// A glyph's mask and where it stands.
struct KFTCacheData {
  KSoftPixmap mask;  ///< 8-bit coverage, or premultiplied colours; 0 x 0 for a blank glyph
  KVertex2D origin = KVertex2D::Origin;   ///< from the pen to the mask's top left corner
  KVertex2D advance = KVertex2D::Origin;  ///< from this pen to the next

  bool IsColoured() const { return mask.pixelShift != 0; }
  std::uint64_t ByteSize() const {
    return std::uint64_t{mask.width} * mask.height << mask.pixelShift;
  }
};

/// Made by the first text operation of a thread, destroyed when the thread ends.
class KFTCache : public KLruCache<KFTCacheKey, KFTCacheData> {
 public:
  KFTCacheData* spare = nullptr;  ///< allocated ahead for the next miss; owned
  KFTFaceEntry* faces = nullptr;  ///< newest first; owned

  KFTCache() = default;
  ~KFTCache();

  /// The calling thread's cache, made on demand; null when that fails.
  static KFTCache* Thread();
  /// The calling thread's cache if it has one.
  static KFTCache* Existing() { return TlsCache.Get(); }
  /// Ends a thread's cache. Null is ignored.
  static void TlsCacheDestructor(KFTCache* cache) { delete cache; }

  /// `spare`, made on demand; null when memory runs out.
  KFTCacheData* Spare();
  /// The entry of a file; null when this thread does not know it.
  KFTFaceEntry* FindEntry(const KFTSharedFile* file) const;
  /// The entry of the file at `path`, which is mapped if it is new; null when that fails, for
  /// the reason in `why`.
  KFTFaceEntry* OpenEntry(const char* path, KError& why);
  /// A new entry of a font in the caller's memory; null when memory runs out.
  KFTFaceEntry* AddEntry(const void* data, std::size_t size);
  /// Forgets the files that nothing holds but the list, except the one at `keepPath` (may be null).
  /// They are destroyed, all but `inUse`, which is the caller's to destroy.
  void Purge(const char* keepPath, const KFTSharedFile* inUse);

  static KTlsItem<KFTCache> TlsCache;

 private:
  KFTFaceEntry* Push(KFTSharedFile* file);
  void Unlink(KFTFaceEntry* entry);
};

#endif
