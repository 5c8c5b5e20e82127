// A window on a screen: shows pixels and turns what people do into events. The only place that
// knows SDL.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "krdcmmn/platform/gdi.h"

#include "apps/krview/event.h"
#include "apps/krview/viewer.h"

struct SDL_Cursor;
struct SDL_Window;
union SDL_Event;

namespace kr_view {

class SdlScreen {
 public:
  // Throws kr_app::Failure without a display. A display that goes away later ends the program with
  // a message.
  SdlScreen(int w, int h, const std::string& title);
  ~SdlScreen();
  SdlScreen(const SdlScreen&) = delete;
  SdlScreen& operator=(const SdlScreen&) = delete;

  // Sleeps until something happens, at most `ms` (-1: as long as it takes), and appends all that
  // did. Of a run of cursor moves or of new sizes only the last is kept.
  void wait(int ms, std::vector<Event>& events);
  // Shows the pixels.
  void show(const PIXELS& pixels);
  void setTitle(const std::string& title);
  void setPointer(Pointer pointer);
  void resize(int w, int h);
  // The client area's size in pixels, which a screen may have made another than was asked for.
  void size(int& w, int& h) const;

 private:
  void take(const SDL_Event& event, std::vector<Event>& events);

  SDL_Window* window_ = nullptr;
  SDL_Cursor* cursors_[3] = {};
  std::string title_;
};

}  // namespace kr_view
