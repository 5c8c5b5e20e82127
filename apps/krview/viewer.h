// The viewer: a view of one subject in a window, and what events do to it.
//
// Events change the state, update paints. So any number of events that came together, during a long
// redraw for example, cost one redraw.
//
//   +------------------------------+
//   | view: the device's window    |
//   +------------------------------+
//   | status line, Panel::kLine    |
//   +------------------------------+
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "apps/krview/chooser.h"
#include "apps/krview/event.h"
#include "apps/krview/frame_window.h"
#include "apps/krview/library.h"
#include "apps/krview/panel.h"
#include "apps/krview/subject.h"
#include "apps/krview/view_device.h"

namespace kr_view {

enum class Pointer { kArrow, kCross, kHand };

class Viewer {
 public:
  // All is borrowed. `background` is 0x00BBGGRR.
  Viewer(FrameWindow& window, Library& library, kr::font& texts, std::uint32_t background);

  // Shows an entry of the library, all of it, as the first view. Throws kr_app::Failure, with the
  // former entry still shown.
  void open(std::size_t index);
  // Shows the list of the library's entries.
  void choose();

  void handle(const Event& event);
  // Answers the timers that are due, looks what lies under the cursor and paints what has changed;
  // false when the window's pixels are as they were.
  bool update();

  bool finished() const { return finished_; }
  std::string title() const;
  Pointer pointer() const;
  // A line for people, shown until the next key or press.
  void tell(const std::string& message);

  // What the status line ends in: a message, the distance, what lies under the cursor or the name.
  std::string note() const;

  int redraws() const { return redraws_; }  // of the main buffer
  const ViewDevice& device() const { return device_; }

 private:
  enum class Drag { kNone, kPan, kBand, kMeasure };
  enum class Grid { kOff, kPoints, kLines };
  // A shape that XOR puts on the window and takes away again.
  struct Draft {
    bool rectangle = false;
    KRD::DOT from{0, 0}, to{0, 0};
    bool operator==(const Draft& o) const {
      return rectangle == o.rectangle && from.x == o.from.x && from.y == o.from.y &&
             to.x == o.to.x && to.y == o.to.y;
    }
  };

  // viewer.cpp
  void handleKey(const Event& event);
  void handleLetter(char letter);
  void handleText(char character);
  void press(const Event& event);
  void move(const Event& event);
  void release(const Event& event);
  void resize(int w, int h);
  void cancel();
  void openChosen();
  void fit();
  void show(const KRD::LTRB& box);
  void zoom(int steps);
  void zoomAtCentre(int steps);
  void beginPan(POINT at);
  void pan(POINT to);
  void scroll(int dx, int dy);
  void zoomBand(POINT to);
  void measure(POINT at);
  void changed();
  POINT inView(POINT p) const;
  KRD::DOT modelAt(POINT p) const { return {device_.rX(p.x), device_.rY(p.y)}; }
  bool plain() const { return !choosing_ && !help_; }

  // viewer_paint.cpp
  void paint();
  void redraw();
  void drawGrid();
  void showMark();
  void hover();
  std::optional<Draft> wantedDraft() const;
  void drawDraft(const Draft& draft);
  void swapDraft(const std::optional<Draft>& wanted);
  void paintStatus(Panel& panel) const;
  void paintHelp(Panel& panel) const;
  std::string statusKey() const;
  RECT viewArea() const;
  RECT statusArea() const;

  FrameWindow& window_;
  Library& library_;
  std::uint32_t background_;
  ViewDevice device_;
  Panel panel_;
  Chooser chooser_;
  std::unique_ptr<Subject> subject_;
  std::size_t current_ = 0;

  Drag drag_ = Drag::kNone;
  Button drag_button_ = Button::kNone;
  POINT press_{0, 0};          // where the drag began
  KRD::DOT pan_centre_{0, 0};  // the window's centre then
  double draw_ms_ = 0;
  int redraws_ = 0;
  Grid grid_ = Grid::kOff;
  bool space_ = false;   // held
  bool inside_ = false;  // the cursor is over the view
  bool choosing_ = false;
  bool help_ = false;
  bool measuring_ = false;
  bool finished_ = false;
  std::optional<KRD::DOT> from_, to_;  // of the distance that is measured
  std::optional<Subject::Element> mark_;
  bool look_ = false;           // the cursor or the view moved since the last hover
  std::optional<Draft> draft_;  // on the window now
  std::string status_;          // what the status line was painted for
  std::string message_;
};

}  // namespace kr_view
