#include "apps/kr/font/shp_scanner.h"

#include <stdexcept>

namespace kr_app {

namespace {

// The lines of a text without their ends, LF or CR LF, with their numbers from 1.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text) {}

  bool Next(std::string_view& line) {
    if (rest_.empty()) {
      return false;
    }
    const std::size_t end = rest_.find('\n');
    line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    if (!line.empty() && line.back() == '\r') {
      line.remove_suffix(1);
    }
    ++number_;
    return true;
  }
  int number() const { return number_; }

 private:
  std::string_view rest_;
  int number_ = 0;
};

ShpRecord Head(std::string_view line, int number) {
  const std::size_t first = line.find(',');
  const std::size_t second = first == std::string_view::npos ? first : line.find(',', first + 1);
  if (second == std::string_view::npos) {
    FailAtLine(number, "a record begins with *number,length,name");
  }
  ShpRecord record = {line.substr(1, first - 1), line.substr(second + 1), number, {}};
  if (record.name.find(',') != std::string_view::npos) {
    FailAtLine(number, "a name holds no comma");
  }
  return record;
}

// One line of a program; a line's end closes the token in hand as a comma does.
void ScanLine(std::string_view line, int number, int& groups, std::vector<ShpToken>& tokens) {
  int group = 0;
  std::size_t start = 0;
  const auto close = [&](std::size_t end) {
    const std::string_view text = line.substr(start, end - start);
    start = end + 1;
    if (!text.empty()) {
      tokens.push_back({text, group, number});
    } else if (group != 0) {
      FailAtLine(number, "a number is missing within parentheses");
    }
  };
  for (std::size_t i = 0; i < line.size(); ++i) {
    switch (line[i]) {
      case ',':
        close(i);
        break;
      case '(':
        if (group != 0 || start != i) {
          FailAtLine(number, "a comma is missing ahead of (");
        }
        group = ++groups;
        start = i + 1;
        break;
      case ')':
        if (group == 0) {
          FailAtLine(number, "a ) without its (");
        }
        close(i);
        group = 0;
        if (i + 1 < line.size() && line[i + 1] == ',') {
          start = ++i + 1;
        }
        break;
      case ' ':
      case '\t':
        FailAtLine(number, "a blank in a program belongs to its token: take it out");
      case ';':
        FailAtLine(number, "comments stand ahead of the first * only");
      default:
        break;
    }
  }
  if (group != 0) {
    FailAtLine(number, "the line ends within parentheses");
  }
  close(line.size());
}

}  // namespace

void FailAtLine(int line, const std::string& text) {
  throw std::runtime_error("line " + std::to_string(line) + ": " + text);
}

std::vector<ShpRecord> ScanShp(std::string_view source) {
  std::vector<ShpRecord> records;
  Lines lines(source);
  int groups = 0;
  for (std::string_view line; lines.Next(line);) {
    if (!line.empty() && line[0] == '*') {
      records.push_back(Head(line, lines.number()));
      groups = 0;
    } else if (!records.empty()) {
      ScanLine(line, lines.number(), groups, records.back().tokens);
    } else if (!line.empty() && line[0] != ';') {
      FailAtLine(lines.number(), "a font begins with comments (;) and its header (*)");
    }
  }
  if (records.empty()) {
    throw std::runtime_error("no font header");
  }
  return records;
}

}  // namespace kr_app
