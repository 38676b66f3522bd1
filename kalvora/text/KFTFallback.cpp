// KFTFallback: building, sharing and asking fallback tables.
#include "kalvora/text/KFTFallback.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "kalvora/text/KFTFont.h"
#include "kalvora/text/KFTFontFile.h"
#include "kalvora/text/ft.h"

constinit pthread_mutex_t KFTFallback::Mutex = PTHREAD_MUTEX_INITIALIZER;
constinit KFTFallback* KFTFallback::InstanceList = nullptr;
constinit int KFTFallback::IdCounter = 0;

namespace {

KFTFallback::Identity IdentityOf(const KFTFont* font) {
  if (!font || !font->file) return {0, 0};
  return {font->file->serial, font->faceIndex};
}

bool SameRange(const KFTFontRange& a, const KFTFontRange& b) {
  return a.first == b.first && a.last == b.last && a.font == b.font;
}

template <typename T>
unsigned Count(const KArray<T>& array) {
  return array.data ? array.count : 0;
}

// An array of `count` elements on the C heap, or null.
template <typename T>
T* NewArray(std::size_t count) {
  return count <= SIZE_MAX / sizeof(T) ? static_cast<T*>(std::malloc(count * sizeof(T))) : nullptr;
}

}  // namespace

KFTFallback::~KFTFallback() {
  std::free(table);
  std::free(identities);
  std::free(ranges.data);
  std::free(fonts.data);
}

// Sharing -----------------------------------------------------------------------------------------

KFTFallback* KFTFallback::Instance(const KArray<KFTFont*>* fonts,
                                   const KArray<KFTFontRange>* ranges) {
  if (!fonts) return nullptr;
  pthread_mutex_lock(&Mutex);
  KFTFallback* found = InstanceList;
  while (found && !found->Matches(fonts, ranges)) found = found->next;
  if (found) {
    ++found->refCount;
  } else {
    found = NewInstance(fonts, ranges);
  }
  pthread_mutex_unlock(&Mutex);
  return found;
}

KFTFallback* KFTFallback::NewInstance(const KArray<KFTFont*>* fonts,
                                      const KArray<KFTFontRange>* ranges) {
  auto* made = new (std::nothrow) KFTFallback;
  if (!made || !made->Init(fonts, ranges)) {
    delete made;
    return nullptr;
  }
  made->next = InstanceList;
  if (InstanceList) InstanceList->prev = made;
  return InstanceList = made;
}

void KFTFallback::Release(KFTFallback* fallback) {
  pthread_mutex_lock(&Mutex);
  KFTFallback* found = InstanceList;
  while (found && found != fallback) found = found->next;
  if (found && --found->refCount == 0) {
    (found->prev ? found->prev->next : InstanceList) = found->next;
    if (found->next) found->next->prev = found->prev;
    delete found;
  }
  pthread_mutex_unlock(&Mutex);
}

bool KFTFallback::Matches(const KArray<KFTFont*>* otherFonts,
                          const KArray<KFTFontRange>* otherRanges) const {
  if (!otherFonts || Count(*otherFonts) != fonts.count) return false;
  for (unsigned i = 0; i < fonts.count; ++i) {
    if (identities[i] != IdentityOf((*otherFonts)[i])) return false;
  }
  if (!otherRanges || Count(*otherRanges) == 0) return ranges.count == 0;
  return std::equal(ranges.begin(), ranges.end(), otherRanges->begin(), otherRanges->end(),
                    SameRange);
}

// Building ----------------------------------------------------------------------------------------

bool KFTFallback::Init(const KArray<KFTFont*>* newFonts, const KArray<KFTFontRange>* newRanges) {
  if (newFonts && newFonts != &fonts && !CopyFonts(*newFonts)) return false;
  id = ++IdCounter;
  if (fonts.count == 0) return true;
  if (newRanges && newRanges != &ranges && !CopyRanges(*newRanges)) return false;
  return BuildTable();
}

bool KFTFallback::CopyFonts(const KArray<KFTFont*>& source) {
  if (Count(source) == 0) return true;
  fonts.data = NewArray<KFTFont*>(source.count);
  identities = NewArray<Identity>(source.count);
  if (!fonts.data || !identities) return false;
  fonts.count = source.count;
  std::copy(source.begin(), source.end(), fonts.data);
  std::transform(source.begin(), source.end(), identities, IdentityOf);
  return true;
}

bool KFTFallback::CopyRanges(const KArray<KFTFontRange>& source) {
  if (Count(source) == 0) return true;
  ranges.data = NewArray<KFTFontRange>(source.count);
  if (!ranges.data) return false;
  ranges.count = source.count;
  std::copy(source.begin(), source.end(), ranges.data);
  return true;
}

// Stays with a font as long as it has the codes; where it has not, the first font of the list that
// does takes over, and where none does nothing changes. Codes 0 and 65535 are not looked up.
bool KFTFallback::BuildTable() {
  unsigned capacity = 0;
  unsigned current = 0;
  if (!AddRun(capacity, {0, 0})) return false;
  for (unsigned code = 1; code < 0xFFFF; ++code) {
    const auto ch = static_cast<unsigned short>(code);
    if (GlyphExists(current, ch)) continue;
    unsigned other = 0;
    while (other < fonts.count && (other == current || !GlyphExists(other, ch))) ++other;
    if (other == fonts.count || other > UINT16_MAX) continue;
    if (!AddRun(capacity, {ch, static_cast<std::uint16_t>(other)})) return false;
    current = other;
  }
  if (auto* exact = std::realloc(table, tableCount * sizeof(Run))) table = static_cast<Run*>(exact);
  return true;
}

bool KFTFallback::AddRun(unsigned& capacity, Run run) {
  if (tableCount == capacity) {
    const unsigned larger = capacity == 0 ? 16 : 2 * capacity;
    auto* moved = static_cast<Run*>(std::realloc(table, larger * sizeof(Run)));
    if (!moved) return false;
    table = moved;
    capacity = larger;
  }
  table[tableCount++] = run;
  return true;
}

bool KFTFallback::GlyphExists(unsigned fontIndex, unsigned short ch) const {
  if (fontIndex >= fonts.count) return false;
  const KFTFont* font = fonts[fontIndex];
  return font && font->face && FT_Get_Char_Index(font->face, ch) != 0;
}

// Asking ------------------------------------------------------------------------------------------

unsigned short KFTFallback::GetFont(unsigned short ch) const {
  if (fonts.count == 0) return 0;
  for (const KFTFontRange& range : ranges) {
    if (range.first <= ch && ch <= range.last) return range.font;
  }
  return BinarySearch(ch);
}

unsigned short KFTFallback::BinarySearch(unsigned short ch) const {
  if (tableCount == 0) return 0;
  unsigned at = tableCount >> 1;
  unsigned step = std::max(tableCount >> 2, 1u);
  for (;;) {
    if (table[at].start > ch) {
      at -= step;
    } else if (at + 1 == tableCount || table[at + 1].start > ch) {
      return table[at].font;
    } else {
      at += step;
    }
    if (step > 1) step >>= 1;
  }
}

unsigned short KFTFallback::LinearSearch(unsigned short ch) const {
  if (tableCount == 0) return 0;
  unsigned run = 0;
  while (run + 1 < tableCount && table[run + 1].start <= ch) ++run;
  return table[run].font;
}
