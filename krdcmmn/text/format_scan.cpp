#include "krdcmmn/text/format_scan.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>

namespace KRD {

namespace {

// Sizes of the argument of a number, from the prefix in front of the conversion.
enum class LENGTH { kInt, kLong, kLongLong, kIntMax, kSize, kPtrDiff };

constexpr std::int64_t kMostWidth = 0x7fffffff;

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsOneOf(char c, const char* set) {
  return c != 0 && std::strchr(set, c) != nullptr;
}

class SCANNER {
 public:
  SCANNER(const char* format, va_list args, const char* block, int size, char* out)
      : p_(format), out_(out), block_(block), size_(size) {
    va_copy(args_, args);
  }
  ~SCANNER() { va_end(args_); }
  SCANNER(const SCANNER&) = delete;
  SCANNER& operator=(const SCANNER&) = delete;

  FORMAT_SCAN Run() {
    while (*p_ != 0) {
      if (*p_ != '%' || p_ < plain_end_) {
        Take(1);
        scan_.estimate += 1;
      } else if (p_[1] == '%') {
        Take(2);
        scan_.estimate += 1;
      } else {
        Conversion();
      }
    }
    if (out_ != nullptr) {
      *out_ = 0;
    }
    return scan_;
  }

 private:
  // Moves on, copying what was passed into the host's format.
  void Take(int count) {
    Emit(p_, count);
    p_ += count;
  }
  void Emit(const char* text, int count) {
    if (out_ != nullptr) {
      std::memcpy(out_, text, static_cast<std::size_t>(count));
      out_ += count;
    }
  }

  // The next argument; none once the format numbers its arguments.
  template <class T>
  T Next() {
    return numbered_ ? T{} : va_arg(args_, T);
  }

  std::int64_t Number() {
    std::int64_t value = 0;
    for (; IsDigit(*p_); Take(1)) {
      value = std::min(value * 10 + (*p_ - '0'), kMostWidth);
    }
    return value;
  }

  void Conversion() {
    Take(1);
    Flags();
    if (width_ == 0) {
      width_ = Number();
    }
    precision_ = 0;
    if (*p_ == '.') {
      Take(1);
      if (*p_ == '*') {
        precision_ = Next<int>();
        Take(1);
      } else {
        precision_ = Number();
      }
    }
    Prefix();
    if (*p_ != 0) {
      Argument();
    }
  }

  void Flags() {
    width_ = 0;
    for (;; Take(1)) {
      switch (*p_) {
        case '#':
          scan_.estimate += 2;
          break;
        case '+':
        case ' ':
          scan_.estimate += 1;
          break;
        case '-':
        case '0':
          break;
        case '*':
          width_ = Next<int>();
          break;
        default:
          return;
      }
    }
  }

  // I64 reaches the host as its own prefix, and only where a number follows.
  void Prefix() {
    prefix_ = 0;
    length_ = LENGTH::kInt;
    if (std::strncmp(p_, "I64", 3) == 0) {
      if (IsOneOf(p_[3], "diouxXn")) {
        Emit("ll", 2);
        length_ = LENGTH::kLongLong;
      } else if (!IsOneOf(p_[3], "cCeEfgGpsS")) {
        Emit(p_, 3);
      }
      scan_.translates = true;
      p_ += 3;
    } else if (IsOneOf(*p_, "hlL")) {
      prefix_ = *p_;
      length_ = prefix_ == 'l' ? LENGTH::kLong : prefix_ == 'L' ? LENGTH::kLongLong : LENGTH::kInt;
      Take(1);
    }
  }

  void Argument() {
    const std::int64_t both = width_ + precision_;
    switch (*p_) {
      case 'c':
      case 'C':
        Next<int>();
        Add(std::max<std::int64_t>(2, width_));
        break;
      case 'd':
      case 'i':
      case 'o':
      case 'u':
      case 'x':
      case 'X':
        StepInteger();
        Add(std::max<std::int64_t>(both, 32));
        break;
      case 'e':
      case 'E':
        StepReal();
        Add(std::max<std::int64_t>(both, 19) + 8);
        break;
      case 'f':
        StepReal();
        Add(std::max({precision_ + 312, std::int64_t{128}, width_}));
        break;
      case 'g':
      case 'G':
        StepReal();
        Add(std::max<std::int64_t>(both, 128));
        break;
      case 'n':
        Next<void*>();
        Add(0);
        break;
      case 'p':
        Next<void*>();
        Add(std::max<std::int64_t>(both, 10));
        break;
      case 's':
      case 'S':
        Add(StringSize(Next<const char*>()));
        break;
      default:
        OtherConversion();
        Add(0);
    }
  }

  // A wide string is walked byte by byte too: its terminator ends the walk at the latest.
  std::int64_t StringSize(const char* s) {
    if (s == nullptr) {
      return std::max<std::int64_t>(6, width_);
    }
    const std::less<const char*> before;
    scan_.reads_block |= block_ != nullptr && !before(s, block_) && !before(block_ + size_, s);
    const auto length = static_cast<std::int64_t>(std::strlen(s));
    return std::max({length, std::int64_t{1}, precision_, width_});
  }

  // A conversion that the estimate does not know. The host may read more of the format as part of
  // it, and takes arguments for it; the estimate counts that part as plain text.
  void OtherConversion() {
    const char* q = p_;
    for (;; ++q) {
      switch (*q) {
        case 'l':
          length_ = length_ == LENGTH::kLong ? LENGTH::kLongLong : LENGTH::kLong;
          continue;
        case 'q':
          length_ = LENGTH::kLongLong;
          continue;
        case 'j':
          length_ = LENGTH::kIntMax;
          continue;
        case 'z':
        case 'Z':
          length_ = LENGTH::kSize;
          continue;
        case 't':
          length_ = LENGTH::kPtrDiff;
          continue;
        case 'L':
          prefix_ = 'L';
          length_ = LENGTH::kLongLong;
          continue;
        case '*':
          Next<int>();
          continue;
        case '$':
          numbered_ = true;
          continue;
        default:
          break;
      }
      if (!IsOneOf(*q, "hI'.-+ #0123456789")) {
        break;
      }
    }
    StepOther(*q);
    plain_end_ = *q != 0 ? q + 1 : q;
  }

  void StepOther(char conversion) {
    if (IsOneOf(conversion, "diouxX")) {
      StepInteger();
    } else if (IsOneOf(conversion, "eEfFgGaA")) {
      StepReal();
    } else if (IsOneOf(conversion, "cC")) {
      Next<int>();
    } else if (IsOneOf(conversion, "sSpn")) {
      Next<void*>();
    }
  }

  void StepInteger() {
    switch (length_) {
      case LENGTH::kInt:
        Next<int>();
        break;
      case LENGTH::kLong:
        Next<long>();
        break;
      case LENGTH::kLongLong:
        Next<long long>();
        break;
      case LENGTH::kIntMax:
        Next<std::intmax_t>();
        break;
      case LENGTH::kSize:
        Next<std::size_t>();
        break;
      case LENGTH::kPtrDiff:
        Next<std::ptrdiff_t>();
        break;
    }
  }

  void StepReal() {
    if (prefix_ == 'L') {
      Next<long double>();
    } else {
      Next<double>();
    }
  }

  void Add(std::int64_t bytes) {
    scan_.estimate += bytes;
    Take(1);
  }

  FORMAT_SCAN scan_;
  const char* p_;
  const char* plain_end_ = nullptr;  // up to here a conversion of the host's goes on
  char* out_;
  const char* block_;
  int size_;
  va_list args_;
  bool numbered_ = false;  // the format names its arguments by number
  // Of the conversion at hand.
  std::int64_t width_ = 0;
  std::int64_t precision_ = 0;
  char prefix_ = 0;
  LENGTH length_ = LENGTH::kInt;
};

}  // namespace

FORMAT_SCAN ScanFormat(const char* format, va_list args, const char* block, int size,
                       char* host_format) {
  return SCANNER(format, args, block, size, host_format).Run();
}

}  // namespace KRD
