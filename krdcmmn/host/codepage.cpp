#include "krdcmmn/host/codepage.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <vector>

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/errors.h"

namespace {

constexpr char kSubstitute = '_';

thread_local std::uint64_t lossy_characters = 0;

// The length as the platform layer takes it.
int SizeOf(unsigned length) {
  if (length > INT_MAX) {
    SetLastError(ERROR_INVALID_PARAMETER);
    throw krerr::Win32Ecept();
  }
  return static_cast<int>(length);
}

// The count of a platform call, of which 0 is a failure.
std::size_t Checked(int result) {
  if (result <= 0) {
    throw krerr::Win32Ecept();
  }
  return static_cast<std::size_t>(result);
}

std::vector<char16_t> ToUnits(UINT page, const char* text, int size) {
  // Neither a byte nor a part of a UTF-8 sequence gives more than one unit.
  std::vector<char16_t> units(static_cast<std::size_t>(size));
  units.resize(Checked(MultiByteToWideChar(page, 0, text, size, units.data(), size)));
  return units;
}

// Adds what was lost in a conversion of `units` to as many bytes.
void CountLost(const std::vector<char16_t>& units, const std::string& bytes) {
  char16_t own = 0;  // what the substitute stands for by itself
  MultiByteToWideChar(CP_ACP, 0, &kSubstitute, 1, &own, 1);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const bool pair = i > 0 && (units[i - 1] & 0xfc00) == 0xd800 && (units[i] & 0xfc00) == 0xdc00;
    if (bytes[i] == kSubstitute && units[i] != own && !pair) {
      ++lossy_characters;
    }
  }
}

void CutAtZero(std::string& bytes) {
  bytes.resize(std::min(bytes.find('\0'), bytes.size()));
}

std::string UnitsToAnsi(const std::vector<char16_t>& units) {
  const int size = static_cast<int>(units.size());
  std::string bytes(units.size(), '\0');
  BOOL lost = FALSE;
  Checked(
      WideCharToMultiByte(CP_ACP, 0, units.data(), size, bytes.data(), size, &kSubstitute, &lost));
  if (lost != FALSE) {
    CountLost(units, bytes);
  }
  CutAtZero(bytes);
  return bytes;
}

}  // namespace

bool IsPlainAscii(const char* text, unsigned length) {
  constexpr unsigned kBlock = 64;
  unsigned char strange = 0;
  for (unsigned at = 0; at < length && strange == 0;) {
    const unsigned end = at + std::min(kBlock, length - at);
    unsigned char seen = 0;
    for (; at < end; ++at) {
      const auto byte = static_cast<unsigned char>(text[at]);
      seen = static_cast<unsigned char>(seen | byte | (byte - 1));  // bit 7: 0, or above 127
    }
    strange = seen & 0x80;
  }
  return strange == 0 && AnsiHoldsAscii();
}

std::string Utf8ToAnsi(const char* text, unsigned length) {
  const int size = SizeOf(length);
  if (IsPlainAscii(text, length)) {
    return std::string(text, length);
  }
  return UnitsToAnsi(ToUnits(CP_UTF8, text, size));
}

std::string AnsiToUtf8(const char* text, unsigned length) {
  const int size = SizeOf(length);
  if (IsPlainAscii(text, length)) {
    return std::string(text, length);
  }
  const std::vector<char16_t> units = ToUnits(CP_ACP, text, size);
  const auto convert = [&](char* out, int capacity) {
    return WideCharToMultiByte(CP_UTF8, 0, units.data(), size, out, capacity, nullptr, nullptr);
  };
  std::string bytes(Checked(convert(nullptr, 0)), '\0');
  Checked(convert(bytes.data(), static_cast<int>(bytes.size())));
  CutAtZero(bytes);
  return bytes;
}

std::string WideToAnsi(const wchar_t* text, unsigned length) {
  if (length == 0) {
    return {};
  }
  std::vector<char16_t> units(static_cast<std::size_t>(SizeOf(length)));
  std::transform(text, text + length, units.begin(),
                 [](wchar_t unit) { return static_cast<char16_t>(unit); });
  return UnitsToAnsi(units);
}

std::wstring AnsiToWide(const char* text, unsigned length) {
  if (length == 0 || length > INT_MAX) {
    return {};
  }
  const std::vector<char16_t> units = ToUnits(CP_ACP, text, static_cast<int>(length));
  return {units.begin(), units.end()};
}

std::uint64_t LossyCharacterCount() {
  return lossy_characters;
}
