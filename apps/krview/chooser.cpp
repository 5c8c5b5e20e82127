#include "apps/krview/chooser.h"

#include <algorithm>
#include <cctype>

namespace kr_view {
namespace {

constexpr int kMargin = 24;
constexpr int kWidest = 640;
constexpr int kPadding = 8;
constexpr std::uint32_t kPaper = RGB(250, 250, 246);
constexpr std::uint32_t kInk = RGB(30, 34, 40);
constexpr std::uint32_t kFaint = RGB(120, 126, 134);
constexpr std::uint32_t kChosenPaper = RGB(46, 96, 168);
constexpr std::uint32_t kChosenInk = RGB(255, 255, 255);

std::string Lower(std::string text) {
  for (char& c : text) {
    c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  }
  return text;
}

}  // namespace

Chooser::Chooser(const std::vector<std::string>& names) : names_(names) {
  narrow();
}

void Chooser::open(int w, int h, std::size_t current) {
  filter_.clear();
  resize(w, h);
  narrow();
  select(static_cast<int>(current));
}

void Chooser::resize(int w, int h) {
  const int width = std::clamp(w - 2 * kMargin, 1, kWidest);
  rows_ = std::clamp((h - 2 * kMargin) / Panel::kLine - 1, 1,
                     std::max(static_cast<int>(names_.size()), 1));
  const int height = (rows_ + 1) * Panel::kLine + kPadding;
  const int left = (w - width) / 2;
  const int top = std::max((h - height) / 2, 0);
  box_ = {left, top, left + width, top + height};
  select(static_cast<int>(selected_));
}

void Chooser::narrow() {
  shown_.clear();
  const std::string wanted = Lower(filter_);
  for (std::size_t i = 0; i < names_.size(); ++i) {
    if (Lower(names_[i]).find(wanted) != std::string::npos) {
      shown_.push_back(i);
    }
  }
  select(0);
}

void Chooser::select(int index) {
  const int last = static_cast<int>(shown_.size()) - 1;
  const int at = std::clamp(index, 0, std::max(last, 0));
  selected_ = static_cast<std::size_t>(at);
  top_ = std::clamp(top_, std::max(at - rows_ + 1, 0), at);
  top_ = std::clamp(top_, 0, std::max(last + 1 - rows_, 0));
}

int Chooser::rowAt(int x, int y) const {
  const int row = (y - box_.top - Panel::kLine) / Panel::kLine;
  if (x < box_.left || x >= box_.right || y < box_.top + Panel::kLine || row >= rows_ ||
      top_ + row >= static_cast<int>(shown_.size())) {
    return -1;
  }
  return top_ + row;
}

Chooser::Outcome Chooser::handle(const Event& event) {
  switch (event.kind) {
    case EventKind::kKey:
      return handleKey(event);
    case EventKind::kText:
      filter_ += event.character;
      narrow();
      return Outcome::kChanged;
    case EventKind::kWheel:
      select(static_cast<int>(selected_) - event.steps);
      return Outcome::kChanged;
    case EventKind::kMove:
    case EventKind::kPress: {
      const int row = rowAt(event.x, event.y);
      if (row < 0) {
        return event.kind == EventKind::kPress ? Outcome::kClosed : Outcome::kNothing;
      }
      select(row);
      return event.kind == EventKind::kPress ? Outcome::kChosen : Outcome::kChanged;
    }
    default:
      return Outcome::kNothing;
  }
}

Chooser::Outcome Chooser::handleKey(const Event& event) {
  const int at = static_cast<int>(selected_);
  switch (event.key) {
    case Key::kUp:
      select(at - 1);
      break;
    case Key::kDown:
      select(at + 1);
      break;
    case Key::kPageUp:
      select(at - rows_);
      break;
    case Key::kPageDown:
      select(at + rows_);
      break;
    case Key::kHome:
      select(0);
      break;
    case Key::kEnd:
      select(static_cast<int>(shown_.size()) - 1);
      break;
    case Key::kEnter:
      return shown_.empty() ? Outcome::kNothing : Outcome::kChosen;
    case Key::kEscape:
    case Key::kTab:
      return Outcome::kClosed;
    case Key::kBackspace:
      if (filter_.empty()) {
        return Outcome::kNothing;
      }
      filter_.pop_back();
      narrow();
      break;
    default:
      return Outcome::kNothing;
  }
  return Outcome::kChanged;
}

void Chooser::paint(Panel& panel) const {
  panel.fill(box_, kPaper);
  panel.frame(box_, kInk);
  const int x = box_.left + kPadding;
  const int room = box_.right - kPadding - x;
  const std::string head = filter_.empty() ? "Type to narrow down, Enter opens, Esc closes"
                                           : "Names with: " + filter_ + "_";
  const std::string count = std::to_string(shown_.size()) + " of " + std::to_string(names_.size());
  const int count_width = panel.width(count);
  panel.text(x, box_.top + Panel::kBaseline, head, kFaint, room - count_width - kPadding);
  panel.text(box_.right - kPadding - count_width, box_.top + Panel::kBaseline, count, kFaint,
             count_width);
  for (int row = 0; row < rows_ && top_ + row < static_cast<int>(shown_.size()); ++row) {
    const int shown = top_ + row;
    const auto index = static_cast<std::size_t>(shown);
    const int y = box_.top + (row + 1) * Panel::kLine;
    const bool chosen = index == selected_;
    if (chosen) {
      panel.fill({box_.left + 1, y, box_.right - 1, y + Panel::kLine}, kChosenPaper);
    }
    panel.text(x, y + Panel::kBaseline, names_[shown_[index]], chosen ? kChosenInk : kInk, room);
  }
}

}  // namespace kr_view
