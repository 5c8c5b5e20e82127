#include "apps/kr/font/listing.h"

#include <charconv>

namespace kr_app {

namespace {

using KRD::DOT;
using KRD::FDOT;

std::string Text(double v) {
  char digits[32];
  return {digits, std::to_chars(digits, digits + sizeof digits, v).ptr};
}

std::string Text(DOT p) {
  return std::to_string(p.x) + "," + std::to_string(p.y);
}

std::string Text(FDOT p) {
  return Text(p.x) + "," + Text(p.y);
}

template <class P>
std::string Json(P p) {
  return "[" + Text(p) + "]";
}

std::string Character(int slot) {
  return slot > 32 && slot < 127 ? std::string(" '") + static_cast<char>(slot) + "'" : "";
}

struct Primitive {
  kr::PRIM_KIND kind;
  const DOT* dots = nullptr;
  const FDOT* fdots = nullptr;
};

Primitive At(const kr::font& font, int index) {
  const auto i = static_cast<unsigned>(index);
  const auto at = static_cast<unsigned>(font.primData[i]);
  switch (font.primKind[i]) {
    case kr::PRIM_LINE:
      return {kr::PRIM_LINE, &font.linePoints[at]};
    case kr::PRIM_ARC:
      return {kr::PRIM_ARC, nullptr, &font.arcPoints[at]};
    default:
      return {kr::PRIM_CIRCLE, &font.circlePoints[at]};
  }
}

std::string PrimitiveText(const Primitive& p) {
  switch (p.kind) {
    case kr::PRIM_LINE:
      return "line " + Text(p.dots[0]) + " " + Text(p.dots[1]);
    case kr::PRIM_ARC:
      return "arc centre " + Text(p.fdots[0]) + " radius " + Text(p.fdots[1].x) + " from " +
             Text(p.fdots[2]) + " to " + Text(p.fdots[3]);
    default:
      return "circle centre " + Text(p.dots[0]) + " radius " + std::to_string(p.dots[1].x);
  }
}

std::string PrimitiveJson(const Primitive& p) {
  switch (p.kind) {
    case kr::PRIM_LINE:
      return R"({"line": [)" + Json(p.dots[0]) + ", " + Json(p.dots[1]) + "]}";
    case kr::PRIM_ARC:
      return R"({"arc": {"centre": )" + Json(p.fdots[0]) + R"(, "radius": )" + Text(p.fdots[1].x) +
             R"(, "from": )" + Json(p.fdots[2]) + R"(, "to": )" + Json(p.fdots[3]) + "}}";
    default:
      return R"({"circle": {"centre": )" + Json(p.dots[0]) + R"(, "radius": )" +
             std::to_string(p.dots[1].x) + "}}";
  }
}

}  // namespace

bool InUse(const kr::font& font, int slot) {
  const auto i = static_cast<unsigned>(slot);
  const auto range = font.Prims(slot);
  return range.first != range.last || font.advance[i].x != 0 || font.advance[i].y != 0;
}

std::string FontInfo(const kr::font& font, const FontFile& file) {
  int used = 0;
  long kinds[3] = {};
  for (int slot = 0; slot < kr::font::kSlots; ++slot) {
    used += InUse(font, slot) ? 1 : 0;
    const auto range = font.Prims(slot);
    for (int i = range.first; i < range.last; ++i) {
      ++kinds[At(font, i).kind];
    }
  }
  return "form        " + file.form + "\nname        " + file.name + "\nheight      " +
         Text(font.height) + "\nabove       " + Text(font.height - font.descent) +
         "\nbelow       " + std::to_string(font.descent) + "\nline pitch  " +
         std::to_string(font.boxMin[10].y) + "\nshapes      " + std::to_string(file.shapes) +
         "\nslots used  " + std::to_string(used) + "\nlines       " + std::to_string(kinds[0]) +
         "\narcs        " + std::to_string(kinds[1]) + "\ncircles     " + std::to_string(kinds[2]) +
         "\n";
}

std::string GlyphText(const kr::font& font, int first_slot, int last_slot) {
  std::string text;
  for (int slot = first_slot; slot <= last_slot; ++slot) {
    if (first_slot != last_slot && !InUse(font, slot)) {
      continue;
    }
    const auto s = static_cast<unsigned>(slot);
    text += "slot " + std::to_string(slot) + Character(slot) + " advance " + Text(font.advance[s]) +
            " box " + Text(font.boxMin[s]) + " " + Text(font.boxMax[s]) + "\n";
    const auto range = font.Prims(slot);
    for (int i = range.first; i < range.last; ++i) {
      text += "  " + PrimitiveText(At(font, i)) + "\n";
    }
  }
  return text;
}

std::string GlyphJson(const kr::font& font, int first_slot, int last_slot) {
  std::string text = R"({"height": )" + Text(font.height) + R"(, "descent": )" +
                     std::to_string(font.descent) + ",\n \"glyphs\": [";
  const char* comma = "\n";
  for (int slot = first_slot; slot <= last_slot; ++slot) {
    if (first_slot != last_slot && !InUse(font, slot)) {
      continue;
    }
    const auto s = static_cast<unsigned>(slot);
    text += comma + std::string(R"(  {"slot": )") + std::to_string(slot) + R"(, "advance": )" +
            Json(font.advance[s]) + R"(, "box": [)" + Json(font.boxMin[s]) + ", " +
            Json(font.boxMax[s]) + "],\n   \"primitives\": [";
    comma = ",\n";
    const auto range = font.Prims(slot);
    for (int i = range.first; i < range.last; ++i) {
      text += (i == range.first ? "\n    " : ",\n    ") + PrimitiveJson(At(font, i));
    }
    text += "]}";
  }
  return text + "\n ]}\n";
}

}  // namespace kr_app
