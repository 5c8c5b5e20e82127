// The message box and the debugger's text. Without a handler of the host program a box is its text
// on standard error and its default answer.
#pragma once

#include <functional>

#include "krdcmmn/platform/types.h"

inline namespace krplatform {

inline constexpr UINT MB_OKCANCEL = 0x1;
inline constexpr UINT MB_YESNO = 0x4;
inline constexpr UINT MB_ICONERROR = 0x10;
inline constexpr UINT MB_ICONEXCLAMATION = 0x30;
inline constexpr UINT MB_DEFBUTTON2 = 0x100;
inline constexpr UINT MB_TASKMODAL = 0x2000;
inline constexpr int IDOK = 1;
inline constexpr int IDCANCEL = 2;
inline constexpr int IDYES = 6;
inline constexpr int IDNO = 7;

// Shows a box and gives the button's number. Texts are in the ANSI code page.
KRDCMMN_API int MessageBoxA(HWND owner, const char* text, const char* caption, UINT style);

// A handle that stands for the whole screen as an owner of boxes; never null.
KRDCMMN_API HWND GetDesktopWindow();

// Text for a debugger; goes nowhere without a handler.
KRDCMMN_API void OutputDebugStringA(const char* text);

// What the host program puts in place of the defaults; empty restores them.
using MessageBoxHandler =
    std::function<int(HWND owner, const char* text, const char* caption, UINT style)>;
using DebugTextHandler = std::function<void(const char* text)>;
KRDCMMN_API void SetMessageBoxHandler(MessageBoxHandler handler);
KRDCMMN_API void SetDebugTextHandler(DebugTextHandler handler);

}  // namespace krplatform
