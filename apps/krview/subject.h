// What the viewer shows: a drawing, or a specimen of a font.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "krdcmmn/draw/draw_device.h"
#include "krdcmmn/font/font.h"

#include "apps/sheet/model.h"

namespace kr_view {

class Subject {
 public:
  // An element, as find gives it.
  struct Element {
    int kind;
    std::uint32_t index;
    bool operator==(const Element&) const = default;
  };

  virtual ~Subject() = default;

  virtual KRD::LTRB box() const = 0;
  // Draws on a target cleared to `background`, between SetContext and ReleaseContext.
  virtual void draw(DRAW_DEVICE& device, std::uint32_t background) = 0;
  // The element nearest to `p`, if one is within `reach` model units.
  virtual std::optional<Element> find(KRD::DOT p, double reach) = 0;
  // Draws one element in `colour`, strokes `width` model units wide.
  virtual void mark(DRAW_DEVICE& device, Element element, std::int32_t width,
                    std::uint32_t colour) = 0;
  // One line about an element, UTF-8.
  virtual std::string describe(Element element) = 0;
  // What 1000 model units are called.
  virtual const char* unit() const = 0;

  std::string name;  // UTF-8
};

// The fonts are borrowed.
std::unique_ptr<Subject> MakeDrawingSubject(std::unique_ptr<kr_sheet::Drawing> drawing,
                                            kr::font& texts);
// `text`, UTF-8 with LF between lines; an empty one stands for samples and a table of the glyphs.
std::unique_ptr<Subject> MakeFontSubject(std::unique_ptr<kr::font> font, const std::string& name,
                                         const std::string& text, kr::font& labels);

}  // namespace kr_view
