#include "apps/krview/script.h"

#include <cctype>
#include <iterator>
#include <optional>
#include <sstream>
#include <utility>

#include "apps/common/errors.h"
#include "apps/common/png_file.h"
#include "apps/common/whole_file.h"

namespace kr_view {
namespace {

using kr_app::Failure;

constexpr int kDragMoves = 8;
constexpr int kLargestSide = 16384;
constexpr int kLongestWait = 3'600'000;
constexpr int kFarthest = 1'000'000;

struct KeyName {
  const char* name;
  Key key;
};

// clang-format off
constexpr KeyName kKeys[] = {
    {"left", Key::kLeft}, {"right", Key::kRight}, {"up", Key::kUp}, {"down", Key::kDown},
    {"pageup", Key::kPageUp}, {"pagedown", Key::kPageDown}, {"home", Key::kHome},
    {"end", Key::kEnd}, {"enter", Key::kEnter}, {"escape", Key::kEscape},
    {"backspace", Key::kBackspace}, {"space", Key::kSpace}, {"tab", Key::kTab},
};
// clang-format on

// One line's words.
class Line {
 public:
  explicit Line(const std::string& text) : words_(text) {}

  std::string word(const char* what) {
    std::string text;
    if (!(words_ >> text)) {
      throw Failure(std::string("no ") + what);
    }
    return text;
  }
  std::optional<std::string> next() {
    std::string text;
    return words_ >> text ? std::optional(text) : std::nullopt;
  }
  int number(const char* what, int least, int most) {
    const std::string text = word(what);
    std::size_t used = 0;
    long long value = 0;
    try {
      value = std::stoll(text, &used);
    } catch (const std::exception&) {
      used = 0;
    }
    if (used == 0 || used != text.size() || value < least || value > most) {
      throw Failure(text + ": " + what + " is a number from " + std::to_string(least) + " to " +
                    std::to_string(most));
    }
    return static_cast<int>(value);
  }
  std::string rest() {
    std::string text;
    std::getline(words_ >> std::ws, text);
    return text;
  }

 private:
  std::istringstream words_;
};

Button ButtonOf(const std::string& name) {
  if (name == "left") {
    return Button::kLeft;
  }
  if (name == "middle") {
    return Button::kMiddle;
  }
  if (name == "right") {
    return Button::kRight;
  }
  throw Failure(name + ": no button; left, middle or right");
}

// What a keyboard tells of a key: its place, and the character that it makes.
std::vector<Event> KeyEvents(std::string name) {
  constexpr std::string_view kShift = "shift+";
  Event event{.kind = EventKind::kKey};
  if (name.size() > kShift.size() && name.starts_with(kShift)) {
    event.shift = true;
    name.erase(0, kShift.size());
  }
  for (const KeyName& row : kKeys) {
    if (name == row.name) {
      event.key = row.key;
      return {event};
    }
  }
  if (name.size() != 1) {
    throw Failure(name + ": no such key");
  }
  const Event text{.kind = EventKind::kText, .character = name[0]};
  const auto c = static_cast<unsigned char>(name[0]);
  if (std::isalpha(c) == 0) {
    return {event, text};
  }
  event.key = Key::kLetter;
  event.character = static_cast<char>(std::tolower(c));
  return {event, text};
}

POINT Place(Line& line) {
  const int x = line.number("x", -kFarthest, kFarthest);
  return {x, line.number("y", -kFarthest, kFarthest)};
}

Event AtPlace(EventKind kind, POINT at, Button button = Button::kNone) {
  return {.kind = kind, .x = at.x, .y = at.y, .button = button};
}

std::vector<Event> DragEvents(Button button, POINT from, POINT to) {
  std::vector<Event> events{AtPlace(EventKind::kMove, from),
                            AtPlace(EventKind::kPress, from, button)};
  for (int i = 1; i <= kDragMoves; ++i) {
    events.push_back(AtPlace(EventKind::kMove, {from.x + (to.x - from.x) * i / kDragMoves,
                                                from.y + (to.y - from.y) * i / kDragMoves}));
  }
  events.push_back(AtPlace(EventKind::kRelease, to, button));
  return events;
}

Step StepOf(const std::string& command, Line& line) {
  Step step;
  if (command == "move") {
    step.events = {AtPlace(EventKind::kMove, Place(line))};
  } else if (command == "press" || command == "release") {
    const Button button = ButtonOf(line.word("button"));
    step.events = {
        AtPlace(command == "press" ? EventKind::kPress : EventKind::kRelease, Place(line), button)};
  } else if (command == "drag") {
    const Button button = ButtonOf(line.word("button"));
    const POINT from = Place(line);
    step.events = DragEvents(button, from, Place(line));
  } else if (command == "wheel") {
    const int steps = line.number("steps", -kFarthest, kFarthest);
    Event event = AtPlace(EventKind::kWheel, Place(line));
    event.steps = steps;
    step.events = {event};
  } else if (command == "key" || command == "hold") {
    step.events = KeyEvents(line.word("key"));
  } else if (command == "let") {
    Event event = KeyEvents(line.word("key")).front();
    event.kind = EventKind::kKeyUp;
    step.events = {event};
  } else if (command == "text") {
    for (char c : line.rest()) {
      step.events.push_back({.kind = EventKind::kText, .character = c});
    }
  } else if (command == "leave") {
    step.events = {{.kind = EventKind::kLeave}};
  } else if (command == "quit") {
    step.events = {{.kind = EventKind::kQuit}};
  } else if (command == "wait") {
    step.wait_ms = line.number("milliseconds", 0, kLongestWait);
  } else if (command == "size") {
    const int w = line.number("width", 1, kLargestSide);
    const int h = line.number("height", 1, kLargestSide);
    step.events = {{.kind = EventKind::kResize, .x = w, .y = h}};
  } else if (command == "screenshot") {
    step.screenshot = line.rest();
    if (step.screenshot.empty()) {
      throw Failure("no file");
    }
  } else {
    throw Failure(command + ": no such command");
  }
  if (const auto more = line.next()) {
    throw Failure(*more + ": one word too many");
  }
  return step;
}

}  // namespace

std::vector<Step> ReadScript(std::istream& in, const std::string& name) {
  std::vector<Step> steps;
  std::string text;
  for (int number = 1; std::getline(in, text); ++number) {
    Line line(text);
    const auto command = line.next();
    if (!command || command->front() == '#') {
      continue;
    }
    try {
      steps.push_back(StepOf(*command, line));
    } catch (const Failure& e) {
      throw Failure(name + ":" + std::to_string(number) + ": " + e.what());
    }
  }
  return steps;
}

void Play(const std::vector<Step>& steps, Viewer& viewer, FrameWindow& window, Stage& stage) {
  for (const Step& step : steps) {
    for (const Event& event : step.events) {
      if (event.kind == EventKind::kResize) {
        stage.resize(event.x, event.y);
      }
      viewer.handle(event);
      // A hand is slower than the screen.
      if (viewer.update()) {
        stage.show();
      }
    }
    if (step.wait_ms > 0) {
      stage.wait(step.wait_ms);
      if (viewer.update()) {
        stage.show();
      }
    }
    if (!step.screenshot.empty()) {
      kr_app::WriteWholeFile(step.screenshot, kr_app::PngOf(window.pixels()));
    }
    if (viewer.finished()) {
      return;
    }
  }
}

}  // namespace kr_view
