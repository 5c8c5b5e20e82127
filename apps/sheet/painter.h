// Draws a drawing on a device.
//
// Elements come kind by kind (areas first, texts last) and, within a kind, pen by pen, so that the
// device's pen changes once a run. They are gathered once into batches with a box, and batches out
// of sight are left out as a whole. Drawing allocates nothing.
#pragma once

#include <cstdint>
#include <vector>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/drawfont.h"

#include "apps/sheet/model.h"

namespace kr_sheet {

class Painter {
 public:
  // The drawing, which is sound, and the font are borrowed; without a font texts are not drawn.
  // `diameter` is the slot of the font's diameter sign, or 0. What changes in the drawing
  // afterwards is not seen.
  explicit Painter(const Drawing& drawing, kr::font* font = nullptr, unsigned char diameter = 0);

  // Draws between SetContext and ReleaseContext, on a target that has been cleared to `background`
  // (0x00BBGGRR). Pen and brush are left as they come.
  void draw(DRAW_DEVICE& device, std::uint32_t background);

  // Characters of the texts that the font does not have.
  int missingCharacters() const { return missing_; }

  // The colour that a pen has on a background. What would be as good as invisible is drawn in
  // black or white.
  std::uint32_t colour(const Pen& pen, std::uint32_t background) const;
  // The pen's style of the platform.
  int style(const Pen& pen) const;

 private:
  // Elements [first, last) of one pen.
  struct Batch {
    std::uint32_t first, last;
    std::int32_t pen;
    KRD::LTRB box;
  };

  template <class T>
  void gather(const KRD::TARRAY<T>& elements, std::vector<Batch>& batches);
  template <class T, class Draw>
  void batches(DRAW_DEVICE& device, std::uint32_t background, const KRD::TARRAY<T>& elements,
               const std::vector<Batch>& list, Draw&& draw);
  void prepareTexts(unsigned char diameter);
  kr::drawfont writer(const Text& text) const;
  void drawText(DRAW_DEVICE& device, std::uint32_t i, std::uint32_t colour);

  const Drawing& drawing_;
  kr::font* font_;
  std::vector<Batch> polygons_, tracks_, lines_, arcs_, circles_, points_, labels_;
  KRD::BASE_TEXT strings_;         // the texts as the font's slots
  std::vector<KRD::DOT> anchors_;  // of each label, moved to where the layout wants it
  int missing_ = 0;
  KRD::LTRB seen_{};  // what the target shows, while drawing
};

// Black or white, whichever is seen on a background.
std::uint32_t ContrastTo(std::uint32_t background);

// Shows `box` as large as the window allows, with a little room around it. Also sets the limits of
// the scale: from the whole range of coordinates to many pixels a micrometre.
void ShowBox(DRAW_DEVICE& device, KRD::LTRB box);

}  // namespace kr_sheet
