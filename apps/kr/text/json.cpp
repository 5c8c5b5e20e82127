// The strokes as data: millimetres and degrees, y upward, the aligned point at the origin.
#include <cstdio>

#include "apps/kr/text/forms.h"

namespace kr_app {

using KRD::DOT;

namespace {

std::string Quoted(const std::string& text) {
  std::string out = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') {
      out += '\\';
      out += c;
    } else if (static_cast<unsigned char>(c) < ' ') {
      char code[8];
      std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c));
      out += code;
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string Pair(DOT p) {
  return '[' + Mm(std::int64_t{p.x}) + ", " + Mm(std::int64_t{p.y}) + ']';
}

class JsonSink : public StrokeSink {
 public:
  std::string strokes;

 protected:
  void Line(DOT from, DOT to) override {
    Begin();
    strokes += "{\"line\": [" + Pair(from) + ", " + Pair(to) + "]}";
  }
  void Arc(const ArcStroke& arc) override {
    Begin();
    strokes += "{\"arc\": {\"centre\": " + Pair(arc.centre) +
               ", \"radius\": " + Mm(std::int64_t{arc.radius}) +
               ", \"start\": " + Number(arc.start / kDegree, 6) +
               ", \"sweep\": " + Number(arc.sweep / kDegree, 6) + "}}";
  }
  void Circle(DOT centre, int radius) override {
    Begin();
    strokes += "{\"circle\": {\"centre\": " + Pair(centre) +
               ", \"radius\": " + Mm(std::int64_t{radius}) + "}}";
  }

 private:
  void Begin() { strokes += strokes.empty() ? "\n    " : ",\n    "; }
};

}  // namespace

std::string JsonForm(const TextJob& job, const FormOptions& options) {
  const Box paper = job.Paper();
  JsonSink sink;
  job.Write(sink);
  return "{\n  \"text\": " + Quoted(options.title) +
         ",\n  \"unit\": \"mm\",\n  \"pen\": " + Mm(std::int64_t{job.pen()}) +
         ",\n  \"paper\": {\"left\": " + Mm(paper.left) + ", \"bottom\": " + Mm(paper.bottom) +
         ", \"right\": " + Mm(paper.right) + ", \"top\": " + Mm(paper.top) +
         "},\n  \"strokes\": [" + sink.strokes + (sink.strokes.empty() ? "]" : "\n  ]") + "\n}\n";
}

}  // namespace kr_app
