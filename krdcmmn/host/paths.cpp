#include "krdcmmn/host/paths.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <string>
#include <string_view>

#include "krdcmmn/platform/codepage.h"

namespace TOOLS {

namespace {

constexpr char kSeparator = '\\';
constexpr std::string_view kUp = "..\\";

const char* TextOf(const char* path) {
  return path != nullptr ? path : "";
}

std::string Upper(std::string text) {
  _mbsupr(text.data());
  return text;
}

// A size as the functions give it.
int Needed(std::size_t bytes) {
  return static_cast<int>(std::min<std::size_t>(bytes, INT_MAX));
}

bool Fits(std::size_t bytes, int size) {
  return size >= 0 && bytes <= static_cast<std::size_t>(size);
}

// The result of an empty path.
int PutEmpty(char* out, int size) {
  if (size > 0) {
    out[0] = '\0';
  }
  return 0;
}

// Writes `text` and its terminator, unless there are fewer than `need` bytes.
int Put(const std::string& text, std::size_t need, char* out, int size) {
  if (!Fits(need, size)) {
    return Needed(need);
  }
  std::memcpy(out, text.c_str(), text.size() + 1);
  return 0;
}

// Index of the last backslash in the part that two paths share; 0 without one.
std::size_t LastCommonSeparator(const std::string& a, const std::string& b) {
  const auto end = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first;
  const std::size_t at = std::string_view(a.begin(), end).rfind(kSeparator);
  return at != std::string::npos ? at : 0;
}

}  // namespace

std::FILE* OpenFile(const char* path, const char* mode, int /*flag*/) {
  return path != nullptr && mode != nullptr ? std::fopen(path, mode) : nullptr;
}

int Abs2RelPath(const char* path, char* out, int size, const char* base) {
  const std::string wanted = TextOf(path);
  const std::string from = Upper(TextOf(base));
  const std::string upper = Upper(wanted);
  if (wanted.empty()) {
    return PutEmpty(out, size);
  }
  if (upper.front() != from.c_str()[0]) {
    return Put(wanted, wanted.size() + 1, out, size);
  }
  const std::size_t common = LastCommonSeparator(from, upper);
  const auto below = from.begin() + static_cast<std::ptrdiff_t>(common) + 1;
  const auto ups = static_cast<std::size_t>(std::count(below, from.end(), kSeparator));

  std::string result;
  for (std::size_t i = 0; i < ups; ++i) {
    result += kUp;
  }
  result.append(wanted, common + 1);
  return Put(result, result.size() + 2, out, size);
}

int Rel2AbsPath(const char* path, char* out, int size, const char* base) {
  const std::string wanted = TextOf(path);
  const std::string from = TextOf(base);
  if (wanted.empty()) {
    return PutEmpty(out, size);
  }
  if (wanted.size() >= 3 && wanted[1] == ':' && wanted[2] == kSeparator) {
    if (!Fits(wanted.size() + 1, size)) {
      return Needed(wanted.size() + 1);
    }
    std::strncpy(out, wanted.c_str(), static_cast<std::size_t>(size));
    return 0;
  }
  const char* tail = wanted.c_str();
  std::size_t ups = 0;
  while (const char* step = _mbsstr(tail, kUp.data())) {
    tail = step + kUp.size();
    ++ups;
  }
  std::size_t last = from.size();  // index of the last backslash that was passed
  for (std::size_t left = ups + 1; left > 0 && last > 0;) {
    --last;
    left -= from[last] == kSeparator ? 1u : 0u;
  }
  std::string result(from.c_str(), last + 1);
  result += tail;
  return Put(result, result.size() + 1, out, size);
}

}  // namespace TOOLS
