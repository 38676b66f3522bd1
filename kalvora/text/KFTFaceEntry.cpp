// KFTFaceEntry: pages of glyph indices.
#include "kalvora/text/KFTFaceEntry.h"

#include <algorithm>
#include <new>

KFTCharPage::KFTCharPage(std::uint32_t firstCode, std::int32_t face)
    : base(firstCode), next(nullptr), prev(nullptr), faceIndex(face) {
  std::fill_n(index, kCodes, kUnknown);
}

KFTFaceEntry::~KFTFaceEntry() {
  while (pages) {
    KFTCharPage* following = pages->next;
    delete pages;
    pages = following;
  }
}

std::uint32_t* KFTFaceEntry::Slot(std::uint32_t code, std::int32_t faceIndex) {
  const std::uint32_t base = code & ~(KFTCharPage::kCodes - 1);
  KFTCharPage* page = pages;
  while (page && (page->base != base || page->faceIndex != faceIndex)) page = page->next;
  if (!page) {
    page = new (std::nothrow) KFTCharPage(base, faceIndex);
    if (!page) return nullptr;
    page->next = pages;
    if (pages) pages->prev = page;
    pages = page;
  }
  return &page->index[code - base];
}
