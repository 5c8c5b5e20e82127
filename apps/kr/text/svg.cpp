#include "apps/kr/text/svg.h"

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

std::string Point(char command, double x, double y) {
  return command + Mm(x) + ' ' + Mm(-y);
}

}  // namespace

void SvgSink::Line(DOT from, DOT to) {
  if (broken_ || from.x != at_.x || from.y != at_.y) {
    path_ += '\n' + Point('M', from.x, from.y);
  }
  path_ += Point('L', to.x, to.y);
  at_ = to;
  broken_ = false;
}

void SvgSink::Arc(const ArcStroke& arc) {
  const FDOT start = arc.At(0.0);
  path_ += '\n' + Point('M', start.x, start.y);
  // A half turn at a time: one arc of a whole turn has no ends to tell its centre by.
  const bool whole = arc.sweep > 1.9 * std::numbers::pi;
  for (double part : {0.5, 1.0}) {
    if (whole || part == 1.0) {
      const FDOT end = arc.At(part);
      const bool large = !whole && arc.sweep > std::numbers::pi;
      const std::string radius = Mm(std::int64_t{arc.radius});
      path_ += 'A' + radius + ' ' + radius + (large ? " 0 1 0 " : " 0 0 0 ") + Mm(end.x) + ' ' +
               Mm(-end.y);
    }
  }
  broken_ = true;
}

void SvgSink::Circle(DOT centre, int radius) {
  circles_ += "<circle cx=\"" + Mm(std::int64_t{centre.x}) + "\" cy=\"" +
              Mm(-std::int64_t{centre.y}) + "\" r=\"" + Mm(std::int64_t{radius}) + "\"/>\n";
}

std::string SvgSink::Group(const std::string& colour, int pen) const {
  return "<g fill=\"none\" stroke=\"" + colour + "\" stroke-width=\"" + Mm(std::int64_t{pen}) +
         "\" stroke-linecap=\"round\" stroke-linejoin=\"round\">\n" +
         (path_.empty() ? "" : "<path d=\"" + path_.substr(1) + "\"/>\n") + circles_ + "</g>\n";
}

std::string SvgPage(const Box& paper, const std::string& title, const std::string& groups) {
  const std::string width = Mm(paper.width());
  const std::string height = Mm(paper.height());
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
         width + "mm\" height=\"" + height + "mm\" viewBox=\"" + Mm(paper.left) + ' ' +
         Mm(-paper.top) + ' ' + width + ' ' + height + "\">\n<title>" + Escaped(title) +
         "</title>\n" + groups + "</svg>\n";
}

std::string SvgForm(const TextJob& job, const FormOptions& options) {
  SvgSink sink;
  job.Write(sink);
  return SvgPage(job.Paper(), options.title, sink.Group("black", job.pen()));
}

}  // namespace kr_app
