// The text form of DXF as pairs of lines, a group code and its value, gathered into entities.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kr_sheet {

struct Group {
  int code;
  std::string_view value;  // without line ends; of numbers and names also without blanks
};

// An entity, a table's entry or a header variable: the group that begins it (code 0 or 9), and
// those behind it up to the next such one.
class Chunk {
 public:
  std::vector<Group> groups;

  int code() const { return groups.front().code; }
  std::string_view name() const { return groups.front().value; }
  // The first value with that code.
  bool has(int code) const;
  std::string_view text(int code, std::string_view missing = {}) const;
  double number(int code, double missing) const;
  int integer(int code, int missing) const;
  int countOf(int code) const;
};

// A number as DXF writes it; 0 for what is none, the ends of the range for what is beyond it.
double ToNumber(std::string_view text);
int ToInteger(std::string_view text);

// Reads chunks out of a file's text, which outlives it. Throws kr_app::Failure, without the file's
// name, for what is no DXF.
class GroupReader {
 public:
  explicit GroupReader(std::string_view text);

  // False behind the last chunk. The file's end mark is a chunk of its own.
  bool next(Chunk& chunk);
  std::size_t line() const { return line_; }

 private:
  bool readLine(std::string_view& line);
  bool readGroup(Group& group);

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t line_ = 0;
  Group ahead_{};
  bool have_ahead_ = false;
};

}  // namespace kr_sheet
