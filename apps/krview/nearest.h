// Finds the element of a drawing that is nearest to a point.
//
// Elements are put into the order of a space-filling curve, and boxes are built over runs of them,
// level by level, so that a search looks into few boxes.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "apps/krview/subject.h"
#include "apps/sheet/bounds.h"

namespace kr_view {

// The kinds as Subject::Element numbers them: the order of kr_sheet::ForEachKind.
enum ElementKind { kPolygon, kTrack, kLine, kArc, kCircle, kPoint, kText };

// The distance from `p` to an element, in model units. To be inside a filled area or a text's box
// counts as `reach`, so that what is drawn on it comes first.
double DistanceTo(const kr_sheet::Drawing& drawing, Subject::Element element, KRD::DOT p,
                  double reach);

class NearestIndex {
 public:
  // The drawing is borrowed. Elements of hidden layers are left out.
  explicit NearestIndex(const kr_sheet::Drawing& drawing);

  std::optional<Subject::Element> find(KRD::DOT p, double reach) const;

 private:
  void gather();

  const kr_sheet::Drawing& drawing_;
  std::vector<Subject::Element> elements_;
  // levels_[0][i] holds elements [i * kRun, (i + 1) * kRun), a level above as many boxes below.
  std::vector<std::vector<kr_sheet::Bounds>> levels_;
};

}  // namespace kr_view
