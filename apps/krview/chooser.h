// The list of drawings to choose from, by keys and mouse. Typed letters narrow it down.
#pragma once

#include <string>
#include <vector>

#include "apps/krview/event.h"
#include "apps/krview/panel.h"

namespace kr_view {

class Chooser {
 public:
  enum class Outcome { kNothing, kChanged, kChosen, kClosed };

  // The names are borrowed.
  explicit Chooser(const std::vector<std::string>& names);

  // A window of w by h pixels, and the entry that is shown now.
  void open(int w, int h, std::size_t current);
  void resize(int w, int h);
  Outcome handle(const Event& event);
  void paint(Panel& panel) const;

  // What kChosen chose: an index of the names.
  std::size_t chosen() const { return shown_[selected_]; }

 private:
  void narrow();
  void select(int index);
  Outcome handleKey(const Event& event);
  // The row under a pixel, an index of shown_; -1 for none.
  int rowAt(int x, int y) const;

  const std::vector<std::string>& names_;
  std::string filter_;
  std::vector<std::size_t> shown_;  // indices of names_ that the filter lets through
  std::size_t selected_ = 0;        // in shown_
  int top_ = 0;                     // the first row that is seen
  int rows_ = 1;                    // that there is room for
  RECT box_{0, 0, 0, 0};
};

}  // namespace kr_view
