#include "apps/sheet/dxf_collector.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>

#include "krdcmmn/platform/gdi.h"

#include "apps/sheet/dxf_text.h"

namespace kr_sheet {
namespace {

constexpr double kRadians = std::numbers::pi / 180;
// dxflib reads lines into a buffer of 1024 bytes.
constexpr std::size_t kMostValueBytes = 1000;
// Codes that dxflib takes; handles, references and extended data are not wanted.
constexpr int kMostCode = 999;
constexpr int kPaperSpace = 67;

// The kinds that dxflib decodes here.
constexpr std::string_view kDecoded[] = {"POINT", "LINE",  "ARC",    "CIRCLE", "ELLIPSE", "INSERT",
                                         "TRACE", "SOLID", "3DFACE", "TEXT",   "MTEXT",   "ATTRIB"};

bool IsDecoded(std::string_view kind) {
  return std::find(std::begin(kDecoded), std::end(kDecoded), kind) != std::end(kDecoded);
}

bool IsWanted(int code) {
  return code >= 0 && code < kMostCode && code != 5 && code != 102 && code != 105 &&
         !(code >= 310 && code <= 369);
}

std::int32_t FromRgb(int red, int green, int blue) {
  return static_cast<std::int32_t>(
      RGB(static_cast<unsigned>(red), static_cast<unsigned>(green), static_cast<unsigned>(blue)));
}

// A colour number of the format's table.
std::int32_t ColourOf(int number) {
  if (number == 0) {
    return kByBlock;
  }
  if (number < 1 || number > 255) {
    return kByLayer;
  }
  if (number == 7) {
    return kContrast;
  }
  const auto& rgb = dxfColors[number];
  const auto byte = [](double part) { return static_cast<int>(std::lround(part * 255)); };
  return FromRgb(byte(rgb[0]), byte(rgb[1]), byte(rgb[2]));
}

// The pen's style that comes nearest to a pattern of dashes (positive), gaps (negative) and dots.
std::int32_t StyleOfDashes(const std::vector<double>& lengths) {
  const auto dashes = std::count_if(lengths.begin(), lengths.end(), [](double v) { return v > 0; });
  const auto dots = std::count(lengths.begin(), lengths.end(), 0.0);
  if (lengths.size() < 2) {
    return PS_SOLID;
  }
  if (dashes == 0) {
    return PS_DOT;
  }
  // A line of long and short dashes is one of dashes and dots here.
  double longest = 0;
  for (double v : lengths) {
    longest = std::max(longest, v);
  }
  const auto small = dots + std::count_if(lengths.begin(), lengths.end(),
                                          [&](double v) { return v > 0 && v < longest * 0.5; });
  return small == 0 ? PS_DASH : small == 1 ? PS_DASHDOT : PS_DASHDOTDOT;
}

}  // namespace

std::string FoldedName(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return folded;
}

Collector::Collector(Source& source, std::string code_page, bool utf8)
    : source_(source), code_page_(std::move(code_page)), utf8_(utf8), block_(&source.model) {
  // The decoder gets ready when it is given a file, an empty one here.
  std::istringstream nothing;
  dxf_.in(nothing, this);
}

std::string Collector::text(std::string_view bytes) const {
  return ToUtf8(bytes, code_page_, utf8_);
}

std::int32_t Collector::layerIndex(std::string_view name) {
  const auto [found, is_new] =
      layer_ids_.try_emplace(FoldedName(name), static_cast<std::int32_t>(source_.layers.size()));
  if (is_new) {
    source_.layers.push_back({text(name), kContrast, PS_SOLID, 0});
  }
  return found->second;
}

void Collector::layer(const Chunk& chunk) {
  constexpr int kFrozen = 1;
  const auto index = static_cast<std::size_t>(layerIndex(chunk.text(2)));
  SourceLayer& layer = source_.layers[index];
  const int number = chunk.integer(62, 7);
  const std::int32_t colour = ColourOf(std::abs(std::max(number, -255)));
  layer.colour = colour >= kContrast && colour != kByLayer ? colour : kContrast;
  if (chunk.has(420)) {
    const int rgb = chunk.integer(420, 0);
    layer.colour = FromRgb(rgb >> 16 & 255, rgb >> 8 & 255, rgb & 255);
  }
  const std::int32_t style = styleOf(chunk.text(6));
  layer.style = style >= 0 ? style : PS_SOLID;
  layer.flags = number < 0 || (chunk.integer(70, 0) & kFrozen) != 0 ? kLayerHidden : 0;
}

void Collector::lineType(const Chunk& chunk) {
  std::vector<double> lengths;
  for (const Group& group : chunk.groups) {
    if (group.code == 49) {
      lengths.push_back(ToNumber(group.value));
    }
  }
  line_types_[FoldedName(chunk.text(2))] = StyleOfDashes(lengths);
}

std::int32_t Collector::styleOf(std::string_view line_type) const {
  const std::string name = FoldedName(line_type);
  if (name.empty() || name == "bylayer") {
    return kByLayer;
  }
  if (name == "byblock") {
    return kByBlock;
  }
  const auto found = line_types_.find(name);
  return found == line_types_.end() ? PS_SOLID : found->second;
}

Look Collector::look(const Chunk& chunk) {
  Look result;
  result.layer = layerIndex(chunk.text(8, "0"));
  result.colour = ColourOf(chunk.integer(62, 256));
  if (chunk.has(420)) {
    const int rgb = chunk.integer(420, 0);
    result.colour = FromRgb(rgb >> 16 & 255, rgb >> 8 & 255, rgb & 255);
  }
  result.style = styleOf(chunk.text(6));
  return result;
}

void Collector::beginBlock(Block* block, bool paper) {
  endPath();
  block_ = block != nullptr ? block : &source_.model;
  paper_ = paper;
}

void Collector::unread(const std::string& why) {
  ++source_.counts[kind_].unread[why];
  taken_ = true;
}

// Entities of a plane stand in its own coordinates. The plane seen from behind mirrors x; others
// are not flat in the drawing.
bool Collector::readPlane(const Chunk& chunk, Plane plane) {
  constexpr double kFlat = 1e-6;
  const double x = chunk.number(210, 0);
  const double y = chunk.number(220, 0);
  const double z = chunk.number(230, 1);
  flipped_ = plane == Plane::kOwn && z < 0;
  return plane == Plane::kModel || (std::abs(x) < kFlat && std::abs(y) < kFlat && z != 0);
}

void Collector::feed(const Chunk& chunk) {
  std::ostringstream lines;
  int pairs = 0;
  const auto put = [&](int code, std::string_view value) {
    lines << code << '\n' << value.substr(0, kMostValueBytes) << '\n';
    ++pairs;
  };
  for (const Group& group : chunk.groups) {
    if (IsWanted(group.code)) {
      put(group.code, group.value);
    }
  }
  // The next entity's beginning makes the decoder give this one away.
  put(0, "END");
  std::istringstream in(lines.str());
  for (; pairs > 0; --pairs) {
    dxf_.readDxfGroups(in, this);
  }
}

void Collector::entity(const Chunk& chunk) {
  const std::string_view kind = chunk.name();
  if (kind == "VERTEX" && in_polyline_) {
    if (path_open_) {
      vertex(chunk);
    }
    return;
  }
  endPath();
  in_polyline_ = kind == "POLYLINE";
  if (kind == "SEQEND") {
    return;
  }
  chunk_ = &chunk;
  kind_ = kind;
  taken_ = false;
  ++source_.counts[kind_].seen;
  constexpr std::string_view kInModel[] = {"POINT",  "LINE",   "ELLIPSE", "SPLINE",
                                           "3DFACE", "LEADER", "MTEXT"};
  const bool in_model =
      std::find(std::begin(kInModel), std::end(kInModel), kind) != std::end(kInModel);
  if (paper_ || chunk.integer(kPaperSpace, 0) != 0) {
    unread("on a sheet of paper");
  } else if (!readPlane(chunk, in_model ? Plane::kModel : Plane::kOwn)) {
    unread("in a plane that is not the drawing's");
  } else if (IsDecoded(kind)) {
    feed(chunk);
  } else if (kind == "LWPOLYLINE") {
    lightPolyline(chunk);
  } else if (kind == "POLYLINE") {
    polyline(chunk);
  } else if (kind == "SPLINE") {
    spline(chunk);
  } else if (kind == "LEADER") {
    leader(chunk);
  } else if (kind == "HATCH") {
    hatch(chunk);
  } else if (kind == "DIMENSION") {
    dimension(chunk);
  } else {
    unread("a kind that is not read");
  }
  if (!taken_) {
    unread("incomplete");
  }
}

Item Collector::begin(Shape shape) {
  Item item{};
  item.shape = shape;
  item.look = look(*chunk_);
  item.flipped = flipped_;
  const auto [found, is_new] =
      kind_ids_.try_emplace(kind_, static_cast<std::int32_t>(source_.kinds.size()));
  if (is_new) {
    source_.kinds.push_back(kind_);
  }
  item.kind = found->second;
  item.first = source_.numbers.size();
  return item;
}

void Collector::number(double v) {
  source_.numbers.push_back(v);
}

void Collector::add(Item item) {
  item.count = source_.numbers.size() - item.first;
  block_->items.push_back(item);
  taken_ = true;
}

void Collector::addNumbers(Shape shape, std::initializer_list<double> numbers) {
  const Item item = begin(shape);
  source_.numbers.insert(source_.numbers.end(), numbers);
  add(item);
}

void Collector::curve(const Curve& c) {
  addNumbers(Shape::kCurve, {c.centre.x, c.centre.y, c.u.x, c.u.y, c.v.x, c.v.y, c.from, c.to});
}

void Collector::addPoint(const DL_PointData& d) {
  addNumbers(Shape::kPoint, {d.x, d.y});
}

void Collector::addLine(const DL_LineData& d) {
  addNumbers(Shape::kLine, {d.x1, d.y1, d.x2, d.y2});
}

void Collector::addCircle(const DL_CircleData& d) {
  const double r = std::abs(d.radius);
  curve({{d.cx, d.cy}, {r, 0}, {0, r}, 0, 2 * std::numbers::pi});
}

void Collector::addArc(const DL_ArcData& d) {
  const double r = std::abs(d.radius);
  const double from = std::remainder(d.angle1, 360.0);
  double sweep = std::fmod(d.angle2 - d.angle1, 360.0);
  sweep = sweep <= 0 ? sweep + 360 : sweep;
  curve({{d.cx, d.cy}, {r, 0}, {0, r}, from * kRadians, (from + sweep) * kRadians});
}

void Collector::addEllipse(const DL_EllipseData& d) {
  constexpr double kTurn = 2 * std::numbers::pi;
  const double side = chunk_->number(230, 1) < 0 ? -1 : 1;
  const FDOT u = {d.mx, d.my};
  const FDOT v = FDOT{-d.my, d.mx} * (d.ratio * side);
  double sweep = std::fmod(d.angle2 - d.angle1, kTurn);
  // Both ends the same, or a whole turn apart: all of it.
  sweep = sweep <= 1e-9 ? sweep + kTurn : sweep;
  const double from = std::remainder(d.angle1, kTurn);
  curve({{d.cx, d.cy}, u, v, from, from + sweep});
}

void Collector::addInsert(const DL_InsertData& d) {
  Item item = begin(Shape::kInsert);
  const std::string name = FoldedName(chunk_->text(2));
  const auto [found, is_new] =
      block_ids_.try_emplace(name, static_cast<std::int32_t>(source_.block_names.size()));
  if (is_new) {
    source_.block_names.push_back(name);
  }
  item.index = found->second;
  for (double v : {d.ipx, d.ipy, d.sx, d.sy, chunk_->number(50, 0) * kRadians,
                   static_cast<double>(std::max(d.cols, 1)),
                   static_cast<double>(std::max(d.rows, 1)), d.colSp, d.rowSp}) {
    number(v);
  }
  add(item);
}

// A dimension is drawn by a block of its own, which stands where it belongs.
void Collector::dimension(const Chunk& chunk) {
  if (chunk.text(2).empty()) {
    unread("without the block that draws it");
    return;
  }
  flipped_ = false;
  addInsert(DL_InsertData("", 0, 0, 0, 1, 1, 1, 0, 1, 1, 0, 0));
}

// The third and fourth corner stand crosswise.
void Collector::filled(const DL_TraceData& d) {
  const Item item = begin(Shape::kFill);
  number(static_cast<double>(PieceTag::kLoop));
  for (std::size_t i : {0u, 1u, 3u, 2u}) {
    number(static_cast<double>(PieceTag::kPoint));
    number(d.x[i]);
    number(d.y[i]);
  }
  add(item);
}

void Collector::addTrace(const DL_TraceData& d) {
  filled(d);
}

void Collector::addSolid(const DL_SolidData& d) {
  filled(d);
}

void Collector::add3dFace(const DL_3dFaceData& d) {
  Item item = begin(Shape::kPath);
  item.closed = true;
  for (std::size_t i = 0; i < 4; ++i) {
    for (double v : {d.x[i], d.y[i], 0.0, 0.0, 0.0}) {
      number(v);
    }
  }
  add(item);
}

}  // namespace kr_sheet
