// Texts of DXF: code pages, control codes and formatting.
#pragma once

#include <string>
#include <string_view>

namespace kr_sheet {

// Bytes of the file to UTF-8. `page` is $DWGCODEPAGE, "ANSI_1252" for example; what is UTF-8
// already stays when `utf8` is set.
std::string ToUtf8(std::string_view bytes, std::string_view page, bool utf8);

// %%d, %%p, %%c, %%nnn and \U+XXXX become characters; underlining is dropped.
std::string PlainText(std::string_view text);

// The same for a text with formatting: \P becomes LF, fonts, colours and heights are dropped, a
// stacked fraction becomes one with a slash.
std::string PlainMText(std::string_view text);

}  // namespace kr_sheet
