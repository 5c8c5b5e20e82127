#include "apps/krview/viewer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "apps/common/errors.h"
#include "apps/sheet/bounds.h"

namespace kr_view {
namespace {

using KRD::DOT;
using KRD::LTRB;

constexpr int kClick = 4;                // pixels that a hand may move in a click
constexpr int kScrollShare = 10;         // an arrow key moves by one part in so many of the window
constexpr int kPageShare = 9;            // a page key by so many of these parts
constexpr std::int64_t kRoom = 40;       // around a box, one part in so many
constexpr std::int64_t kSmallest = 100;  // a box is shown as if it were at least so large
constexpr double kMostPixels = 1000;     // a model unit
constexpr double kFarthest = 1 << 30;    // a coordinate in pixels
constexpr double kModelRange = 4294967296.0;

LTRB Roomy(const LTRB& box) {
  const std::int64_t room = std::max({std::int64_t{box.right} - box.left,
                                      std::int64_t{box.top} - box.bottom, kSmallest}) /
                            kRoom;
  return {kr_sheet::Clamped(box.left - room), kr_sheet::Clamped(box.top + room),
          kr_sheet::Clamped(box.right + room), kr_sheet::Clamped(box.bottom - room)};
}

int ViewHeight(int h) {
  return std::max(h - Panel::kLine, 1);
}

}  // namespace

Viewer::Viewer(FrameWindow& window, Library& library, kr::font& texts, std::uint32_t background)
    : window_(window),
      library_(library),
      background_(background),
      panel_(texts),
      chooser_(library.names()) {
  device_.Init(window.width(), ViewHeight(window.height()), window.handle());
  window_.Invalidate(nullptr);
}

void Viewer::open(std::size_t index) {
  subject_ = library_.load(index);
  current_ = index;
  cancel();
  measuring_ = false;
  from_ = to_ = std::nullopt;
  mark_.reset();
  device_.forgetViews();
  const LTRB box = subject_->box();
  const double farthest =
      std::max({std::abs(double{1} * box.left), std::abs(double{1} * box.right),
                std::abs(double{1} * box.top), std::abs(double{1} * box.bottom), 1.0});
  device_.SetMaxScale(std::min(kMostPixels, kFarthest / farthest));
  show(Roomy(box));
  device_.SaveView();
}

void Viewer::choose() {
  cancel();
  help_ = false;
  choosing_ = true;
  chooser_.open(window_.width(), ViewHeight(window_.height()), current_);
  window_.Invalidate(nullptr);
}

std::string Viewer::title() const {
  return subject_ != nullptr ? subject_->name + " - krview" : "krview";
}

void Viewer::tell(const std::string& message) {
  message_ = message;
}

Pointer Viewer::pointer() const {
  if (!plain()) {
    return Pointer::kArrow;
  }
  return drag_ == Drag::kPan || space_ ? Pointer::kHand : Pointer::kCross;
}

void Viewer::handle(const Event& event) {
  switch (event.kind) {
    case EventKind::kMove:
    case EventKind::kPress:
    case EventKind::kRelease:
    case EventKind::kWheel:
      window_.cursor = {event.x, event.y};
      inside_ =
          event.x >= 0 && event.x < device_.width() && event.y >= 0 && event.y < device_.height();
      look_ = true;
      break;
    case EventKind::kResize:
      resize(event.x, event.y);
      return;
    case EventKind::kExpose:
      window_.Invalidate(nullptr);
      return;
    case EventKind::kLeave:
      inside_ = false;
      look_ = true;
      return;
    case EventKind::kQuit:
      finished_ = true;
      return;
    case EventKind::kKeyUp:
      space_ = space_ && event.key != Key::kSpace;
      return;
    default:
      break;
  }
  if (event.kind == EventKind::kPress || event.kind == EventKind::kKey) {
    message_.clear();
    if (help_) {
      help_ = false;
      window_.Invalidate(nullptr);
      return;
    }
  }
  if (choosing_) {
    const Chooser::Outcome outcome = chooser_.handle(event);
    if (outcome == Chooser::Outcome::kChosen) {
      openChosen();
    } else if (outcome == Chooser::Outcome::kClosed) {
      choosing_ = false;
    }
    if (outcome != Chooser::Outcome::kNothing) {
      window_.Invalidate(nullptr);
    }
    return;
  }
  switch (event.kind) {
    case EventKind::kKey:
      handleKey(event);
      break;
    case EventKind::kText:
      handleText(event.character);
      break;
    case EventKind::kPress:
      press(event);
      break;
    case EventKind::kMove:
      move(event);
      break;
    case EventKind::kRelease:
      release(event);
      break;
    case EventKind::kWheel:
      zoom(event.steps);
      break;
    default:
      break;
  }
}

void Viewer::openChosen() {
  choosing_ = false;
  try {
    open(chooser_.chosen());
  } catch (...) {
    tell(kr_app::TextOfException());
  }
}

void Viewer::handleKey(const Event& event) {
  const int across = device_.width() / kScrollShare;
  const int down = device_.height() / kScrollShare;
  switch (event.key) {
    case Key::kLeft:
      return scroll(-across, 0);
    case Key::kRight:
      return scroll(across, 0);
    case Key::kUp:
      return scroll(0, -down);
    case Key::kDown:
      return scroll(0, down);
    case Key::kPageUp:
      return event.shift ? scroll(-across * kPageShare, 0) : scroll(0, -down * kPageShare);
    case Key::kPageDown:
      return event.shift ? scroll(across * kPageShare, 0) : scroll(0, down * kPageShare);
    case Key::kHome:
      return fit();
    case Key::kBackspace:
      device_.SaveView();  // so that there is a way forward to it
      event.shift ? device_.NextView() : device_.PrevView();
      return changed();
    case Key::kEscape:
      return cancel();
    case Key::kSpace:
      space_ = true;
      return;
    case Key::kTab:
      return choose();
    case Key::kLetter:
      return handleLetter(event.character);
    default:
      return;
  }
}

void Viewer::handleLetter(char letter) {
  switch (letter) {
    case 'f':
      return fit();
    case 'g':
      grid_ = grid_ == Grid::kOff      ? Grid::kPoints
              : grid_ == Grid::kPoints ? Grid::kLines
                                       : Grid::kOff;
      device_.Invalidate(true);
      return;
    case 'm':
      cancel();
      measuring_ = true;
      from_ = to_ = std::nullopt;
      return tell("Measure: two clicks, or a drag; Esc ends");
    case 'b':
      background_ = ~background_ & 0xffffff;
      device_.Invalidate(true);
      return;
    case 'q':
      finished_ = true;
      return;
    default:
      return;
  }
}

void Viewer::handleText(char character) {
  switch (character) {
    case '+':
    case '=':
      return zoomAtCentre(1);
    case '-':
      return zoomAtCentre(-1);
    case '?':
      cancel();
      help_ = true;
      window_.Invalidate(nullptr);
      return;
    default:
      return;
  }
}

// --- The hand

void Viewer::press(const Event& event) {
  const POINT at{event.x, event.y};
  if (event.button == Button::kRight) {
    return cancel();
  }
  if (drag_ != Drag::kNone || !inside_) {
    return;
  }
  press_ = at;
  drag_button_ = event.button;
  if (event.button == Button::kMiddle || (event.button == Button::kLeft && space_)) {
    beginPan(at);
  } else if (event.button == Button::kLeft && measuring_) {
    measure(at);
    drag_ = Drag::kMeasure;
  } else if (event.button == Button::kLeft) {
    drag_ = Drag::kBand;
    mark_.reset();
    window_.Invalidate(nullptr);
  }
}

void Viewer::move(const Event& event) {
  if (drag_ == Drag::kPan) {
    pan({event.x, event.y});
  }
}

void Viewer::release(const Event& event) {
  if (event.button != drag_button_) {
    return;
  }
  const POINT at{event.x, event.y};
  const Drag ended = drag_;
  const bool moved = std::abs(at.x - press_.x) >= kClick || std::abs(at.y - press_.y) >= kClick;
  drag_ = Drag::kNone;
  if (ended == Drag::kBand && moved) {
    zoomBand(at);
  } else if (ended == Drag::kMeasure && moved && from_ && !to_) {
    measure(at);
  }
}

void Viewer::cancel() {
  drag_ = Drag::kNone;
  if (measuring_ || from_) {
    measuring_ = false;
    from_ = to_ = std::nullopt;
    message_.clear();
  }
}

void Viewer::measure(POINT at) {
  const DOT p = modelAt(inView(at));
  message_.clear();
  if (from_ && !to_) {
    to_ = p;
  } else {
    from_ = p;
    to_.reset();
  }
}

void Viewer::zoomBand(POINT to) {
  const DOT a = modelAt(press_);
  const DOT b = modelAt(inView(to));
  show({std::min(a.x, b.x), std::max(a.y, b.y), std::max(a.x, b.x), std::min(a.y, b.y)});
}

// --- The view

void Viewer::changed() {
  look_ = true;
  mark_.reset();
  window_.Invalidate(nullptr);
}

POINT Viewer::inView(POINT p) const {
  return {std::clamp(p.x, 0, std::max(device_.width() - 1, 0)),
          std::clamp(p.y, 0, std::max(device_.height() - 1, 0))};
}

void Viewer::resize(int w, int h) {
  w = std::max(w, 1);
  h = std::max(h, 1);
  if (w == window_.width() && h == window_.height()) {
    return;
  }
  window_.Resize(w, h);
  HDC dc = window_.GetContext();
  device_.Resize(w, ViewHeight(h), dc);
  window_.ReleaseContext(dc);
  if (window_.width() != w || window_.height() != h || !device_.bufferMade()) {
    tell("no memory for a window of " + std::to_string(w) + " by " + std::to_string(h) +
         " pixels: make it smaller");
  }
  chooser_.resize(w, ViewHeight(h));
  changed();
}

// A step to somewhere else: the view that is left goes into the history.
void Viewer::show(const LTRB& box) {
  device_.SaveView();
  device_.ZoomRect(box);
  changed();
}

void Viewer::fit() {
  if (subject_ != nullptr) {
    show(Roomy(subject_->box()));
  }
}

void Viewer::zoom(int steps) {
  const POINT cursor = window_.cursor;
  window_.cursor = inView(cursor);
  for (int i = 0; i < steps; ++i) {
    device_.ZoomIn();
  }
  for (int i = 0; i > steps; --i) {
    // No farther than to the whole range of coordinates.
    if (device_.GetScale() * kModelRange > device_.width() / 4.0) {
      device_.ZoomOut();
    }
  }
  window_.cursor = cursor;
  if (drag_ == Drag::kPan) {
    beginPan(cursor);
  }
  changed();
}

void Viewer::zoomAtCentre(int steps) {
  const POINT cursor = window_.cursor;
  window_.cursor = {device_.width() / 2, device_.height() / 2};
  zoom(steps);
  window_.cursor = cursor;
}

void Viewer::beginPan(POINT at) {
  drag_ = Drag::kPan;
  press_ = at;
  pan_centre_ = {device_.GetScrollPosH(), device_.GetScrollPosV()};
}

// From where the drag began, so that no rounding adds up.
void Viewer::pan(POINT to) {
  const double scale = device_.GetScale();
  device_.ScrollH(KRD::RoundHalfAway(pan_centre_.x - (double{1} * to.x - press_.x) / scale));
  device_.ScrollV(KRD::RoundHalfAway(pan_centre_.y + (double{1} * to.y - press_.y) / scale));
  device_.NewView();
  changed();
}

void Viewer::scroll(int dx, int dy) {
  const double scale = device_.GetScale();
  if (dx != 0) {
    device_.ScrollH(KRD::RoundHalfAway(device_.GetScrollPosH() + dx / scale));
  }
  if (dy != 0) {
    device_.ScrollV(KRD::RoundHalfAway(device_.GetScrollPosV() - dy / scale));
  }
  device_.NewView();
  changed();
}

}  // namespace kr_view
