// Readers of the forms that kr text writes, by what each form says of itself: the strokes as points
// close to one another, in millimetres, y upward. Each has its own arithmetic for arcs.
#pragma once

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "krdcmmn/core/geometry.h"

namespace krtest {

using Points = std::vector<KRD::FDOT>;

inline constexpr double kStep = 0.03;  // mm between neighbouring points

inline void AddLine(Points& out, KRD::FDOT a, KRD::FDOT b) {
  const int n = static_cast<int>(std::hypot(b.x - a.x, b.y - a.y) / kStep) + 1;
  for (int i = 0; i <= n; ++i) {
    out.push_back({a.x + (b.x - a.x) * i / n, a.y + (b.y - a.y) * i / n});
  }
}

// Counter-clockwise for a positive sweep; degrees.
inline void AddArc(Points& out, KRD::FDOT c, double r, double start, double sweep) {
  const int n = static_cast<int>(std::abs(sweep) * M_PI / 180 * r / kStep) + 1;
  for (int i = 0; i <= n; ++i) {
    const double a = (start + sweep * i / n) * M_PI / 180;
    out.push_back({c.x + r * std::cos(a), c.y + r * std::sin(a)});
  }
}

inline double Degrees(KRD::FDOT c, KRD::FDOT p) {
  return std::atan2(p.y - c.y, p.x - c.x) * 180 / M_PI;
}

inline double Turn(double from, double to) {  // counter-clockwise, above 0 up to 360
  const double turn = std::fmod(to - from + 720.0, 360.0);
  return turn <= 1e-9 ? 360.0 : turn;
}

// The arc of an SVG path from a to b, with y downward, by the endpoint form.
inline void AddSvgArc(Points& out, KRD::FDOT a, KRD::FDOT b, double r, bool large, bool sweep) {
  const double hx = (a.x - b.x) / 2;
  const double hy = (a.y - b.y) / 2;
  const double k = std::sqrt(std::max(0.0, r * r / (hx * hx + hy * hy) - 1.0));
  const double side = large == sweep ? -1 : 1;
  const KRD::FDOT c = {(a.x + b.x) / 2 + side * k * hy, (a.y + b.y) / 2 - side * k * hx};
  double turn = Turn(Degrees(c, a), Degrees(c, b));
  turn = sweep ? turn : turn - 360.0;
  Points down;
  AddArc(down, c, r, Degrees(c, a), turn);
  for (KRD::FDOT p : down) {
    out.push_back({p.x, -p.y});
  }
}

inline double Attribute(const std::string& text, std::size_t at, const std::string& name) {
  const std::size_t found = text.find(name + "=\"", at);
  return std::strtod(text.c_str() + found + name.size() + 2, nullptr);
}

// One path's strokes from its first command to its closing quote.
inline void AddSvgPath(Points& out, const char* p) {
  const auto number = [&p] {
    char* end = nullptr;
    const double v = std::strtod(p, &end);
    p = end;
    return v;
  };
  KRD::FDOT pen = {0, 0};
  while (*p != '"') {
    const char command = *p++;
    if (command == 'A') {
      const double r = number();
      number();
      number();
      const bool large = number() != 0;
      const bool sweep = number() != 0;
      const double x = number();
      const KRD::FDOT to = {x, number()};
      AddSvgArc(out, pen, to, r, large, sweep);
      pen = to;
    } else if (command == 'M' || command == 'L') {
      const double x = number();
      const KRD::FDOT to = {x, number()};
      if (command == 'L') {
        AddLine(out, {pen.x, -pen.y}, {to.x, -to.y});
      }
      pen = to;
    } else if (command != '\n') {
      throw std::runtime_error(std::string("path command ") + command);
    }
  }
}

inline Points SvgPoints(const std::string& svg) {
  Points out;
  for (std::size_t at = 0; (at = svg.find("<circle", at)) != std::string::npos; ++at) {
    AddArc(out, {Attribute(svg, at, "cx"), -Attribute(svg, at, "cy")}, Attribute(svg, at, "r"), 0,
           360);
  }
  for (std::size_t at = 0; (at = svg.find(" d=\"", at)) != std::string::npos; ++at) {
    AddSvgPath(out, svg.c_str() + at + 4);
  }
  return out;
}

inline Points DxfPoints(const std::string& dxf) {
  Points out;
  std::istringstream in(dxf.substr(dxf.find("ENTITIES")));
  std::string kind, code, value;
  std::map<int, double> g;
  std::getline(in, code);
  while (std::getline(in, code) && std::getline(in, value)) {
    if (std::atoi(code.c_str()) != 0) {
      g[std::atoi(code.c_str())] = std::strtod(value.c_str(), nullptr);
      continue;
    }
    if (kind == "LINE") {
      AddLine(out, {g[10], g[20]}, {g[11], g[21]});
    } else if (kind == "ARC") {
      AddArc(out, {g[10], g[20]}, g[40], g[50], Turn(g[50], g[51]));
    } else if (kind == "CIRCLE") {
      AddArc(out, {g[10], g[20]}, g[40], 0, 360);
    }
    kind = value;
  }
  return out;
}

// `corner` is the paper's lower left corner in the model.
inline Points HpglPoints(const std::string& plot, KRD::FDOT corner) {
  constexpr double kUnit = 0.025;
  Points out;
  KRD::FDOT pen = corner;
  bool down = false;
  std::istringstream in(plot);
  for (std::string word; std::getline(in, word, ';');) {
    word.erase(0, word.find_first_not_of('\n'));
    double a = 0, b = 0, c = 0;
    const std::string command = word.substr(0, 2);
    const int n = word.size() > 2 ? std::sscanf(word.c_str() + 2, "%lf,%lf,%lf", &a, &b, &c) : 0;
    const KRD::FDOT to = {corner.x + a * kUnit, corner.y + b * kUnit};
    if (command == "PU" || command == "PD") {
      down = command == "PD";
      if (n == 2) {
        if (down) {
          AddLine(out, pen, to);
        }
        pen = to;
      }
    } else if (command == "AA" && down) {
      const double r = std::hypot(pen.x - to.x, pen.y - to.y);
      AddArc(out, to, r, Degrees(to, pen), c);
      pen = out.back();
    } else if (command == "CI") {
      AddArc(out, pen, a * kUnit, 0, 360);
    }
  }
  return out;
}

inline Points GcodePoints(const std::string& code, KRD::FDOT corner) {
  Points out;
  KRD::FDOT pen = {0, 0};
  double z = 1;
  std::istringstream in(code);
  for (std::string line; std::getline(in, line);) {
    std::map<char, double> word;
    std::istringstream words(line);
    for (std::string w; words >> w;) {
      word[w[0]] = std::strtod(w.c_str() + 1, nullptr);
    }
    z = word.count('Z') != 0 ? word['Z'] : z;
    if (word.count('X') == 0) {
      continue;
    }
    const KRD::FDOT to = {corner.x + word['X'], corner.y + word['Y']};
    if (word['G'] == 0 && z <= 0) {
      throw std::runtime_error("a fast move with the tool down: " + line);
    }
    if (word['G'] == 1) {
      AddLine(out, pen, to);
    } else if (word['G'] == 3) {
      const KRD::FDOT c = {pen.x + word['I'], pen.y + word['J']};
      AddArc(out, c, std::hypot(word['I'], word['J']), Degrees(c, pen),
             Turn(Degrees(c, pen), Degrees(c, to)));
      if (std::hypot(out.back().x - to.x, out.back().y - to.y) > 0.01) {
        throw std::runtime_error("an arc that misses its end: " + line);
      }
    }
    pen = to;
  }
  return out;
}

inline Points JsonPoints(const std::string& json) {
  Points out;
  std::istringstream in(json);
  for (std::string line; std::getline(in, line);) {
    double a = 0, b = 0, c = 0, d = 0, e = 0;
    if (std::sscanf(line.c_str(), " {\"line\": [[%lf, %lf], [%lf, %lf", &a, &b, &c, &d) == 4) {
      AddLine(out, {a, b}, {c, d});
    } else if (std::sscanf(line.c_str(),
                           " {\"arc\": {\"centre\": [%lf, %lf], \"radius\": %lf, \"start\": %lf, "
                           "\"sweep\": %lf",
                           &a, &b, &c, &d, &e) == 5) {
      AddArc(out, {a, b}, c, d, e);
    } else if (std::sscanf(line.c_str(), " {\"circle\": {\"centre\": [%lf, %lf], \"radius\": %lf",
                           &a, &b, &c) == 3) {
      AddArc(out, {a, b}, c, 0, 360);
    }
  }
  return out;
}

}  // namespace krtest
