#include "apps/common/slots.h"

#include <algorithm>
#include <cstdio>

#include "krdcmmn/platform/codepage.h"

#include "apps/common/errors.h"

namespace kr_app {

namespace {

constexpr std::size_t kNamed = 20;

// The signs for a diameter: the sign itself, and the letters and the empty set used for it.
constexpr char16_t kDiameters[] = {u'\x2300', u'\x2205', u'\x00d8', u'\x00f8'};

std::u16string Utf16(std::string_view utf8) {
  std::u16string units(utf8.size(), u'\0');
  if (utf8.empty()) {
    return units;
  }
  const int size = static_cast<int>(utf8.size());
  const int count = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, units.data(), size);
  units.resize(static_cast<std::size_t>(count));
  return units;
}

bool IsSurrogate(char16_t unit, char16_t first) {
  return (unit & 0xfc00) == first;
}

void Count(std::vector<MissingCharacter>& missing, char32_t character) {
  const auto same = [&](const MissingCharacter& m) { return m.character == character; };
  const auto found = std::find_if(missing.begin(), missing.end(), same);
  if (found == missing.end()) {
    missing.push_back({character, 1});
  } else {
    ++found->count;
  }
}

bool IsEmpty(const kr::font& font, unsigned char slot) {
  const kr::font::PRIM_RANGE prims = font.Prims(slot);
  return prims.first == prims.last && font.advance[slot].x == 0 && font.advance[slot].y == 0;
}

// The byte of one character: 0 when the code page does not hold it.
unsigned char ByteOf(char16_t unit, unsigned char diameter) {
  if (diameter != 0 && std::count(std::begin(kDiameters), std::end(kDiameters), unit) != 0) {
    return diameter;
  }
  char byte = 0;
  BOOL replaced = FALSE;
  const int size = WideCharToMultiByte(CP_ACP, 0, &unit, 1, &byte, 1, nullptr, &replaced);
  return size != 1 || replaced != FALSE ? 0 : static_cast<unsigned char>(byte);
}

std::string NameOf(char32_t character) {
  char code[16];
  std::snprintf(code, sizeof code, "U+%04X", static_cast<unsigned>(character));
  if (character < U' ' || (character >= 0x7f && character < 0xa0)) {
    return code;
  }
  std::u16string units;
  if (character >= 0x10000) {
    units += static_cast<char16_t>(0xd800 + ((character - 0x10000) >> 10));
    units += static_cast<char16_t>(0xdc00 + ((character - 0x10000) & 0x3ff));
  } else {
    units += static_cast<char16_t>(character);
  }
  char text[8];
  const int size = WideCharToMultiByte(CP_UTF8, 0, units.data(), static_cast<int>(units.size()),
                                       text, sizeof text, nullptr, nullptr);
  return std::string(text, static_cast<std::size_t>(size)) + ' ' + code;
}

}  // namespace

std::string Unescaped(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = text[i] == '\\' && i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == 'n' || next == '\\') {
      out += next == 'n' ? '\n' : '\\';
      ++i;
    } else {
      out += text[i];
    }
  }
  return out;
}

SlotText SlotsOf(std::string_view utf8, const kr::font& font, unsigned char diameter) {
  constexpr std::size_t kLongest = 1u << 28;
  if (utf8.size() > kLongest) {
    throw Failure("the text is longer than 256 MiB");
  }
  SlotText text;
  const std::u16string units = Utf16(utf8);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char16_t unit = units[i];
    if (unit == u'\n') {
      text.bytes += i > 0 && units[i - 1] == u'\r' ? "\n" : "\r\n";
      continue;
    }
    if (IsSurrogate(unit, 0xd800) && i + 1 < units.size() && IsSurrogate(units[i + 1], 0xdc00)) {
      ++i;
      Count(text.missing, 0x10000 + ((unit & 0x3ffu) << 10) + (units[i] & 0x3ffu));
      text.bytes += '_';
      continue;
    }
    const unsigned char byte = ByteOf(unit, diameter);
    if (byte == 0 || (byte != '\r' && IsEmpty(font, byte))) {
      Count(text.missing, unit);
    }
    if (unit != u'\0') {
      text.bytes += byte == 0 ? '_' : static_cast<char>(byte);
    }
  }
  return text;
}

std::string NamesOf(const std::vector<MissingCharacter>& missing) {
  std::string names;
  for (std::size_t i = 0; i < std::min(missing.size(), kNamed); ++i) {
    names += (i == 0 ? "" : ", ") + NameOf(missing[i].character) + " (" +
             std::to_string(missing[i].count) + ')';
  }
  if (missing.size() > kNamed) {
    names += " and " + std::to_string(missing.size() - kNamed) + " more";
  }
  return names;
}

int CountOf(const std::vector<MissingCharacter>& missing) {
  int count = 0;
  for (const MissingCharacter& m : missing) {
    count += m.count;
  }
  return count;
}

}  // namespace kr_app
