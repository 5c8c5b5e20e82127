#include "apps/krview/sdl_screen.h"

#include <SDL.h>
#include <cstdlib>

#include "apps/common/errors.h"

namespace kr_view {
namespace {

struct KeyRow {
  SDL_Keycode code;
  Key key;
};

// clang-format off
constexpr KeyRow kKeys[] = {
    {SDLK_LEFT, Key::kLeft}, {SDLK_RIGHT, Key::kRight}, {SDLK_UP, Key::kUp}, {SDLK_DOWN, Key::kDown},
    {SDLK_PAGEUP, Key::kPageUp}, {SDLK_PAGEDOWN, Key::kPageDown},
    {SDLK_HOME, Key::kHome}, {SDLK_END, Key::kEnd},
    {SDLK_RETURN, Key::kEnter}, {SDLK_KP_ENTER, Key::kEnter}, {SDLK_ESCAPE, Key::kEscape},
    {SDLK_BACKSPACE, Key::kBackspace}, {SDLK_SPACE, Key::kSpace}, {SDLK_TAB, Key::kTab},
};
constexpr SDL_SystemCursor kCursors[] = {
    SDL_SYSTEM_CURSOR_ARROW, SDL_SYSTEM_CURSOR_CROSSHAIR, SDL_SYSTEM_CURSOR_SIZEALL};
// clang-format on

Button ButtonOf(std::uint8_t button) {
  return button == SDL_BUTTON_LEFT     ? Button::kLeft
         : button == SDL_BUTTON_MIDDLE ? Button::kMiddle
         : button == SDL_BUTTON_RIGHT  ? Button::kRight
                                       : Button::kNone;
}

Event KeyOf(const SDL_KeyboardEvent& from) {
  Event event{.kind = from.type == SDL_KEYDOWN ? EventKind::kKey : EventKind::kKeyUp};
  event.shift = (from.keysym.mod & KMOD_SHIFT) != 0;
  for (const KeyRow& row : kKeys) {
    if (row.code == from.keysym.sym) {
      event.key = row.key;
    }
  }
  const int letter = from.keysym.scancode - SDL_SCANCODE_A;
  if ((from.keysym.mod & (KMOD_CTRL | KMOD_ALT | KMOD_GUI)) == 0 && letter >= 0 && letter < 26) {
    // The letter keys of a keyboard, whatever alphabet is on them; other Latin layouts move some.
    const SDL_Keycode sym = from.keysym.sym;
    event.key = Key::kLetter;
    event.character = static_cast<char>(sym >= 'a' && sym <= 'z' ? sym : 'a' + letter);
  }
  return event;
}

// Ends the program when the connection to the display breaks: the display's library gives no way
// back.
int DisplayIsGone(void*) {
  std::fputs("krview: the display went away\n", stderr);
  std::_Exit(1);
}

void WatchDisplay() {
  // The library is loaded already when the display is of that kind.
  if (std::string(SDL_GetCurrentVideoDriver()) != "x11") {
    return;
  }
  if (void* library = SDL_LoadObject("libX11.so.6")) {
    using Handler = int (*)(void*);
    if (void* set = SDL_LoadFunction(library, "XSetIOErrorHandler")) {
      reinterpret_cast<Handler (*)(Handler)>(set)(DisplayIsGone);
    }
  }
}

}  // namespace

SdlScreen::SdlScreen(int w, int h, const std::string& title) : title_(title) {
  // Plain pixels are shown: nothing to gain from a way over the graphics card.
  SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
  SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
  SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
  if (SDL_Init(SDL_INIT_VIDEO) != 0) {
    throw kr_app::Failure(std::string("no display to open a window on: ") + SDL_GetError() +
                          " (--screenshot draws without one)");
  }
  // Where nothing else is found, the last choice is a driver that keeps its pixels to itself.
  const std::string driver = SDL_GetCurrentVideoDriver();
  if (driver == "offscreen" || driver == "dummy") {
    SDL_Quit();
    throw kr_app::Failure("no display to open a window on (--screenshot draws without one)");
  }
  WatchDisplay();
  window_ = SDL_CreateWindow(title.c_str(), SDL_WINDOWPOS_UNDEFINED, SDL_WINDOWPOS_UNDEFINED, w, h,
                             SDL_WINDOW_RESIZABLE);
  if (window_ == nullptr) {
    const std::string why = SDL_GetError();
    SDL_Quit();
    throw kr_app::Failure("no window can be opened: " + why);
  }
  for (std::size_t i = 0; i < std::size(kCursors); ++i) {
    cursors_[i] = SDL_CreateSystemCursor(kCursors[i]);
  }
  SDL_StartTextInput();
}

SdlScreen::~SdlScreen() {
  for (SDL_Cursor* cursor : cursors_) {
    SDL_FreeCursor(cursor);
  }
  SDL_DestroyWindow(window_);
  SDL_Quit();
}

void SdlScreen::wait(int ms, std::vector<Event>& events) {
  SDL_Event event;
  const bool came = ms < 0 ? SDL_WaitEvent(&event) != 0 : SDL_WaitEventTimeout(&event, ms) != 0;
  for (bool more = came; more; more = SDL_PollEvent(&event) != 0) {
    take(event, events);
  }
}

void SdlScreen::take(const SDL_Event& event, std::vector<Event>& events) {
  const auto put = [&](const Event& e) {
    const bool last_counts = e.kind == EventKind::kMove || e.kind == EventKind::kResize;
    if (last_counts && !events.empty() && events.back().kind == e.kind) {
      events.back() = e;
    } else {
      events.push_back(e);
    }
  };
  switch (event.type) {
    case SDL_MOUSEMOTION:
      put({.kind = EventKind::kMove, .x = event.motion.x, .y = event.motion.y});
      break;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP:
      put({.kind = event.type == SDL_MOUSEBUTTONDOWN ? EventKind::kPress : EventKind::kRelease,
           .x = event.button.x,
           .y = event.button.y,
           .button = ButtonOf(event.button.button)});
      break;
    case SDL_MOUSEWHEEL:
      if (event.wheel.y != 0) {
        const bool flipped = event.wheel.direction == SDL_MOUSEWHEEL_FLIPPED;
        put({.kind = EventKind::kWheel,
             .x = event.wheel.mouseX,
             .y = event.wheel.mouseY,
             .steps = flipped ? -event.wheel.y : event.wheel.y});
      }
      break;
    case SDL_KEYDOWN:
    case SDL_KEYUP:
      put(KeyOf(event.key));
      break;
    case SDL_TEXTINPUT:
      for (const char* c = event.text.text; *c != '\0'; ++c) {
        put({.kind = EventKind::kText, .character = *c});
      }
      break;
    case SDL_WINDOWEVENT:
      if (event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) {
        put({.kind = EventKind::kResize, .x = event.window.data1, .y = event.window.data2});
        put({.kind = EventKind::kExpose});
      } else if (event.window.event == SDL_WINDOWEVENT_EXPOSED) {
        put({.kind = EventKind::kExpose});
      } else if (event.window.event == SDL_WINDOWEVENT_LEAVE) {
        put({.kind = EventKind::kLeave});
      }
      break;
    case SDL_QUIT:
      put({.kind = EventKind::kQuit});
      break;
    default:
      break;
  }
}

void SdlScreen::show(const PIXELS& pixels) {
  SDL_Surface* target = SDL_GetWindowSurface(window_);
  if (target == nullptr || pixels.data == nullptr) {
    return;  // a window without a surface has nothing to be seen
  }
  constexpr int kBits = 32;
  constexpr int kBytes = 4;
  SDL_Surface* source =
      SDL_CreateRGBSurfaceFrom(pixels.data, pixels.width, pixels.height, kBits,
                               pixels.stride * kBytes, 0xff0000, 0x00ff00, 0x0000ff, 0);
  if (source != nullptr) {
    SDL_BlitSurface(source, nullptr, target, nullptr);
    SDL_FreeSurface(source);
    SDL_UpdateWindowSurface(window_);
  }
}

void SdlScreen::setTitle(const std::string& title) {
  if (title != title_) {
    title_ = title;
    SDL_SetWindowTitle(window_, title.c_str());
  }
}

void SdlScreen::setPointer(Pointer pointer) {
  SDL_Cursor* cursor = cursors_[static_cast<std::size_t>(pointer)];
  if (cursor != nullptr && SDL_GetCursor() != cursor) {
    SDL_SetCursor(cursor);
  }
}

void SdlScreen::resize(int w, int h) {
  SDL_SetWindowSize(window_, w, h);
}

void SdlScreen::size(int& w, int& h) const {
  SDL_GetWindowSize(window_, &w, &h);
}

}  // namespace kr_view
