#include "apps/sheet/dxf_expand.h"

#include <algorithm>
#include <map>
#include <numbers>
#include <tuple>

#include "apps/common/errors.h"
#include "apps/sheet/dxf_import.h"

namespace kr_sheet {
namespace {

using kr_app::Failure;
using KRD::DOT;

constexpr double kFarthest = 2147483647.0;

// Reads a run of an item's numbers.
class Numbers {
 public:
  explicit Numbers(const double* at) : at_(at) {}
  double next() { return *at_++; }
  FDOT point() {
    const double x = next();
    return {x, next()};
  }
  Curve curve() {
    const FDOT centre = point();
    const FDOT u = point();
    const FDOT v = point();
    const double from = next();
    return {centre, u, v, from, next()};
  }
  Spline spline() {
    Spline s;
    s.degree = static_cast<int>(next());
    const auto controls = static_cast<std::size_t>(next());
    for (std::size_t i = 0; i < controls + static_cast<std::size_t>(s.degree) + 1; ++i) {
      s.knots.push_back(next());
    }
    for (std::size_t i = 0; i < controls; ++i) {
      const FDOT at = point();
      s.controls.push_back({at, next()});
    }
    return s;
  }
  bool before(const double* end) const { return at_ < end; }

 private:
  const double* at_;
};

struct Vertex {
  FDOT at;
  double bulge, start_width, end_width;
};

class Expander {
 public:
  Expander(Source& source, double tolerance, Drawing& drawing)
      : source_(source), tolerance_(tolerance), drawing_(drawing) {}

  void layers() {
    for (const SourceLayer& layer : source_.layers) {
      layer_names_.push_back(drawing_.names.add(layer.name.c_str()));
      drawing_.layers.add({layer_names_.back(), layer.colour, layer.style, layer.flags});
    }
    for (std::size_t i = 0; i < source_.layers.size(); ++i) {
      if (source_.layers[i].name == "0") {
        layer_zero_ = static_cast<std::int32_t>(i);
      }
    }
  }

  // `outside` is the look of the insert that brings the items.
  void items(const std::vector<Item>& items, const Affine& to, const Look& outside, int depth) {
    for (const Item& item : items) {
      step();
      const Affine own = item.flipped ? to * Scaled(-1, 1) : to;
      item_ = &item;
      fits_ = true;
      look_ = resolved(item.look, outside);
      if (item.shape == Shape::kInsert) {
        insert(item, own, look_, depth);
        continue;
      }
      pen_ = pen(look_);
      draw(item, own);
      if (!fits_) {
        miss("a coordinate outside 32 bits of micrometres");
      }
    }
  }

 private:
  // Blocks multiply: work is bounded whether or not anything comes out of it.
  void step() {
    if (++steps_ > kMostElements) {
      throw tooLarge();
    }
  }
  static Failure tooLarge() {
    return Failure("the drawing grows beyond " + std::to_string(kMostElements) +
                   " elements when its blocks are put in");
  }

  void miss(const char* why) {
    ++source_.counts[source_.kinds[static_cast<std::size_t>(item_->kind)]].unread[why];
  }

  Look resolved(const Look& own, const Look& outside) const {
    Look look = own;
    look.layer = own.layer == layer_zero_ ? outside.layer : own.layer;
    look.colour = own.colour == kByBlock ? outside.colour : own.colour;
    look.style = own.style == kByBlock ? outside.style : own.style;
    return look;
  }

  std::int32_t pen(const Look& look) {
    const auto key = std::tuple(look.layer, look.colour, look.style);
    const auto [found, is_new] =
        pens_.try_emplace(key, static_cast<std::int32_t>(drawing_.pens.count()));
    if (is_new) {
      drawing_.pens.add({look.layer, look.colour, look.style});
    }
    return found->second;
  }

  void insert(const Item& item, const Affine& to, const Look& look, int depth) {
    Numbers n(&source_.numbers[item.first]);
    const FDOT at = n.point();
    const FDOT scale = n.point();
    const double angle = n.next();
    const auto columns = static_cast<std::int64_t>(n.next());
    const auto rows = static_cast<std::int64_t>(n.next());
    const FDOT distance = n.point();
    const auto found =
        source_.blocks.find(source_.block_names[static_cast<std::size_t>(item.index)]);
    if (found == source_.blocks.end()) {
      miss("of a block that is not there");
      return;
    }
    Block& block = found->second;
    if (std::find(open_.begin(), open_.end(), &block) != open_.end()) {
      miss("of a block inside itself");
      return;
    }
    if (depth == kMostNesting) {
      miss("of blocks nested too deeply");
      return;
    }
    open_.push_back(&block);
    const Affine turned = to * Moved(at.x, at.y) * Turned(angle);
    const Affine inner = Scaled(scale.x, scale.y) * Moved(-block.base.x, -block.base.y);
    for (std::int64_t row = 0; row < rows; ++row) {
      for (std::int64_t column = 0; column < columns; ++column) {
        step();
        const Affine moved =
            Moved(static_cast<double>(column) * distance.x, static_cast<double>(row) * distance.y);
        items(block.items, turned * moved * inner, look, depth + 1);
      }
    }
    open_.pop_back();
  }

  void draw(const Item& item, const Affine& to) {
    Numbers n(source_.numbers.data() + item.first);
    const double* end = source_.numbers.data() + item.first + item.count;
    switch (item.shape) {
      case Shape::kPoint: {
        DOT at;
        if (round(to.apply(n.point()), at)) {
          put(drawing_.points, {pen_, at});
        }
        break;
      }
      case Shape::kLine: {
        const FDOT from = to.apply(n.point());
        line(from, to.apply(n.point()), 0);
        break;
      }
      case Shape::kCurve:
        curve(n.curve().moved(to), 0);
        break;
      case Shape::kPath:
        path(n, end, item.closed, to);
        break;
      case Shape::kFill:
        fill(n, end, to);
        break;
      case Shape::kSpline:
        points_.clear();
        spline(n.spline().moved(to));
        lines(0);
        break;
      case Shape::kText:
        text(item, n, to);
        break;
      case Shape::kInsert:
        break;
    }
  }

  bool round(FDOT p, DOT& out) {
    if (!(std::abs(p.x) <= kFarthest && std::abs(p.y) <= kFarthest)) {
      fits_ = false;
      return false;
    }
    out = {KRD::RoundHalfAway(p.x), KRD::RoundHalfAway(p.y)};
    return true;
  }

  bool roundLength(double length, std::int32_t& out) {
    if (!(std::abs(length) <= kFarthest)) {
      fits_ = false;
      return false;
    }
    out = KRD::RoundHalfAway(std::abs(length));
    return true;
  }

  template <class T>
  void put(KRD::TARRAY<T>& array, const std::type_identity_t<T>& element) {
    step();
    array.add(element);
  }

  void line(FDOT a, FDOT b, double width) {
    DOT from;
    DOT to;
    std::int32_t rounded = 0;
    if (round(a, from) && round(b, to) && roundLength(width, rounded)) {
      if (rounded == 0) {
        put(drawing_.lines, {pen_, from, to});
      } else {
        put(drawing_.tracks, {pen_, from, to, rounded});
      }
    }
  }

  // The points of `points_` one after the other.
  void lines(double width) {
    for (std::size_t i = 1; i < points_.size(); ++i) {
      line(points_[i - 1], points_[i], width);
    }
  }

  void curve(const Curve& c, double width) {
    // The radius of an arc that is nearly straight may be out of range while its points are not.
    if (width > 0 || !c.circular() || Length(c.u) > kFarthest) {
      points_.assign(1, c.at(c.from));
      Flatten(c, tolerance_, false, points_);
      lines(width);
      return;
    }
    DOT centre;
    std::int32_t radius = 0;
    if (!round(c.centre, centre) || !roundLength(Length(c.u), radius)) {
      return;
    }
    if (c.full()) {
      put(drawing_.circles, {pen_, centre, radius});
      return;
    }
    DOT from;
    DOT to;
    // Seen from behind it runs the other way.
    const bool mirrored = Cross(c.u, c.v) < 0;
    if (!round(c.at(mirrored ? c.to : c.from), from) ||
        !round(c.at(mirrored ? c.from : c.to), to)) {
      return;
    }
    if (from.x != to.x || from.y != to.y) {
      put(drawing_.arcs, {pen_, centre, radius, from, to});
    } else if (c.to - c.from > std::numbers::pi) {
      put(drawing_.circles, {pen_, centre, radius});
    } else {
      put(drawing_.points, {pen_, from});
    }
  }

  void spline(const Spline& s) {
    DOT ignored;
    for (const Spline::Control& c : s.controls) {
      if (!round(c.at, ignored)) {
        return;
      }
    }
    Flatten(s, tolerance_, points_);
  }

  void path(Numbers n, const double* end, bool closed, const Affine& to) {
    vertices_.clear();
    while (n.before(end)) {
      const FDOT at = n.point();
      const double bulge = n.next();
      const double start = n.next();
      vertices_.push_back({at, bulge, start, n.next()});
    }
    const double widths = std::sqrt(std::abs(to.det()));
    const std::size_t segments = vertices_.size() - (closed && vertices_.size() > 1 ? 0 : 1);
    for (std::size_t i = 0; i < segments && !vertices_.empty(); ++i) {
      segment(vertices_[i], vertices_[(i + 1) % vertices_.size()], to, widths);
    }
  }

  void segment(const Vertex& v, const Vertex& next, const Affine& to, double widths) {
    const double start = std::abs(v.start_width) * widths;
    const double end = std::abs(v.end_width) * widths;
    const double width = (start + end) / 2;
    const FDOT a = to.apply(v.at);
    const FDOT b = to.apply(next.at);
    // An arc that rises by less than the rounding is a line: its radius would be a poor number.
    constexpr double kFlat = 0.5;
    if (std::abs(v.bulge) * Length(b - a) / 2 > kFlat) {
      curve(BulgeCurve(v.at, next.at, v.bulge).moved(to), width);
      return;
    }
    if (start == end || Length(b - a) == 0) {
      line(a, b, width);
      return;
    }
    // One that grows or shrinks, as an arrow does.
    const FDOT side = FDOT{a.y - b.y, b.x - a.x} * (0.5 / Length(b - a));
    points_.assign({a + side * start, b + side * end, b - side * end, a - side * start});
    loops_.assign(1, 0);
    area();
  }

  void fill(Numbers n, const double* end, const Affine& to) {
    points_.clear();
    loops_.clear();
    while (n.before(end)) {
      const auto tag = static_cast<PieceTag>(static_cast<int>(n.next()));
      switch (tag) {
        case PieceTag::kLoop:
          loops_.push_back(points_.size());
          break;
        case PieceTag::kPoint:
          points_.push_back(to.apply(n.point()));
          break;
        case PieceTag::kCurve:
        case PieceTag::kReverse:
          Flatten(n.curve().moved(to), tolerance_, tag == PieceTag::kReverse, points_);
          break;
        case PieceTag::kSpline:
          spline(n.spline().moved(to));
          break;
      }
      if (points_.size() > kMostElements) {
        throw tooLarge();
      }
    }
    if (fits_) {
      area();
    }
  }

  // The loops of `points_` as one polygon: out to each loop along a way that is taken back, so
  // that the even-odd rule does not see it.
  void area() {
    corners_.clear();
    std::int32_t loops = 0;
    for (std::size_t i = 0; i < loops_.size(); ++i) {
      const std::size_t from = loops_[i];
      const std::size_t end = i + 1 < loops_.size() ? loops_[i + 1] : points_.size();
      const std::size_t begun = corners_.size();
      for (std::size_t k = from; k < end; ++k) {
        DOT corner;
        if (!round(points_[k], corner)) {
          return;
        }
        const bool again = corners_.size() > begun && corners_.back().x == corner.x &&
                           corners_.back().y == corner.y;
        if (!again) {
          corners_.push_back(corner);
        }
      }
      if (corners_.size() - begun < 3) {
        corners_.resize(begun);
        continue;
      }
      ++loops;
      if (loops > 1) {
        corners_.push_back(corners_[begun]);
        corners_.push_back(corners_.front());
      } else if (loops_.size() > 1) {
        corners_.push_back(corners_.front());
      }
    }
    if (loops == 0) {
      miss("without an area");
      return;
    }
    steps_ += corners_.size();
    const auto first = static_cast<std::int32_t>(drawing_.corners.count());
    for (const DOT corner : corners_) {
      drawing_.corners.add(corner);
    }
    put(drawing_.polygons, {pen_, first, static_cast<std::int32_t>(corners_.size()), loops});
  }

  void text(const Item& item, Numbers n, const Affine& to) {
    DOT at;
    if (!round(to.apply(n.point()), at)) {
      return;
    }
    const double height = n.next();
    const double factor = n.next();
    const double angle = n.next();
    const FDOT along = to.turn({std::cos(angle), std::sin(angle)});
    const FDOT up = to.turn({-std::sin(angle), std::cos(angle)});
    if (!(Length(up) > 0)) {
      miss("without a height");
      return;
    }
    std::int32_t rounded = 0;
    if (!roundLength(height * Length(up), rounded)) {
      return;
    }
    constexpr double kMostFactor = 100000;
    const double shape = std::abs(factor) * Length(along) / Length(up) * 1000;
    // Upright is what turns with the text, whichever way it is mirrored.
    const double degrees = std::atan2(-up.x, up.y) * 180 / std::numbers::pi;
    const auto tenths = KRD::RoundHalfAway(degrees * 10);
    const bool mirrored = ((item.detail & kTextMirrored) != 0) != (Cross(along, up) < 0);
    const std::string& words = source_.texts[static_cast<std::size_t>(item.index)];
    put(drawing_.labels,
        {pen_, drawing_.texts.add(words.c_str()), at, rounded,
         KRD::RoundHalfAway(std::min(shape, kMostFactor)), ((tenths % 3600) + 3600) % 3600,
         item.detail & (kTextMirrored - 1), mirrored ? 1 : 0});
  }

  Source& source_;
  double tolerance_;
  Drawing& drawing_;
  std::vector<std::int32_t> layer_names_;
  std::int32_t layer_zero_ = -1;
  std::map<std::tuple<std::int32_t, std::int32_t, std::int32_t>, std::int32_t> pens_;
  std::vector<const Block*> open_;
  std::uint64_t steps_ = 0;

  // The item that is being drawn.
  const Item* item_ = nullptr;
  Look look_;
  std::int32_t pen_ = 0;
  bool fits_ = true;
  std::vector<FDOT> points_;
  std::vector<std::size_t> loops_;
  std::vector<DOT> corners_;
  std::vector<Vertex> vertices_;
};

}  // namespace

void Expand(Source& source, double scale, double tolerance, Drawing& drawing) {
  Expander expander(source, tolerance, drawing);
  expander.layers();
  Look outside;
  for (std::size_t i = 0; i < source.layers.size(); ++i) {
    if (source.layers[i].name == "0") {
      outside.layer = static_cast<std::int32_t>(i);
    }
  }
  outside.colour = kContrast;
  outside.style = 0;
  expander.items(source.model.items, Scaled(scale, scale), outside, 0);
}

}  // namespace kr_sheet
