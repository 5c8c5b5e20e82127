// Scalable Vector Graphics: one path of lines and arcs, y downward, the paper as its view box.
#include "apps/kr/text/forms.h"

namespace kr_app {

using KRD::DOT;
using KRD::FDOT;

namespace {

std::string Escaped(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '<':
        out += "&lt;";
        break;
      case '&':
        out += "&amp;";
        break;
      default:
        // XML has no way to write most control characters.
        out += static_cast<unsigned char>(c) < ' ' && c != '\n' ? ' ' : c;
    }
  }
  return out;
}

class SvgSink : public StrokeSink {
 public:
  std::string path;
  std::string circles;

 protected:
  void Line(DOT from, DOT to) override {
    if (path.empty() || from.x != at_.x || from.y != at_.y || broken_) {
      path += '\n' + Point('M', from.x, from.y);
    }
    path += Point('L', to.x, to.y);
    at_ = to;
    broken_ = false;
  }
  void Arc(const ArcStroke& arc) override {
    const FDOT start = arc.At(0.0);
    path += '\n' + Point('M', start.x, start.y);
    // A half turn at a time: one arc of a whole turn has no ends to tell its centre by.
    const bool whole = arc.sweep > 1.9 * std::numbers::pi;
    for (double part : {0.5, 1.0}) {
      if (whole || part == 1.0) {
        const FDOT end = arc.At(part);
        const bool large = !whole && arc.sweep > std::numbers::pi;
        path += 'A' + Mm(std::int64_t{arc.radius}) + ' ' + Mm(std::int64_t{arc.radius}) +
                (large ? " 0 1 0 " : " 0 0 0 ") + Mm(end.x) + ' ' + Mm(-end.y);
      }
    }
    broken_ = true;
  }
  void Circle(DOT centre, int radius) override {
    circles += "<circle cx=\"" + Mm(std::int64_t{centre.x}) + "\" cy=\"" +
               Mm(-std::int64_t{centre.y}) + "\" r=\"" + Mm(std::int64_t{radius}) + "\"/>\n";
  }

 private:
  static std::string Point(char command, double x, double y) {
    return command + Mm(x) + ' ' + Mm(-y);
  }

  DOT at_{0, 0};
  bool broken_ = true;  // the path does not end in `at_`
};

}  // namespace

std::string SvgForm(const TextJob& job, const FormOptions& options) {
  const Box paper = job.Paper();
  SvgSink sink;
  job.Write(sink);
  const std::string width = Mm(paper.width());
  const std::string height = Mm(paper.height());
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
         width + "mm\" height=\"" + height + "mm\" viewBox=\"" + Mm(paper.left) + ' ' +
         Mm(-paper.top) + ' ' + width + ' ' + height + "\">\n<title>" + Escaped(options.title) +
         "</title>\n<g fill=\"none\" stroke=\"black\" stroke-width=\"" +
         Mm(std::int64_t{job.pen()}) + "\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n" +
         (sink.path.empty() ? "" : "<path d=\"" + sink.path.substr(1) + "\"/>\n") + sink.circles +
         "</g>\n</svg>\n";
}

}  // namespace kr_app
