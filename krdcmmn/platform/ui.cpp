#include "krdcmmn/platform/ui.h"

#include <cstdio>
#include <utility>

inline namespace krplatform {

namespace {

MessageBoxHandler& BoxHandler() {
  static MessageBoxHandler handler;
  return handler;
}

DebugTextHandler& TextHandler() {
  static DebugTextHandler handler;
  return handler;
}

const char* TextOf(const char* text) {
  return text != nullptr ? text : "";
}

// The button that a person gets by pressing Enter.
int DefaultAnswer(UINT style) {
  const bool second = (style & 0xf00) == MB_DEFBUTTON2;
  switch (style & 0xf) {
    case MB_OKCANCEL:
      return second ? IDCANCEL : IDOK;
    case MB_YESNO:
      return second ? IDNO : IDYES;
    default:
      return IDOK;
  }
}

}  // namespace

int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style) {
  if (BoxHandler()) {
    return BoxHandler()(owner, TextOf(text), TextOf(caption), style);
  }
  std::fprintf(stderr, "%s: %s\n", TextOf(caption), TextOf(text));
  return DefaultAnswer(style);
}

HWND GetDesktopWindow() {
  static char screen;
  return reinterpret_cast<HWND>(&screen);
}

void OutputDebugStringA(const char* text) {
  if (TextHandler()) {
    TextHandler()(TextOf(text));
  }
}

void SetMessageBoxHandler(MessageBoxHandler handler) {
  BoxHandler() = std::move(handler);
}

void SetDebugTextHandler(DebugTextHandler handler) {
  TextHandler() = std::move(handler);
}

}  // namespace krplatform
