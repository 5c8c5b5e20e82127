#include "krdcmmn/font/font.h"

#include <algorithm>
#include <cstring>

#include "krdcmmn/font/font_exception.h"
#include "krdcmmn/xml/message_container.h"

namespace kr {

namespace {

template <class T>
void CopyElements(KRD::TARRAY<T>& to, const KRD::TARRAY<T>& from) {
  to.setNElem(from.count());
  if (from.count() != 0) {
    std::memcpy(to.elements(), from.elements(), from.count() * sizeof(T));
  }
}

template <class T>
void SetZeroSlots(KRD::TARRAY<T>& table) {
  table.setNElem(font::kSlots);
  std::memset(table.elements(), 0, font::kSlots * sizeof(T));
}

}  // namespace

FontException::~FontException() = default;

const char* FontException::what() const noexcept {
  return SystemMessageContainer().find("kr_Font_Error");
}

font::font() {
  Init();
}

font::font(const font& source) : sourceSize(0) {
  *this = source;
}

font& font::operator=(const font& source) {
  if (this == &source) {
    return *this;
  }
  text = source.text;
  height = source.height;
  descent = source.descent;
  fileName = source.fileName;
  current = source.current;
  CopyElements(primCount, source.primCount);
  CopyElements(primFirst, source.primFirst);
  CopyElements(primKind, source.primKind);
  CopyElements(primData, source.primData);
  CopyElements(linePoints, source.linePoints);
  CopyElements(arcPoints, source.arcPoints);
  CopyElements(circlePoints, source.circlePoints);
  CopyElements(boxMin, source.boxMin);
  CopyElements(boxMax, source.boxMax);
  CopyElements(advance, source.advance);
  return *this;
}

font::~font() = default;

void font::Init() {
  height = 0.0;
  text = nullptr;
  descent = 0;
  sourceSize = 0;
  fileName.empty();
  current = 0;
  SetZeroSlots(primFirst);
  SetZeroSlots(primCount);
  SetZeroSlots(advance);
  SetZeroSlots(boxMin);
  SetZeroSlots(boxMax);
}

// Views have no owner of their own, so that exactly one of the copies here is left to unmap each.
bool font::Open(const char* path) {
  mapfile next;
  next.open(path, false, false);
  view.close();
  view = next;
  next = mapfile();
  text = static_cast<const char*>(view.data());
  return true;
}

bool font::Close() {
  return view.close();
}

int font::size() {
  return static_cast<int>(view.size());
}

font::PRIM_RANGE font::Prims(int slot) const {
  if (slot < 0 || slot >= kSlots) {
    return {0, 0};
  }
  const auto index = static_cast<unsigned>(slot);
  const auto held = static_cast<std::int32_t>(std::min(primKind.count(), primData.count()));
  const std::int32_t first = std::clamp(primFirst[index], 0, held);
  return {first, first + std::clamp(primCount[index], 0, held - first)};
}

void font::EmptyGeometry() {
  primKind.empty();
  primData.empty();
  linePoints.empty();
  arcPoints.empty();
  circlePoints.empty();
}

void font::ResetGlyphs() {
  EmptyGeometry();
  SetZeroSlots(primFirst);
  SetZeroSlots(primCount);
  SetZeroSlots(advance);
  SetZeroSlots(boxMin);
  SetZeroSlots(boxMax);
  height = 0.0;
}

}  // namespace kr
