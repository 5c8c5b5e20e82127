// Pieces of Scalable Vector Graphics: strokes as a path of lines and arcs, y downward.
#pragma once

#include <string>

#include "apps/kr/text/text_job.h"

namespace kr_app {

class SvgSink : public StrokeSink {
 public:
  // The strokes so far as elements, in one group of a colour ("#rrggbb") and a pen in model units.
  std::string Group(const std::string& colour, int pen) const;

 protected:
  void Line(KRD::DOT from, KRD::DOT to) override;
  void Arc(const ArcStroke& arc) override;
  void Circle(KRD::DOT centre, int radius) override;

 private:
  std::string path_;
  std::string circles_;
  KRD::DOT at_{0, 0};
  bool broken_ = true;  // the path does not end in `at_`
};

// A document of the paper's size in millimetres around groups.
std::string SvgPage(const Box& paper, const std::string& title, const std::string& groups);

}  // namespace kr_app
