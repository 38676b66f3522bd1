// KFTFallback: which font of a list supplies which character; one table for all who use that list.
#ifndef KALVORA_TEXT_KFTFALLBACK_H
#define KALVORA_TEXT_KFTFALLBACK_H

#include <cstdint>

#include <pthread.h>

#include "kalvora/core/KArray.h"
#include "kalvora/export.h"

class KFTFont;

/// Codes `first` to `last`, both included, come from font `font` of the list.
struct KFTFontRange {
  std::uint16_t first;     ///< first code
  std::uint16_t last;      ///< last code
  std::uint16_t font;      ///< index into the list
  std::uint16_t reserved;  ///< copied, never compared
};

/// A table over all 16-bit codes, built once for a list of fonts and optional explicit ranges.
///
/// Instance finds the table of an equal configuration anywhere in the process, or builds it: fonts
/// are equal when they opened the same mapping and face, ranges when they say the same. Building
/// looks up every code in the fonts, which should be those of the calling thread; afterwards the
/// table never looks at them again, and any thread may read it. Instance and Release may be called
/// from any thread.
class KALVORA_API KFTFallback {
 public:
  /// Codes from `start` up to the next run's come from one font.
  struct Run {
    std::uint16_t start;  ///< first code
    std::uint16_t font;   ///< index into `fonts`
  };
  /// What a font was when the table was built.
  struct Identity {
    std::uint64_t serial;    ///< of its file; 0 without one
    std::int32_t faceIndex;  ///< of the face in that file
    bool operator==(const Identity&) const = default;
  };

  Run* table = nullptr;            ///< sorted by start; the first run starts at 0
  KArray<KFTFont*> fonts;          ///< an array of its own; the fonts may be gone
  unsigned tableCount = 0;         ///< number of runs
  int refCount = 1;                ///< users
  int id = -1;                     ///< counts the tables of the process, from 1
  KArray<KFTFontRange> ranges;     ///< an array of its own
  KFTFallback* next = nullptr;     ///< an older table
  KFTFallback* prev = nullptr;     ///< a newer table
  Identity* identities = nullptr;  ///< one for each of `fonts`

  KFTFallback() = default;
  ~KFTFallback();
  KFTFallback(const KFTFallback&) = delete;
  KFTFallback& operator=(const KFTFallback&) = delete;

  /// A table for the configuration, with a reference for the caller; null when memory runs out or
  /// `fonts` is null. `ranges` may be null.
  static KFTFallback* Instance(const KArray<KFTFont*>* fonts, const KArray<KFTFontRange>* ranges);
  /// Gives a reference back. What is no table, or none any more, is ignored.
  static void Release(KFTFallback* fallback);

  /// Builds the table. Call it once, on a new object; Instance does. False when memory runs out.
  bool Init(const KArray<KFTFont*>* newFonts, const KArray<KFTFontRange>* newRanges);
  bool Matches(const KArray<KFTFont*>* otherFonts, const KArray<KFTFontRange>* otherRanges) const;

  /// The index of the font for `ch`: the first range that holds it, else the table's run. An index
  /// from a range may lie outside the list. 0 without fonts.
  unsigned short GetFont(unsigned short ch) const;
  /// The table's run alone, found in two ways.
  unsigned short BinarySearch(unsigned short ch) const;
  unsigned short LinearSearch(unsigned short ch) const;
  /// Whether a font of the list has a glyph; the font must still be alive, and the caller's.
  bool GlyphExists(unsigned fontIndex, unsigned short ch) const;

  static pthread_mutex_t Mutex;      ///< guards the list and the references
  static KFTFallback* InstanceList;  ///< newest first
  static int IdCounter;              ///< tables that there ever were

 private:
  static KFTFallback* NewInstance(const KArray<KFTFont*>* fonts,
                                  const KArray<KFTFontRange>* ranges);
  bool CopyFonts(const KArray<KFTFont*>& source);
  bool CopyRanges(const KArray<KFTFontRange>& source);
  bool BuildTable();
  bool AddRun(unsigned& capacity, Run run);
};

#endif
