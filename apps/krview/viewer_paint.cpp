#include <chrono>
#include <cmath>
#include <cstdio>

#include "apps/krview/viewer.h"
#include "apps/sheet/painter.h"

namespace kr_view {
namespace {

using KRD::DOT;

constexpr int kReachPixels = 6;
constexpr int kMarkPixels = 3;
constexpr int kGridPixels = 24;  // the finest grid
constexpr int kPadding = 8;
constexpr double kShown = 1000;  // model units of the unit that people read
constexpr std::uint32_t kMarkColour = RGB(255, 120, 0);
constexpr std::uint32_t kInvert = 0xffffff;
constexpr std::uint32_t kBar = RGB(38, 42, 48);
constexpr std::uint32_t kBarInk = RGB(236, 238, 240);
constexpr std::uint32_t kBarFaint = RGB(150, 158, 168);
constexpr std::uint32_t kNoteInk = RGB(255, 196, 110);
constexpr std::uint32_t kPaper = RGB(250, 250, 246);
constexpr std::uint32_t kInk = RGB(30, 34, 40);

struct HelpLine {
  const char* keys;
  const char* what;
};

// clang-format off
constexpr HelpLine kHelp[] = {
    {"wheel", "zoom at the cursor"},
    {"drag", "zoom to the rectangle"},
    {"middle drag, Space drag", "pan"},
    {"arrows", "scroll"},
    {"Page Up, Page Down", "scroll by a page; with Shift sideways"},
    {"+  -", "zoom at the middle"},
    {"F, Home", "show all"},
    {"Backspace", "previous view; with Shift the next"},
    {"G", "grid: points, lines, off"},
    {"M", "measure a distance"},
    {"B", "light or dark background"},
    {"Tab", "list of the drawings"},
    {"Esc", "cancel"},
    {"Q", "quit"},
    {"?", "these keys"},
};
// clang-format on

template <class... Values>
std::string Text(const char* format, Values... values) {
  char text[160];
  std::snprintf(text, sizeof text, format, values...);
  return text;
}

// The mean of background and ink, near to the background.
std::uint32_t GridColour(std::uint32_t background, bool lines) {
  const std::uint32_t ink = kr_sheet::ContrastTo(background);
  const auto mix = [&](int shift) {
    const std::uint32_t back = background >> shift & 255;
    const std::uint32_t front = ink >> shift & 255;
    return (lines ? back * 7 + front : back * 5 + front * 3) / 8 << shift;
  };
  return mix(0) | mix(8) | mix(16);
}

}  // namespace

RECT Viewer::viewArea() const {
  return {0, 0, device_.width(), device_.height()};
}

RECT Viewer::statusArea() const {
  return {0, device_.height(), window_.width(), window_.height()};
}

bool Viewer::update() {
  for (std::uint32_t timer : window_.takeDue()) {
    if (timer == DRAW_DEVICE::kViewTimer) {
      device_.SaveView();
    }
  }
  if (look_) {
    look_ = false;
    hover();
  }
  bool painted = false;
  if (window_.takeInvalid()) {
    paint();
    painted = true;
  } else if (const auto wanted = wantedDraft(); wanted != draft_) {
    HDC dc = window_.GetContext();
    device_.SetContext(dc);
    swapDraft(wanted);
    device_.ReleaseContext();
    window_.ReleaseContext(dc);
    painted = true;
  }
  const std::string status = statusKey();
  if (painted || status != status_) {
    HDC dc = window_.GetContext();
    panel_.begin(dc, window_.width(), window_.height());
    paintStatus(panel_);
    panel_.end();
    window_.ReleaseContext(dc);
    status_ = status;
    painted = true;
  }
  return painted;
}

void Viewer::paint() {
  HDC dc = window_.GetContext();
  device_.SetContext(dc);
  if (device_.needupdate()) {
    redraw();
  }
  if (mark_) {
    showMark();
  } else {
    device_.Render(nullptr);
  }
  draft_.reset();
  swapDraft(wantedDraft());
  device_.ReleaseContext();
  if (!plain()) {
    panel_.begin(dc, window_.width(), window_.height());
    if (choosing_) {
      chooser_.paint(panel_);
    } else {
      paintHelp(panel_);
    }
    panel_.end();
  }
  window_.ReleaseContext(dc);
}

void Viewer::redraw() {
  const auto start = std::chrono::steady_clock::now();
  device_.cleardevice(background_);
  drawGrid();
  if (subject_ != nullptr) {
    subject_->draw(device_, background_);
  }
  device_.needupdate(false);
  ++redraws_;
  draw_ms_ =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

void Viewer::drawGrid() {
  if (grid_ == Grid::kOff) {
    return;
  }
  std::int64_t step = 1;
  for (int i = 0; device_.GetScale() * static_cast<double>(step) < kGridPixels; ++i) {
    step = i % 3 == 1 ? step / 2 * 5 : step * 2;  // 1, 2, 5, 10
    if (step > std::numeric_limits<std::int32_t>::max()) {
      return;
    }
  }
  const auto pitch = static_cast<std::int32_t>(step);
  const bool lines = grid_ == Grid::kLines;
  device_.DrawGrid({pitch, pitch}, GridColour(background_, lines), lines);
}

// The mark goes on a copy of the main buffer, which stays as it is.
void Viewer::showMark() {
  device_.Render2ExtraBuff(nullptr);
  device_.EnableExtraBuffer(true);
  subject_->mark(device_, *mark_, std::max(device_.rR(kMarkPixels), 1), kMarkColour);
  device_.EnableExtraBuffer(false);
  device_.RenderExtraBuff(nullptr);
}

void Viewer::hover() {
  std::optional<Subject::Element> found;
  if (subject_ != nullptr && inside_ && plain() && drag_ == Drag::kNone && !from_) {
    found = subject_->find(modelAt(window_.cursor), kReachPixels / device_.GetScale());
  }
  if (found != mark_) {
    mark_ = found;
    window_.Invalidate(nullptr);
  }
}

std::optional<Viewer::Draft> Viewer::wantedDraft() const {
  const DOT cursor = modelAt(inView(window_.cursor));
  if (!plain()) {
    return std::nullopt;
  }
  if (drag_ == Drag::kBand) {
    return Draft{true, modelAt(press_), cursor};
  }
  if (from_) {
    return Draft{false, *from_, to_ ? *to_ : cursor};
  }
  return std::nullopt;
}

void Viewer::drawDraft(const Draft& draft) {
  device_.setPenStyle(PS_SOLID, 0, kInvert);
  if (draft.rectangle) {
    device_.rectangle(draft.from, draft.to);
  } else {
    device_.line(draft.from, draft.to);
  }
}

// Between SetContext and ReleaseContext.
void Viewer::swapDraft(const std::optional<Draft>& wanted) {
  device_.DirectDraw(true);
  device_.SetDraftMode(true);
  if (draft_) {
    drawDraft(*draft_);
  }
  if (wanted) {
    drawDraft(*wanted);
  }
  draft_ = wanted;
  device_.SetDraftMode(false);
  device_.DirectDraw(false);
}

// --- Texts

std::string Viewer::note() const {
  if (!message_.empty()) {
    return message_;
  }
  if (from_) {
    const DOT end = to_ ? *to_ : modelAt(inView(window_.cursor));
    const double dx = (double{1} * end.x - from_->x) / kShown;
    const double dy = (double{1} * end.y - from_->y) / kShown;
    return Text("distance %.3f  (%.3f, %.3f)", std::hypot(dx, dy), dx, dy);
  }
  if (mark_) {
    return subject_->describe(*mark_);
  }
  return subject_ != nullptr ? subject_->name : std::string();
}

// All that the status line depends on.
std::string Viewer::statusKey() const {
  const DOT at = modelAt(window_.cursor);
  return Text("%d %d %d %.9g %d %d %d %d", at.x, at.y, inside_ ? 1 : 0, device_.GetScale(),
              device_.viewNumber(), device_.viewCount(), redraws_, window_.width()) +
         note();
}

void Viewer::paintStatus(Panel& panel) const {
  const RECT area = statusArea();
  panel.fill(area, kBar);
  const int baseline = area.top + Panel::kBaseline;
  int x = kPadding;
  // Each in a column wide enough for a long value, so that the line does not jump about.
  const auto put = [&](const std::string& text, const char* longest, std::uint32_t colour) {
    const int room = area.right - kPadding - x;
    if (room > 0) {
      panel.text(x, baseline, text, colour, room);
    }
    x += std::max(panel.width(text), panel.width(longest)) + 2 * kPadding;
  };
  if (subject_ != nullptr) {
    const DOT at = modelAt(window_.cursor);
    const std::string place =
        inside_ ? Text("X %.3f  Y %.3f %s", at.x / kShown, at.y / kShown, subject_->unit())
                : std::string("X -  Y - ") + subject_->unit();
    put(place, Text("X -1000.000  Y -1000.000 %s", subject_->unit()).c_str(), kBarInk);
    put(Text("%.4g px/%s", device_.GetScale() * kShown,
             subject_->unit()[0] == 'm' ? subject_->unit() : "unit"),
        "0.001234 px/mm", kBarFaint);
    put(Text("view %d of %d", device_.viewNumber(), device_.viewCount()), "view 10 of 10",
        kBarFaint);
    put(Text("draw %.1f ms", draw_ms_), "draw 100.0 ms", kBarFaint);
  }
  put(note(), "", kNoteInk);
}

void Viewer::paintHelp(Panel& panel) const {
  int keys = 0;
  int whats = 0;
  for (const HelpLine& line : kHelp) {
    keys = std::max(keys, panel.width(line.keys));
    whats = std::max(whats, panel.width(line.what));
  }
  const int width = keys + whats + 6 * kPadding;
  const int height = static_cast<int>(std::size(kHelp)) * Panel::kLine + 2 * kPadding;
  const int left = std::max((device_.width() - width) / 2, 0);
  const int top = std::max((device_.height() - height) / 2, 0);
  const RECT box{left, top, left + width, top + height};
  panel.fill(box, kPaper);
  panel.frame(box, kInk);
  int baseline = top + kPadding + Panel::kBaseline;
  for (const HelpLine& line : kHelp) {
    panel.text(left + 2 * kPadding, baseline, line.keys, kMarkColour, width);
    panel.text(left + keys + 4 * kPadding, baseline, line.what, kInk, width);
    baseline += Panel::kLine;
  }
}

}  // namespace kr_view
