// KTypeface: a face of a font file that paragraphs are set in.
#ifndef KALVORA_TYPESET_KTYPEFACE_H
#define KALVORA_TYPESET_KTYPEFACE_H

#include <cstddef>
#include <cstdint>

#include "kalvora/export.h"
#include "kalvora/support/KError.h"
#include "kalvora/text/KFTFont.h"

struct hb_blob_t;
struct hb_font_t;

/// A face for text of any size: the library's font, and what shaping reads of its file.
///
/// Like a KFTFont it belongs to the thread that loaded it: load, draw and destroy it there. When
/// that thread ends, it draws nothing more. It must outlive the paragraphs that use it. A file must
/// stay as it is while it is loaded (see KFTFont). Typefaces cannot be copied.
class KALVORA_API KTypeface {
 public:
  KTypeface();
  ~KTypeface();
  KTypeface(const KTypeface&) = delete;
  KTypeface& operator=(const KTypeface&) = delete;

  /// Loads a face of a TrueType or OpenType file, in place of what was loaded. False leaves the
  /// typeface empty: the file cannot be read, is no such font, or has no such face.
  bool Load(const char* path, int index = 0);
  /// The same with a file in memory, which must stay as it is until the typeface is destroyed or
  /// has loaded another one.
  bool LoadFromMemory(const void* data, std::size_t size, int index = 0);
  /// Why the last Load or LoadFromMemory returned false, or that it did not.
  const KError& LastError() const { return error_; }
  bool IsLoaded() const { return hbFont_ != nullptr; }
  /// The index of a character's glyph; 0 when the face has none, or is empty.
  std::uint32_t GlyphOf(char32_t character) const;
  bool Has(char32_t character) const { return GlyphOf(character) != 0; }
  /// Whether it has pictures in colours, which emoji are shown in if possible.
  bool HasColors() const { return colors_; }

  /// The library's font, at whichever size it drew last.
  KFTFont& Font() { return font_; }
  /// For shaping; null when empty. Its scale is font units.
  hb_font_t* Shaping() const { return hbFont_; }

 private:
  void Unload();
  bool Open(hb_blob_t* file, int index);
  bool Fail(KErrorCode code, const char* why);

  KFTFont font_;
  KError error_;
  hb_font_t* hbFont_ = nullptr;
  bool colors_ = false;
};

#endif
