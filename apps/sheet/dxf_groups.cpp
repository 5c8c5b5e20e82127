#include "apps/sheet/dxf_groups.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>

#include "apps/common/errors.h"

namespace kr_sheet {
namespace {

using kr_app::Failure;

constexpr std::string_view kBinary = "AutoCAD Binary DXF";
constexpr std::string_view kUtf8Mark = "\xef\xbb\xbf";
constexpr int kComment = 999;

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) {
    text.remove_prefix(1);
  }
  while (!text.empty() && IsBlank(text.back())) {
    text.remove_suffix(1);
  }
  return text;
}

// Texts that people read: their blanks count.
bool IsText(int code) {
  return code == 1 || code == 3;
}

}  // namespace

double ToNumber(std::string_view text) {
  text = Trimmed(text);
  if (!text.empty() && text.front() == '+') {
    text.remove_prefix(1);
  }
  double value = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    return text.front() == '-' ? -std::numeric_limits<double>::max()
                               : std::numeric_limits<double>::max();
  }
  return result.ec == std::errc() && std::isfinite(value) ? value : 0;
}

int ToInteger(std::string_view text) {
  const double value = std::trunc(ToNumber(text));
  return static_cast<int>(
      std::clamp<double>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

bool Chunk::has(int code) const {
  return std::any_of(groups.begin(), groups.end(), [&](const Group& g) { return g.code == code; });
}

std::string_view Chunk::text(int code, std::string_view missing) const {
  const auto found = std::find_if(groups.begin() + 1, groups.end(),
                                  [&](const Group& g) { return g.code == code; });
  return found == groups.end() ? missing : found->value;
}

double Chunk::number(int code, double missing) const {
  const std::string_view value = text(code);
  return value.empty() ? missing : ToNumber(value);
}

int Chunk::integer(int code, int missing) const {
  const std::string_view value = text(code);
  return value.empty() ? missing : ToInteger(value);
}

int Chunk::countOf(int code) const {
  return static_cast<int>(
      std::count_if(groups.begin(), groups.end(), [&](const Group& g) { return g.code == code; }));
}

GroupReader::GroupReader(std::string_view text) : text_(text) {
  if (text_.starts_with(kBinary)) {
    throw Failure("a binary DXF; save it in the text form");
  }
  if (text_.starts_with(kUtf8Mark)) {
    text_.remove_prefix(kUtf8Mark.size());
  }
}

bool GroupReader::readLine(std::string_view& line) {
  if (at_ >= text_.size()) {
    return false;
  }
  const std::size_t end = std::min(text_.find('\n', at_), text_.size());
  line = text_.substr(at_, end - at_);
  if (!line.empty() && line.back() == '\r') {
    line.remove_suffix(1);
  }
  at_ = end + 1;
  ++line_;
  return true;
}

bool GroupReader::readGroup(Group& group) {
  std::string_view code;
  std::string_view value;
  do {
    if (!readLine(code)) {
      return false;
    }
    code = Trimmed(code);
    // Blank lines at the end are no group.
    if (code.empty() && text_.find_first_not_of(" \t\r\n", at_) == std::string_view::npos) {
      return false;
    }
    const auto result = std::from_chars(code.data(), code.data() + code.size(), group.code);
    if (result.ec != std::errc() || result.ptr != code.data() + code.size()) {
      throw Failure("line " + std::to_string(line_) +
                    (line_ == 1 ? ": no DXF: it does not begin with a group code"
                                : ": a group code was expected; the file is damaged"));
    }
    if (!readLine(value)) {
      throw Failure("line " + std::to_string(line_) + ": the file ends behind a group code");
    }
  } while (group.code == kComment);
  group.value = IsText(group.code) ? value : Trimmed(value);
  return true;
}

bool GroupReader::next(Chunk& chunk) {
  chunk.groups.clear();
  if (have_ahead_) {
    chunk.groups.push_back(ahead_);
    have_ahead_ = false;
  }
  Group group{};
  while (readGroup(group)) {
    const bool begins = group.code == 0 || group.code == 9;
    if (chunk.groups.empty() && !begins) {
      throw Failure("line " + std::to_string(line_) + ": no DXF: it does not begin with a section");
    }
    if (begins && !chunk.groups.empty()) {
      ahead_ = group;
      have_ahead_ = true;
      return true;
    }
    chunk.groups.push_back(group);
  }
  return !chunk.groups.empty();
}

}  // namespace kr_sheet
