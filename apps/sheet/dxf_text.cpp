#include "apps/sheet/dxf_text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <iconv.h>

namespace kr_sheet {
namespace {

bool IsUtf8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    const std::size_t more = c < 0x80                ? 0
                             : c >= 0xc2 && c < 0xe0 ? 1
                             : c >= 0xe0 && c < 0xf0 ? 2
                             : c >= 0xf0 && c < 0xf5 ? 3
                                                     : 4;
    if (more == 4 || more >= text.size() - i) {
      return false;
    }
    for (std::size_t k = 1; k <= more; ++k) {
      if ((static_cast<unsigned char>(text[i + k]) & 0xc0) != 0x80) {
        return false;
      }
    }
    i += more + 1;
  }
  return true;
}

void AppendUtf8(std::string& out, std::uint32_t c) {
  const auto put = [&](std::uint32_t byte) { out += static_cast<char>(byte); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xc0 | c >> 6);
    put(0x80 | (c & 63));
  } else {
    put(0xe0 | c >> 12);
    put(0x80 | (c >> 6 & 63));
    put(0x80 | (c & 63));
  }
}

// The number in the `digits` characters at `at`, or -1.
int Digits(std::string_view text, std::size_t at, std::size_t digits, int base) {
  int value = 0;
  if (at + digits > text.size()) {
    return -1;
  }
  const char* end = text.data() + at + digits;
  const auto result = std::from_chars(text.data() + at, end, value, base);
  return result.ec == std::errc() && result.ptr == end && value >= 0 ? value : -1;
}

// Takes a %% code at `at` and gives the bytes it takes, or 0.
std::size_t PercentCode(std::string_view text, std::size_t at, std::string& out) {
  if (text.compare(at, 2, "%%") != 0 || at + 2 >= text.size()) {
    return 0;
  }
  switch (text[at + 2]) {
    case 'd':
    case 'D':
      AppendUtf8(out, 0xb0);
      return 3;
    case 'p':
    case 'P':
      AppendUtf8(out, 0xb1);
      return 3;
    case 'c':
    case 'C':
      AppendUtf8(out, 0x2300);
      return 3;
    case 'u':
    case 'U':
    case 'o':
    case 'O':
    case 'k':
    case 'K':
      return 3;
    case '%':
      out += '%';
      return 3;
    default:
      break;
  }
  const int code = Digits(text, at + 2, 3, 10);
  if (code < 1 || code > 255) {
    return 0;
  }
  AppendUtf8(out, static_cast<std::uint32_t>(code));
  return 5;
}

// Takes \U+XXXX at `at`.
std::size_t UnicodeCode(std::string_view text, std::size_t at, std::string& out) {
  if (text.compare(at, 3, "\\U+") != 0) {
    return 0;
  }
  const int code = Digits(text, at + 3, 4, 16);
  if (code < 1 || (code >= 0xd800 && code < 0xe000)) {
    return 0;
  }
  AppendUtf8(out, static_cast<std::uint32_t>(code));
  return 7;
}

// Without control characters, but for the line's end.
std::string Clean(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\t') {
      out += ' ';
    } else if (static_cast<unsigned char>(c) >= ' ' || c == '\n') {
      out += c;
    }
  }
  return out;
}

}  // namespace

std::string ToUtf8(std::string_view bytes, std::string_view page, bool utf8) {
  const bool ascii = std::all_of(bytes.begin(), bytes.end(),
                                 [](char c) { return static_cast<signed char>(c) >= 0; });
  if (ascii || (utf8 && IsUtf8(bytes))) {
    return std::string(bytes);
  }
  std::string name = "CP1252";
  constexpr std::string_view kAnsi = "ANSI_";
  if (page.size() > kAnsi.size() && page.size() < 12 && page.starts_with(kAnsi)) {
    name = "CP" + std::string(page.substr(kAnsi.size()));
  }
  iconv_t converter = iconv_open("UTF-8", name.c_str());
  if (reinterpret_cast<std::intptr_t>(converter) == -1) {
    converter = iconv_open("UTF-8", "LATIN1");
  }
  std::string out;
  std::string in(bytes);
  char* from = in.data();
  std::size_t left = in.size();
  std::array<char, 256> buffer;
  while (left != 0) {
    char* to = buffer.data();
    std::size_t room = buffer.size();
    const std::size_t result = iconv(converter, &from, &left, &to, &room);
    out.append(buffer.data(), static_cast<std::size_t>(to - buffer.data()));
    if (result == static_cast<std::size_t>(-1) && errno != E2BIG) {
      // A byte that the page does not have.
      out += '?';
      ++from;
      --left;
    }
  }
  iconv_close(converter);
  return out;
}

std::string PlainText(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    std::size_t taken = PercentCode(text, i, out);
    taken = taken != 0 ? taken : UnicodeCode(text, i, out);
    if (taken == 0) {
      // A caret stands for a control character, or with a blank behind it for itself.
      if (text[i] == '^' && i + 1 < text.size()) {
        out += text[i + 1] == ' ' ? '^' : ' ';
        i += 2;
        continue;
      }
      out += text[i];
      taken = 1;
    }
    i += taken;
  }
  return Clean(out);
}

std::string PlainMText(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    std::size_t taken = PercentCode(text, i, out);
    taken = taken != 0 ? taken : UnicodeCode(text, i, out);
    if (taken != 0) {
      i += taken;
      continue;
    }
    if (c == '{' || c == '}') {
      ++i;
      continue;
    }
    if (c == '^' && i + 1 < text.size()) {
      out += text[i + 1] == 'J' ? '\n' : text[i + 1] == ' ' ? '^' : ' ';
      i += 2;
      continue;
    }
    if (c != '\\' || i + 1 >= text.size()) {
      out += c;
      ++i;
      continue;
    }
    const char code = text[i + 1];
    i += 2;
    switch (code) {
      case 'P':
      case 'X':
        out += '\n';
        break;
      case '~':
        out += ' ';
        break;
      case 'L':
      case 'l':
      case 'O':
      case 'o':
      case 'K':
      case 'k':
        break;
      case 'A':
      case 'C':
      case 'c':
      case 'f':
      case 'F':
      case 'H':
      case 'p':
      case 'Q':
      case 'T':
      case 'W':
      case 'S': {
        const std::size_t end = std::min(text.find(';', i), text.size());
        if (code == 'S') {
          for (; i < end; ++i) {
            out += text[i] == '^' || text[i] == '#' ? '/' : text[i];
          }
        }
        i = end + 1;
        break;
      }
      default:
        out += code;
    }
  }
  return Clean(out);
}

}  // namespace kr_sheet
