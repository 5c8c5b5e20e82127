#include "krdcmmn/platform/codepage.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "krdcmmn/platform/codepage_tables.h"
#include "krdcmmn/platform/errors.h"

inline namespace krplatform {

namespace {

constexpr char16_t kReplacement = 0xfffd;

bool IsHighSurrogate(char32_t unit) {
  return (unit & 0xfc00) == 0xd800;
}

bool IsLowSurrogate(char32_t unit) {
  return (unit & 0xfc00) == 0xdc00;
}

int Fail(DWORD code) {
  SetLastError(code);
  return 0;
}

// Takes the elements of a result: counts all, stores as many as there is room for.
template <typename Element>
class Output {
 public:
  Output(Element* out, int capacity) : out_(out), capacity_(static_cast<std::size_t>(capacity)) {}

  void put(Element element) {
    if (count_ < capacity_) {
      out_[count_] = element;
    }
    ++count_;
  }

  // What the call gives: the number of elements, or a failure.
  int result() const {
    if (count_ > INT_MAX || (capacity_ != 0 && count_ > capacity_)) {
      return Fail(ERROR_INSUFFICIENT_BUFFER);
    }
    return static_cast<int>(count_);
  }

 private:
  Element* out_;
  std::size_t capacity_;
  std::size_t count_ = 0;
};

// What may follow a lead byte of UTF-8: how many bytes, and the range of the first of them, which
// is where overlong forms, surrogates and numbers above U+10FFFF are shut out.
struct Lead {
  unsigned trail;  // 0: no lead byte
  unsigned char low;
  unsigned char high;
};

Lead LeadOf(unsigned char byte) {
  if (byte >= 0xc2 && byte <= 0xdf) {
    return {1, 0x80, 0xbf};
  }
  if (byte >= 0xe0 && byte <= 0xef) {
    return {2, static_cast<unsigned char>(byte == 0xe0 ? 0xa0 : 0x80),
            static_cast<unsigned char>(byte == 0xed ? 0x9f : 0xbf)};
  }
  if (byte >= 0xf0 && byte <= 0xf4) {
    return {3, static_cast<unsigned char>(byte == 0xf0 ? 0x90 : 0x80),
            static_cast<unsigned char>(byte == 0xf4 ? 0x8f : 0xbf)};
  }
  return {0, 0, 0};
}

// Reads one character of more than one byte from [p, end) and moves p behind it, or behind the
// maximal part that could have begun one.
char32_t ReadMultiByte(const unsigned char*& p, const unsigned char* end) {
  const unsigned char first = *p++;
  const Lead lead = LeadOf(first);
  if (lead.trail == 0) {
    return kReplacement;
  }
  char32_t character = first & (0x3fu >> lead.trail);
  for (unsigned i = 0; i < lead.trail; ++i) {
    const unsigned char low = i == 0 ? lead.low : 0x80;
    const unsigned char high = i == 0 ? lead.high : 0xbf;
    if (p == end || *p < low || *p > high) {
      return kReplacement;
    }
    character = character << 6 | (*p++ & 0x3fu);
  }
  return character;
}

bool IsTrail(unsigned char byte) {
  return (byte & 0xc0) == 0x80;
}

int Utf8ToUnits(const unsigned char* p, const unsigned char* end, char16_t* to, int capacity) {
  Output<char16_t> out(to, capacity);
  while (p != end) {
    if (*p < 0x80) {
      out.put(*p++);
    } else if (*p >= 0xc2 && *p <= 0xdf && end - p > 1 && IsTrail(p[1])) {
      out.put(static_cast<char16_t>((p[0] & 0x1f) << 6 | (p[1] & 0x3f)));
      p += 2;
    } else {
      const char32_t character = ReadMultiByte(p, end);
      if (character > 0xffff) {
        out.put(static_cast<char16_t>(0xd7c0 + (character >> 10)));
        out.put(static_cast<char16_t>(0xdc00 | (character & 0x3ff)));
      } else {
        out.put(static_cast<char16_t>(character));
      }
    }
  }
  return out.result();
}

void PutUtf8(Output<char>& out, char32_t character) {
  const auto tail = [&](unsigned shift) {
    out.put(static_cast<char>(0x80 | (character >> shift & 0x3f)));
  };
  if (character < 0x80) {
    out.put(static_cast<char>(character));
  } else if (character < 0x800) {
    out.put(static_cast<char>(0xc0 | character >> 6));
    tail(0);
  } else if (character < 0x10000) {
    out.put(static_cast<char>(0xe0 | character >> 12));
    tail(6);
    tail(0);
  } else {
    out.put(static_cast<char>(0xf0 | character >> 18));
    tail(12);
    tail(6);
    tail(0);
  }
}

int UnitsToUtf8(const char16_t* p, const char16_t* end, char* to, int capacity) {
  Output<char> out(to, capacity);
  while (p != end) {
    char32_t character = *p++;
    if (IsHighSurrogate(character) && p != end && IsLowSurrogate(*p)) {
      character = 0x10000 + ((character & 0x3ff) << 10 | (*p++ & 0x3ffu));
    } else if (IsHighSurrogate(character) || IsLowSurrogate(character)) {
      character = kReplacement;
    }
    PutUtf8(out, character);
  }
  return out.result();
}

int UnitsToAnsi(const char16_t* text, int size, char* out, int capacity, unsigned char substitute,
                BOOL* used_substitute) {
  const CodePage& page = CurrentCodePage();
  const int stored = std::min(size, capacity);
  bool lost = false;
  for (int i = 0; i < stored; ++i) {
    const unsigned char byte = page.byte_of[text[i]];
    const bool held = byte != 0 || text[i] == page.unit_of[0];
    lost |= !held;
    out[i] = static_cast<char>(held ? byte : substitute);
  }
  if (used_substitute != nullptr) {
    *used_substitute = lost ? TRUE : FALSE;
  }
  return capacity != 0 && capacity < size ? Fail(ERROR_INSUFFICIENT_BUFFER) : size;
}

// Negative, 0 or positive for the first `size` bytes of two texts as `key` sees each byte.
template <typename Key>
int CompareBy(const char* a, const char* b, std::size_t size, Key key) {
  for (std::size_t i = 0; i < size; ++i) {
    const auto left = static_cast<unsigned char>(a[i]);
    const auto right = static_cast<unsigned char>(b[i]);
    if (left != right) {
      const int difference = int{key(left)} - int{key(right)};
      if (difference != 0) {
        return difference;
      }
    }
    if (left == 0) {
      return 0;
    }
  }
  return 0;
}

int CompareUpper(const char* a, const char* b, std::size_t size) {
  const CodePage& page = CurrentCodePage();
  return CompareBy(a, b, size, [&](unsigned char byte) { return page.upper[byte]; });
}

}  // namespace

UINT GetACP() {
  return CurrentCodePage().number;
}

bool AnsiHoldsAscii() {
  return CurrentCodePage().holds_ascii;
}

int MultiByteToWideChar(UINT page, DWORD, const char* text, int size, char16_t* out, int capacity) {
  if (text == nullptr || size <= 0 || capacity < 0 || (out == nullptr && capacity != 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const auto* bytes = reinterpret_cast<const unsigned char*>(text);
  if (page == CP_UTF8) {
    return Utf8ToUnits(bytes, bytes + size, out, capacity);
  }
  if (page != CP_ACP) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const auto& unit_of = CurrentCodePage().unit_of;
  for (int i = 0; i < std::min(size, capacity); ++i) {
    out[i] = unit_of[bytes[i]];
  }
  return capacity != 0 && capacity < size ? Fail(ERROR_INSUFFICIENT_BUFFER) : size;
}

int WideCharToMultiByte(UINT page, DWORD, const char16_t* text, int size, char* out, int capacity,
                        const char* substitute, BOOL* used_substitute) {
  if (text == nullptr || size <= 0 || capacity < 0 || (out == nullptr && capacity != 0)) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  if (page == CP_UTF8) {
    return UnitsToUtf8(text, text + size, out, capacity);
  }
  if (page != CP_ACP) {
    return Fail(ERROR_INVALID_PARAMETER);
  }
  const char lost = substitute != nullptr ? *substitute : '?';
  return UnitsToAnsi(text, size, out, capacity, static_cast<unsigned char>(lost), used_substitute);
}

DWORD CharUpperBuffA(char* text, DWORD size) {
  const CodePage& page = CurrentCodePage();
  for (DWORD i = 0; i < size; ++i) {
    text[i] = static_cast<char>(page.upper[static_cast<unsigned char>(text[i])]);
  }
  return size;
}

unsigned char AnsiUpper(unsigned char byte) {
  return CurrentCodePage().upper[byte];
}

int lstrcmpA(const char* a, const char* b) {
  return std::strcmp(a, b);
}

int lstrcmpiA(const char* a, const char* b) {
  return CompareUpper(a, b, SIZE_MAX);
}

int _stricmp(const char* a, const char* b) {
  return CompareBy(a, b, SIZE_MAX, [](unsigned char byte) {
    return static_cast<unsigned char>(byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte);
  });
}

int _mbsicmp(const char* a, const char* b) {
  return CompareUpper(a, b, SIZE_MAX);
}

int _mbsnbcmp(const char* a, const char* b, std::size_t size) {
  return std::strncmp(a, b, size);
}

int _mbsnbicmp(const char* a, const char* b, std::size_t size) {
  return CompareUpper(a, b, size);
}

char* _mbsnbcpy(char* to, const char* from, std::size_t size) {
  const std::size_t length = strnlen(from, size);
  std::memcpy(to, from, length);
  std::memset(to + length, 0, size - length);
  return to;
}

char* _mbsupr(char* text) {
  CharUpperBuffA(text, static_cast<DWORD>(std::strlen(text)));
  return text;
}

const char* _mbsstr(const char* text, const char* part) {
  return std::strstr(text, part);
}

}  // namespace krplatform
