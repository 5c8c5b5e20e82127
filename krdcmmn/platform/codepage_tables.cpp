#include "krdcmmn/platform/codepage_tables.h"

#include <atomic>
#include <cerrno>
#include <iconv.h>
#include <memory>
#include <mutex>
#include <string>

#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/errors.h"

inline namespace krplatform {

namespace {

constexpr UINT kDefaultPage = 1251;
constexpr UINT kAsciiPage = 20127;
constexpr char16_t kNoCharacter = 0xfffd;

std::atomic<const CodePage*> current = nullptr;
const CodePage* built = nullptr;  // all pages, the newest first; under `building`
std::mutex building;

// The host's name of a page. Most numbers are names by themselves behind "CP".
std::string HostName(UINT page) {
  switch (page) {
    case 874:
      return "WINDOWS-874";
    case 10000:
      return "MACINTOSH";
    case 10007:
      return "MAC-CYRILLIC";
    case kAsciiPage:
      return "ASCII";
    case 20866:
      return "KOI8-R";
    case 21866:
      return "KOI8-U";
    default:
      break;
  }
  if (page > 28590 && page <= 28606) {
    return "ISO-8859-" + std::to_string(page - 28590);
  }
  return "CP" + std::to_string(page);
}

enum class ByteKind { kCharacter, kUndefined, kNotSingleByte };

// What one byte means in the page of `conversion`. A page that composes characters keeps a letter
// back until it is asked for the rest.
ByteKind ReadByte(iconv_t conversion, unsigned char byte, char16_t& unit) {
  iconv(conversion, nullptr, nullptr, nullptr, nullptr);
  char from = static_cast<char>(byte);
  char16_t to[4] = {};
  char* in = &from;
  char* out = reinterpret_cast<char*>(to);
  std::size_t in_left = 1;
  std::size_t out_left = sizeof to;
  if (iconv(conversion, &in, &in_left, &out, &out_left) == static_cast<std::size_t>(-1)) {
    return errno == EILSEQ ? ByteKind::kUndefined : ByteKind::kNotSingleByte;
  }
  iconv(conversion, nullptr, nullptr, &out, &out_left);
  if (sizeof to - out_left != sizeof(char16_t)) {
    return ByteKind::kNotSingleByte;
  }
  unit = to[0];
  return ByteKind::kCharacter;
}

// The control characters 0x80 to 0x9F stand for themselves where a page leaves a gap, so that texts
// with such bytes come back whole.
char16_t UndefinedByte(std::size_t byte) {
  return byte >= 0x80 && byte <= 0x9f ? static_cast<char16_t>(byte) : kNoCharacter;
}

bool ReadPage(UINT page, std::array<char16_t, 256>& unit_of) {
  iconv_t conversion = iconv_open("UTF-16LE", HostName(page).c_str());
  if (conversion == reinterpret_cast<iconv_t>(-1)) {
    return false;
  }
  bool single_byte = true;
  for (std::size_t byte = 0; byte < unit_of.size() && single_byte; ++byte) {
    const ByteKind kind = ReadByte(conversion, static_cast<unsigned char>(byte), unit_of[byte]);
    if (kind == ByteKind::kUndefined) {
      unit_of[byte] = UndefinedByte(byte);
    }
    single_byte = kind != ByteKind::kNotSingleByte;
  }
  iconv_close(conversion);
  return single_byte;
}

// What a host without any tables still knows.
void AsciiPage(std::array<char16_t, 256>& unit_of) {
  for (std::size_t byte = 0; byte < unit_of.size(); ++byte) {
    unit_of[byte] = byte < 0x80 ? static_cast<char16_t>(byte) : UndefinedByte(byte);
  }
}

// Derives everything else from what the bytes mean.
void Complete(CodePage& page) {
  page.byte_of.fill(0);
  for (std::size_t byte = page.unit_of.size(); byte-- > 0;) {
    if (page.unit_of[byte] != kNoCharacter) {
      page.byte_of[page.unit_of[byte]] = static_cast<unsigned char>(byte);
    }
  }
  page.holds_ascii = true;
  for (std::size_t byte = 0; byte < page.unit_of.size(); ++byte) {
    const unsigned char upper = page.byte_of[UpperCase(page.unit_of[byte])];
    page.upper[byte] = upper != 0 ? upper : static_cast<unsigned char>(byte);
    page.holds_ascii &= byte >= 0x80 || page.unit_of[byte] == byte;
  }
}

// The tables of a page, built when it is asked for first; null when the host does not know it.
const CodePage* Find(UINT number) {
  const std::lock_guard lock(building);
  for (const CodePage* page = built; page != nullptr; page = page->next) {
    if (page->number == number) {
      return page;
    }
  }
  auto page = std::make_unique<CodePage>();
  page->number = number;
  page->next = built;
  if (!ReadPage(number, page->unit_of)) {
    if (number != kAsciiPage) {
      return nullptr;
    }
    AsciiPage(page->unit_of);
  }
  Complete(*page);
  built = page.release();
  return built;
}

// Characters from `first` to `last` whose upper case lies `distance` below them. With `step` 2 only
// every other one is a small letter.
struct CaseRange {
  char16_t first;
  char16_t last;
  int step;
  int distance;
};

// clang-format off
constexpr CaseRange kCaseRanges[] = {
    {0x0061, 0x007a, 1, 32},    // a to z
    {0x00b5, 0x00b5, 1, -743},  // micro sign: capital mu
    {0x00e0, 0x00f6, 1, 32},    // Latin-1
    {0x00f8, 0x00fe, 1, 32},
    {0x00ff, 0x00ff, 1, -121},
    {0x0101, 0x012f, 2, 1},     // Latin Extended-A
    {0x0131, 0x0131, 1, 232},   // dotless i: I
    {0x0133, 0x0137, 2, 1},
    {0x013a, 0x0148, 2, 1},
    {0x014b, 0x0177, 2, 1},
    {0x017a, 0x017e, 2, 1},
    {0x017f, 0x017f, 1, 300},   // long s: S
    {0x0192, 0x0192, 1, 1},
    {0x01a1, 0x01a1, 1, 1},     // o and u with horn
    {0x01b0, 0x01b0, 1, 1},
    {0x0219, 0x021b, 2, 1},     // s and t with comma below
    {0x03ac, 0x03ac, 1, 38},    // Greek
    {0x03ad, 0x03af, 1, 37},
    {0x03b1, 0x03c1, 1, 32},
    {0x03c2, 0x03c2, 1, 31},    // final sigma
    {0x03c3, 0x03cb, 1, 32},
    {0x03cc, 0x03cc, 1, 64},
    {0x03cd, 0x03ce, 1, 63},
    {0x0430, 0x044f, 1, 32},    // Cyrillic
    {0x0450, 0x045f, 1, 80},
    {0x0461, 0x0481, 2, 1},
    {0x048b, 0x04bf, 2, 1},
    {0x04c2, 0x04ce, 2, 1},
    {0x04cf, 0x04cf, 1, 15},
    {0x04d1, 0x04ff, 2, 1},
    {0x0561, 0x0586, 1, 48},    // Armenian
    {0x1e01, 0x1e95, 2, 1},     // Celtic
    {0x1e9b, 0x1e9b, 1, 59},
    {0x1ea1, 0x1eff, 2, 1},     // Vietnamese
};
// clang-format on

}  // namespace

char16_t UpperCase(char16_t unit) {
  for (const CaseRange& range : kCaseRanges) {
    if (unit >= range.first && unit <= range.last) {
      const bool small = (unit - range.first) % range.step == 0;
      return static_cast<char16_t>(small ? unit - range.distance : unit);
    }
  }
  return unit;
}

const CodePage& CurrentCodePage() {
  const CodePage* page = current.load(std::memory_order_acquire);
  if (page == nullptr) {
    const CodePage* first = Find(kDefaultPage);
    if (first == nullptr) {
      first = Find(kAsciiPage);
    }
    // Another thread may have chosen a page meanwhile; then that one holds.
    page = current.compare_exchange_strong(page, first) ? first : page;
  }
  return *page;
}

BOOL SetAnsiCodePage(UINT number) {
  const CodePage* page = Find(number);
  if (page == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  current.store(page, std::memory_order_release);
  return TRUE;
}

}  // namespace krplatform
