// Where subjects come from: a container of drawings, a DXF file or a font.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "krdcmmn/font/font.h"

#include "apps/krview/subject.h"

namespace kr_view {

class Library {
 public:
  virtual ~Library() = default;
  // Names in UTF-8, in the order of choosing.
  virtual const std::vector<std::string>& names() const = 0;
  // Throws kr_app::Failure.
  virtual std::unique_ptr<Subject> load(std::size_t index) = 0;
  // The file, as messages name it.
  virtual const std::string& path() const = 0;
};

// `path` is a container, or a drawing when it ends in ".dxf". `texts` is borrowed.
// Nothing is written, and the container is open only while something is read from it. Throws
// kr_app::Failure.
std::unique_ptr<Library> OpenDrawings(const std::string& path, kr::font& texts);
// `text` as MakeFontSubject takes it, with "\n" typed for LF; `labels` is borrowed.
std::unique_ptr<Library> OpenFont(const std::string& path, const std::string& text,
                                  kr::font& labels);

}  // namespace kr_view
