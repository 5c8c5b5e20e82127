// A source font cut into its records: the font header and the shapes, each as tokens with lines.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kr_app {

// A token of a program. `group` counts the pairs of parentheses of the record from 1; 0 stands
// outside of any.
struct ShpToken {
  std::string_view text;
  int group;
  int line;
};

// "*number,length,name" and the tokens behind it. The views point into the source.
struct ShpRecord {
  std::string_view number;
  std::string_view name;
  int line;
  std::vector<ShpToken> tokens;
};

// The records in order, the font header first. Comments ahead of the first are passed over. Throws
// std::runtime_error with a line for what is no source.
std::vector<ShpRecord> ScanShp(std::string_view source);

[[noreturn]] void FailAtLine(int line, const std::string& text);

}  // namespace kr_app
