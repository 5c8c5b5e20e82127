// G-code for an engraver or a plotter with a tool: millimetres, absolute, the paper's lower left
// corner at (0, 0), the tool down at Z 0.
#include <algorithm>
#include <cmath>

#include "apps/kr/text/forms.h"

namespace kr_app {

using KRD::DOT;
using KRD::FDOT;

namespace {

// Number of chords that keep an arc within `tolerance` (in units of its radius): a chord over the
// angle a leaves its arc by 1 - cos(a / 2).
int ChordCount(double sweep, double tolerance) {
  constexpr double kFewest = 1.0;
  constexpr double kMost = 100000.0;
  const double half = std::acos(std::clamp(1.0 - tolerance, 0.0, 1.0));
  return static_cast<int>(
      std::clamp(half > 0.0 ? std::ceil(0.5 * sweep / half) : kMost, kFewest, kMost));
}

class GcodeSink : public StrokeSink {
 public:
  GcodeSink(const Box& paper, const FormOptions& options) : paper_(paper), options_(options) {}

  std::string moves;

  void Lift() {
    if (!at_.empty()) {
      moves += "G0 Z" + Number(options_.lift, 4) + '\n';
      at_.clear();
    }
  }

 protected:
  void Line(DOT from, DOT to) override {
    Begin({static_cast<double>(from.x), static_cast<double>(from.y)});
    Cut({static_cast<double>(to.x), static_cast<double>(to.y)});
  }
  void Arc(const ArcStroke& arc) override {
    Begin(arc.At(0.0));
    if (options_.tolerance > 0.0) {
      const int chords = ChordCount(arc.sweep, options_.tolerance * kUnitsPerMm / arc.radius);
      for (int i = 1; i <= chords; ++i) {
        Cut(arc.At(static_cast<double>(i) / chords));
      }
      return;
    }
    // Controllers take equal ends for no arc or for a circle: a long arc goes in two.
    const bool halves = arc.sweep > 1.5 * std::numbers::pi;
    if (halves) {
      Turn(arc, 0.0, 0.5);
    }
    Turn(arc, halves ? 0.5 : 0.0, 1.0);
  }
  void Circle(DOT centre, int radius) override {
    Arc({centre, radius, 0.0, 2.0 * std::numbers::pi});
  }

 private:
  std::string At(FDOT p) const {
    return " X" + Mm(p.x - static_cast<double>(paper_.left)) + " Y" +
           Mm(p.y - static_cast<double>(paper_.bottom));
  }
  void Begin(FDOT p) {
    const std::string start = At(p);
    if (start != at_) {
      Lift();
      moves += "G0" + start + "\nG1 Z0 F" + Number(options_.feed, 4) + '\n';
      at_ = start;
    }
  }
  void Cut(FDOT p) {
    const std::string end = At(p);
    if (end != at_) {  // the tool has made a dot when it came down
      moves += "G1" + end + '\n';
      at_ = end;
    }
  }
  void Turn(const ArcStroke& arc, double from, double to) {
    const FDOT start = arc.At(from);
    at_ = At(arc.At(to));
    moves +=
        "G3" + at_ + " I" + Mm(arc.centre.x - start.x) + " J" + Mm(arc.centre.y - start.y) + '\n';
  }

  Box paper_;
  FormOptions options_;
  std::string at_;  // where the tool is down; empty while it is up
};

}  // namespace

std::string GcodeForm(const TextJob& job, const FormOptions& options) {
  const Box paper = job.Paper();
  GcodeSink sink(paper, options);
  job.Write(sink);
  sink.Lift();
  return "; millimetres, paper " + Mm(paper.width()) + " x " + Mm(paper.height()) + ", pen " +
         Mm(std::int64_t{job.pen()}) + "\nG21\nG90\nG17\nG0 Z" + Number(options.lift, 4) + '\n' +
         sink.moves + "M2\n";
}

}  // namespace kr_app
