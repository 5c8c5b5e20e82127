// Where a text stops being XML.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kr_app {

// "LINE:COLUMN: what is wrong", counted from 1; nothing for a well-formed text, or when the parser
// cannot be had.
std::optional<std::string> SyntaxError(std::string_view text);

}  // namespace kr_app
