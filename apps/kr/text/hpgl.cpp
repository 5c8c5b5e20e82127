// HPGL for plotters: units of 0.025 mm, the paper's lower left corner at (0, 0).
#include "apps/kr/text/forms.h"

namespace kr_app {

using KRD::DOT;
using KRD::FDOT;

namespace {

constexpr double kPlotterUnits = 40.0 / kUnitsPerMm;  // in one model unit

class HpglSink : public StrokeSink {
 public:
  explicit HpglSink(const Box& paper) : paper_(paper) {}

  std::string plot;

 protected:
  void Line(DOT from, DOT to) override {
    const std::string start = At(from.x, from.y);
    if (start != pen_) {
      plot += "PU" + start + ";\n";
    }
    pen_ = At(to.x, to.y);
    plot += "PD" + pen_ + ";\n";
  }
  void Arc(const ArcStroke& arc) override {
    const FDOT start = arc.At(0.0);
    const std::string from = At(start.x, start.y);
    if (from != pen_) {
      plot += "PU" + from + ";\n";
    }
    plot += "PD;AA" + At(arc.centre.x, arc.centre.y) + ',' + Number(arc.sweep / kDegree, 4) + ";\n";
    pen_.clear();  // near the arc's end, to the plotter's rounding
  }
  void Circle(DOT centre, int radius) override {
    plot += "PU" + At(centre.x, centre.y) + ";CI" + Number(radius * kPlotterUnits, 0) + ";\n";
    pen_.clear();
  }

 private:
  std::string At(double x, double y) const {
    return Number((x - static_cast<double>(paper_.left)) * kPlotterUnits, 0) + ',' +
           Number((y - static_cast<double>(paper_.bottom)) * kPlotterUnits, 0);
  }

  Box paper_;
  std::string pen_;  // where it stands; empty when that is not known
};

}  // namespace

std::string HpglForm(const TextJob& job, const FormOptions&) {
  const Box paper = job.Paper();
  HpglSink sink(paper);
  job.Write(sink);
  const auto size = [](std::int64_t units) {
    return Number(static_cast<double>(units) * kPlotterUnits, 0);
  };
  return "IN;PS" + size(paper.height()) + ',' + size(paper.width()) + ";SP1;PW" +
         Mm(std::int64_t{job.pen()}) + ";\n" + sink.plot + "PU;SP0;\n";
}

}  // namespace kr_app
