// Events from a text file, for tests and for showing things. One command a line (docs/krview.md):
//
//   move X Y                    wheel STEPS X Y        key [shift+]NAME     wait MS
//   press BUTTON X Y            text WORDS             hold NAME            size W H
//   release BUTTON X Y          leave                  let NAME             screenshot FILE
//   drag BUTTON X Y TO-X TO-Y   quit                   # a comment
#pragma once

#include <istream>
#include <string>
#include <vector>

#include "apps/krview/event.h"
#include "apps/krview/viewer.h"

namespace kr_view {

struct Step {
  std::vector<Event> events;
  int wait_ms = 0;
  std::string screenshot;
};

// Throws kr_app::Failure, which names the line. `name` is the script's in messages.
std::vector<Step> ReadScript(std::istream& in, const std::string& name);

// Where a script is played.
class Stage {
 public:
  virtual ~Stage() = default;
  // Lets that time pass; on a screen with what people do meanwhile.
  virtual void wait(int ms) = 0;
  // The window is to have that size.
  virtual void resize(int w, int h) = 0;
  // Whatever was painted is to be seen.
  virtual void show() = 0;
};

// Plays until the end or until the viewer is finished. Throws kr_app::Failure for a picture that
// cannot be written.
void Play(const std::vector<Step>& steps, Viewer& viewer, FrameWindow& window, Stage& stage);

}  // namespace kr_view
