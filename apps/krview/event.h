// What happens to the viewer's window, whoever tells it: a screen, a script or a test. Pixels count
// from the client area's upper left corner.
#pragma once

namespace kr_view {

enum class EventKind {
  kMove,     // x, y
  kPress,    // x, y, button
  kRelease,  // x, y, button
  kWheel,    // x, y; steps, positive away from the hand
  kKey,      // key, shift; for kLetter also character
  kKeyUp,    // key
  kText,     // character: what the keyboard's layout makes of keys
  kResize,   // x, y are the new size
  kExpose,   // the window's pixels were lost
  kLeave,    // the cursor went out of the window
  kQuit,
};

enum class Button { kNone, kLeft, kMiddle, kRight };

enum class Key {
  kNone,
  kLeft,
  kRight,
  kUp,
  kDown,
  kPageUp,
  kPageDown,
  kHome,
  kEnd,
  kEnter,
  kEscape,
  kBackspace,
  kSpace,
  kTab,
  kLetter,  // by its place on the keyboard: `character` holds 'a' to 'z'
};

struct Event {
  EventKind kind;
  int x = 0;
  int y = 0;
  int steps = 0;
  Button button = Button::kNone;
  Key key = Key::kNone;
  char character = 0;
  bool shift = false;
};

}  // namespace kr_view
