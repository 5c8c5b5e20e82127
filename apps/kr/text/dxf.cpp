// DXF of release 12: LINE, ARC and CIRCLE on layer 0, in millimetres, the aligned point at the
// origin.
#include "apps/kr/text/forms.h"

namespace kr_app {

using KRD::DOT;

namespace {

std::string Group(int code, const std::string& value) {
  const std::string number = std::to_string(code);
  return std::string(number.size() < 3 ? 3 - number.size() : 0, ' ') + number + '\n' + value + '\n';
}

std::string Point(int code, const std::string& x, const std::string& y) {
  return Group(code, x) + Group(code + 10, y);
}

std::string Point(int code, DOT p) {
  return Point(code, Mm(std::int64_t{p.x}), Mm(std::int64_t{p.y})) + Group(code + 20, "0");
}

// An angle in degrees from 0 up to 360.
std::string Degrees(double radians) {
  double degrees = radians / kDegree;
  degrees += degrees < 0.0 ? 360.0 : 0.0;
  return Number(degrees >= 360.0 ? degrees - 360.0 : degrees, 6);
}

class DxfSink : public StrokeSink {
 public:
  std::string entities;

 protected:
  void Line(DOT from, DOT to) override {
    entities += Head("LINE") + Point(10, from) + Point(11, to);
  }
  void Arc(const ArcStroke& arc) override {
    entities += Head("ARC") + Point(10, arc.centre) + Group(40, Mm(std::int64_t{arc.radius})) +
                Group(50, Degrees(arc.start)) + Group(51, Degrees(arc.start + arc.sweep));
  }
  void Circle(DOT centre, int radius) override {
    entities += Head("CIRCLE") + Point(10, centre) + Group(40, Mm(std::int64_t{radius}));
  }

 private:
  static std::string Head(const char* kind) { return Group(0, kind) + Group(8, "0"); }
};

// The corners of the paper: EXT in space, LIM on the plane.
std::string Corners(const Box& box) {
  std::string corners;
  for (const char* name : {"$EXTMIN", "$EXTMAX", "$LIMMIN", "$LIMMAX"}) {
    const bool upper = name[5] == 'A';
    corners += Group(9, name) +
               Point(10, Mm(upper ? box.right : box.left), Mm(upper ? box.top : box.bottom)) +
               (name[1] == 'E' ? Group(30, "0") : "");
  }
  return corners;
}

}  // namespace

std::string DxfForm(const TextJob& job, const FormOptions&) {
  const Box paper = job.Paper();
  DxfSink sink;
  job.Write(sink);
  return Group(999, "Unit: 1 millimetre. The text is aligned to the origin.") +
         Group(0, "SECTION") + Group(2, "HEADER") + Group(9, "$ACADVER") + Group(1, "AC1009") +
         Corners(paper) + Group(0, "ENDSEC") + Group(0, "SECTION") + Group(2, "ENTITIES") +
         sink.entities + Group(0, "ENDSEC") + Group(0, "EOF");
}

}  // namespace kr_app
