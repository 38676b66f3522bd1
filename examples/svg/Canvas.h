// Canvas: the picture, and the only part of the program that draws with the library. What is
// virtual can be replaced, to record a drawing instead (see bench/).
#ifndef EXAMPLES_SVG_CANVAS_H
#define EXAMPLES_SVG_CANVAS_H

#include <memory>
#include <vector>

#include "kalvora/kalvora.h"

#include "examples/svg/Ink.h"
#include "examples/svg/Outline.h"

namespace svg {

class Canvas {
 public:
  /// A picture of one colour. Throws Error when there is no memory for it.
  Canvas(unsigned width, unsigned height, KFormat format, Color background);
  virtual ~Canvas() = default;

  /// Fills an outline that is given in pixels.
  virtual void Fill(const Outline& outline, bool evenOdd, const Ink& ink);
  /// Strokes an outline whose user space, and so the pen, is mapped to pixels.
  virtual void Stroke(const Outline& outline, const Affine& toPixels, const Pen& pen,
                      const Ink& ink);
  /// Draws an image whose own pixels are mapped to those of the picture.
  virtual void DrawImage(KSoftPixmap& image, const Affine& toPixels, double opacity);

  /// Everything until EndLayer goes into a transparent picture of its own, without a clip. False
  /// when there are too many or no memory: then there is no layer to end.
  virtual bool BeginLayer();
  /// Puts the layer onto what is below, through the clip there.
  void EndLayer(double opacity);
  /// Multiplies the layer by the brightness and alpha of the one above it, which ends too.
  void EndMask();

  /// Clips the present layer to an outline in pixels that is not empty.
  virtual void SetClip(const Outline& outline, bool evenOdd);
  void ResetClip();
  bool HasClip() const { return Top().clipped; }

  KSoftPixmap& Picture() { return layers_.front()->picture; }

 private:
  struct Layer {
    KSoftPixmap picture;
    KSoftContext2D context;
    bool clipped = false;
  };

  Layer& Top() const { return *layers_.back(); }
  bool AddLayer(unsigned width, unsigned height, KFormat format, KColor32 color);
  void DrawOutline(const Outline& outline);

  std::vector<std::unique_ptr<Layer>> layers_;
  std::uint64_t layerPixels_ = 0;  // of all layers so far
};

}  // namespace svg

#endif
