#include "krdcmmn/host/codepage.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <utility>

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/platform/errors.h"

namespace {

constexpr char kSubstitute = '_';

thread_local std::uint64_t lossy_characters = 0;

// The length of a text, which has its limit.
std::size_t SizeOf(unsigned length) {
  if (length > INT_MAX) {
    SetLastError(ERROR_INVALID_PARAMETER);
    throw krerr::Win32Ecept();
  }
  return length;
}

// The count of a platform call, of which 0 is a failure.
std::size_t Checked(int result) {
  if (result <= 0) {
    throw krerr::Win32Ecept();
  }
  return static_cast<std::size_t>(result);
}

// Texts are converted in pieces of at most so many bytes or units, in buffers of this size.
constexpr std::size_t kPiece = 512;

struct Units {
  std::size_t count;
  char16_t data[kPiece];
};

void ToUnits(UINT page, const char* text, std::size_t size, Units& units) {
  // Neither a byte nor a part of a UTF-8 sequence gives more than one unit.
  units.count =
      Checked(MultiByteToWideChar(page, 0, text, static_cast<int>(size), units.data, int{kPiece}));
}

// Adds `size` bytes to `result`, but ends it at the first zero among them; false then.
bool AddUpToZero(std::string& result, const char* bytes, std::size_t size) {
  const void* zero = std::memchr(bytes, 0, size);
  if (zero != nullptr) {
    size = static_cast<std::size_t>(static_cast<const char*>(zero) - bytes);
  }
  result.append(bytes, size);
  return zero == nullptr;
}

// What a conversion to ANSI has come to, piece by piece.
class AnsiText {
 public:
  explicit AnsiText(std::size_t size) { result_.reserve(size); }

  // False when the text has ended with a zero.
  bool Add(const Units& units) {
    char bytes[kPiece];
    BOOL lost = FALSE;
    Checked(WideCharToMultiByte(CP_ACP, 0, units.data, static_cast<int>(units.count), bytes,
                                int{kPiece}, &kSubstitute, &lost));
    if (lost != FALSE) {
      CountLost(units, bytes);
    }
    last_ = units.data[units.count - 1];
    return AddUpToZero(result_, bytes, units.count);
  }

  std::string Take() { return std::move(result_); }

 private:
  void CountLost(const Units& units, const char* bytes) const {
    char16_t own = 0;  // what the substitute stands for by itself
    MultiByteToWideChar(CP_ACP, 0, &kSubstitute, 1, &own, 1);
    char16_t before = last_;
    for (std::size_t i = 0; i < units.count; ++i) {
      const bool pair = (before & 0xfc00) == 0xd800 && (units.data[i] & 0xfc00) == 0xdc00;
      before = units.data[i];
      if (bytes[i] == kSubstitute && before != own && !pair) {
        ++lossy_characters;
      }
    }
  }

  std::string result_;
  char16_t last_ = 0;
};

// The bytes of the next piece of UTF-8 text: all, or so many that no character is cut in two. A cut
// in front of a byte that continues nothing is safe, and so is one behind three that do.
std::size_t PieceOf(const char* text, std::size_t size) {
  const auto continues = [&](std::size_t at) { return (text[at] & 0xc0) == 0x80; };
  if (size <= kPiece) {
    return size;
  }
  std::size_t end = kPiece;
  while (end > kPiece - 3 && continues(end)) {
    --end;
  }
  return end > kPiece - 3 || !continues(end) ? end : kPiece;
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
  std::size_t left = SizeOf(length);
  if (IsPlainAscii(text, length)) {
    return {text, left};
  }
  AnsiText result(left);
  Units units;
  for (bool more = true; more && left > 0;) {
    const std::size_t piece = PieceOf(text, left);
    ToUnits(CP_UTF8, text, piece, units);
    more = result.Add(units);
    text += piece;
    left -= piece;
  }
  return result.Take();
}

std::string AnsiToUtf8(const char* text, unsigned length) {
  std::size_t left = SizeOf(length);
  if (IsPlainAscii(text, length)) {
    return {text, left};
  }
  std::string result;
  result.reserve(left * 2);
  Units units;
  for (bool more = true; more && left > 0;) {
    const std::size_t piece = std::min(left, kPiece);
    ToUnits(CP_ACP, text, piece, units);
    char bytes[3 * kPiece];  // no page holds characters above U+FFFF
    const std::size_t size =
        Checked(WideCharToMultiByte(CP_UTF8, 0, units.data, static_cast<int>(units.count), bytes,
                                    int{sizeof bytes}, nullptr, nullptr));
    more = AddUpToZero(result, bytes, size);
    text += piece;
    left -= piece;
  }
  return result;
}

std::string WideToAnsi(const wchar_t* text, unsigned length) {
  std::size_t left = SizeOf(length);
  AnsiText result(left);
  Units units;
  for (bool more = true; more && left > 0;) {
    units.count = std::min(left, kPiece);
    std::transform(text, text + units.count, units.data,
                   [](wchar_t unit) { return static_cast<char16_t>(unit); });
    more = result.Add(units);
    text += units.count;
    left -= units.count;
  }
  return result.Take();
}

std::wstring AnsiToWide(const char* text, unsigned length) {
  std::wstring result;
  if (length > INT_MAX) {
    return result;
  }
  result.reserve(length);
  Units units;
  for (std::size_t at = 0; at < length; at += kPiece) {
    ToUnits(CP_ACP, text + at, std::min(length - at, kPiece), units);
    result.append(units.data, units.data + units.count);
  }
  return result;
}

std::uint64_t LossyCharacterCount() {
  return lossy_characters;
}
