#include "krdcmmn/platform/errors.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

inline namespace krplatform {

namespace {

constexpr int kMaxInsert = 99;
constexpr int kMaxWidth = 4095;             // of one insert, in characters
constexpr std::size_t kMaxText = 1u << 26;  // of a whole message, in bytes
constexpr std::string_view kFlags = "-+ #0";
constexpr std::string_view kNumbers = "diuxXoc";  // conversions

thread_local DWORD last_error = ERROR_SUCCESS;

// How an insert is taken from the argument list. A number that is used in several ways is taken in
// the widest of them.
enum class Kind : unsigned char { kUnused, kInt, kInt64, kPointer };

struct Insert {
  Kind kind = Kind::kUnused;
  std::uint64_t bits = 0;  // the argument; a number of 32 bits in the lower half
};

using Inserts = std::array<Insert, kMaxInsert + 1>;  // by number; entry 0 is unused

// One `%n` or `%n!format!`, taken apart.
struct Spec {
  char conversion = 's';  // of printf; 0 for one that is not known, which gives no text
  std::string_view size;  // of a number: ll (64 bits), h, hh or nothing
  std::string flags;
  int width = 0;
  int precision = -1;      // -1: none
  int width_from = 0;      // number of the insert that holds the width, 0: none
  int precision_from = 0;  // likewise
  int value_from = 0;      // number of the insert that is shown
};

int ReadNumber(std::string_view text, std::size_t& at) {
  int number = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    number = std::min(number * 10 + (text[at] - '0'), kMaxWidth);
  }
  return number;
}

// The size prefix at `at`, as the host's printf writes it; moves past it. `l` is 32 bits wide here.
std::string_view ReadSize(std::string_view text, std::size_t& at) {
  static constexpr std::pair<std::string_view, std::string_view> kSizes[] = {
      {"I64", "ll"}, {"I32", ""}, {"ll", "ll"}, {"hh", "hh"}, {"I", "ll"},
      {"z", "ll"},   {"t", "ll"}, {"j", "ll"},  {"l", ""},    {"h", "h"}};
  for (const auto& [name, host] : kSizes) {
    if (text.substr(at).starts_with(name)) {
      at += name.size();
      return host;
    }
  }
  return "";
}

// A width or precision at `at`: its value, or by `*` the next insert, whose number goes to `from`.
int ReadField(std::string_view format, std::size_t& at, int& number, int& from) {
  if (at < format.size() && format[at] == '*') {
    ++at;
    from = number++;
    return 0;
  }
  return ReadNumber(format, at);
}

// Whether a conversion with this size prefix is served; texts of wide characters are not.
bool Serves(char conversion, std::string_view size) {
  if (conversion == 's' || conversion == 'p') {
    return size.empty() || (conversion == 's' && size == "h");
  }
  return conversion != '\0' && kNumbers.find(conversion) != std::string_view::npos;
}

// `format` is what stands between the exclamation marks behind insert `number`. Each `*` takes an
// insert of its own, from `number` on, ahead of the one that is shown.
Spec ReadSpec(std::string_view format, int number) {
  Spec spec;
  std::size_t at = 0;
  for (; at < format.size() && kFlags.find(format[at]) != std::string_view::npos; ++at) {
    if (spec.flags.find(format[at]) == std::string::npos) {
      spec.flags += format[at];
    }
  }
  spec.width = ReadField(format, at, number, spec.width_from);
  if (at < format.size() && format[at] == '.') {
    spec.precision = ReadField(format, ++at, number, spec.precision_from);
  }
  const std::size_t size_at = at;
  spec.size = ReadSize(format, at);
  const std::string_view written = format.substr(size_at, at - size_at);
  const char conversion = at + 1 == format.size() ? format[at] : '\0';
  spec.conversion = Serves(conversion, written) ? conversion : '\0';
  spec.value_from = number;
  return spec;
}

// The insert whose first digit is at `at`; moves past it. A `!` without a second one is text.
Spec ReadInsert(std::string_view text, std::size_t& at) {
  int number = text[at++] - '0';
  if (at < text.size() && text[at] >= '0' && text[at] <= '9') {
    number = number * 10 + (text[at++] - '0');
  }
  const bool formatted = at < text.size() && text[at] == '!';
  const std::size_t end = formatted ? text.find('!', at + 1) : std::string_view::npos;
  if (end == std::string_view::npos) {
    return ReadSpec("s", number);
  }
  const std::string_view format = text.substr(at + 1, end - at - 1);
  at = end + 1;
  return ReadSpec(format, number);
}

// Walks a template and tells its pieces to `sink`: Text(string_view) and Show(Spec).
template <typename Sink>
void Walk(std::string_view text, Sink& sink) {
  static constexpr std::pair<char, std::string_view> kEscapes[] = {
      {'n', "\r\n"}, {'r', "\r"}, {'t', "\t"}, {'b', " "}};
  std::size_t at = 0;
  while (at < text.size()) {
    const std::size_t percent = std::min(text.find('%', at), text.size());
    sink.Text(text.substr(at, percent - at));
    if (percent + 1 >= text.size()) {
      sink.Text(text.substr(percent));  // a percent sign at the very end stands for itself
      return;
    }
    at = percent + 1;
    const char next = text[at];
    if (next == '0') {
      return;
    }
    if (next >= '1' && next <= '9') {
      sink.Show(ReadInsert(text, at));
      continue;
    }
    const auto* escape = std::find_if(std::begin(kEscapes), std::end(kEscapes),
                                      [next](const auto& row) { return row.first == next; });
    sink.Text(escape != std::end(kEscapes) ? escape->second : text.substr(at, 1));
    ++at;
  }
}

// First walk: what each insert is.
class Gatherer {
 public:
  explicit Gatherer(Inserts& inserts) : inserts_(inserts) {}

  void Text(std::string_view) {}
  void Show(const Spec& spec) {
    Note(spec.width_from, Kind::kInt);
    Note(spec.precision_from, Kind::kInt);
    const bool number = kNumbers.find(spec.conversion) != std::string_view::npos;
    Note(spec.value_from, !number ? Kind::kPointer : spec.size == "ll" ? Kind::kInt64 : Kind::kInt);
  }

  // Takes the arguments up to the highest number that the template uses.
  void Take(va_list* arguments) {
    for (int number = 1; number <= highest_; ++number) {
      Insert& insert = inserts_[static_cast<std::size_t>(number)];
      switch (insert.kind) {
        case Kind::kInt:
          insert.bits = static_cast<std::uint32_t>(va_arg(*arguments, int));
          break;
        case Kind::kInt64:
          insert.bits = static_cast<std::uint64_t>(va_arg(*arguments, std::int64_t));
          break;
        case Kind::kUnused:
        case Kind::kPointer:
          insert.bits = reinterpret_cast<std::uintptr_t>(va_arg(*arguments, void*));
          break;
      }
    }
  }

 private:
  void Note(int number, Kind kind) {
    if (number < 1 || number > kMaxInsert) {
      return;
    }
    highest_ = std::max(highest_, number);
    Insert& insert = inserts_[static_cast<std::size_t>(number)];
    insert.kind = std::max(insert.kind, kind);
  }

  Inserts& inserts_;
  int highest_ = 0;
};

// Second walk: the text.
class Builder {
 public:
  // Without a list every insert is empty, whatever its format.
  Builder(const Inserts& inserts, bool has_list) : inserts_(inserts), has_list_(has_list) {}

  void Text(std::string_view text) {
    if (text.size() > kMaxText - text_.size()) {
      throw std::length_error("message");
    }
    text_ += text;
  }

  void Show(Spec spec) {
    if (!has_list_ || spec.value_from > kMaxInsert || spec.conversion == '\0') {
      return;
    }
    if (spec.width_from != 0) {
      const int width = IntOf(spec.width_from);
      if (width < 0) {
        spec.flags += '-';
      }
      spec.width =
          static_cast<int>(std::min<std::int64_t>(std::abs(std::int64_t{width}), kMaxWidth));
    }
    if (spec.precision_from != 0) {
      spec.precision = std::clamp(IntOf(spec.precision_from), -1, kMaxWidth);
    }
    if (spec.conversion == 's') {
      ShowString(spec);
    } else {
      ShowNumber(spec);
    }
  }

  const std::string& text() const { return text_; }

 private:
  std::uint64_t BitsOf(int number) const { return inserts_[static_cast<std::size_t>(number)].bits; }
  int IntOf(int number) const {
    return static_cast<int>(static_cast<std::uint32_t>(BitsOf(number)));
  }

  void ShowString(const Spec& spec) {
    const auto* value = reinterpret_cast<const char*>(BitsOf(spec.value_from));
    if (value == nullptr) {
      value = "";
    }
    const std::size_t size = spec.precision < 0
                                 ? std::strlen(value)
                                 : strnlen(value, static_cast<std::size_t>(spec.precision));
    const auto width = static_cast<std::size_t>(spec.width);
    const std::string blanks(width > size ? width - size : 0, ' ');
    const bool left = spec.flags.find('-') != std::string::npos;
    Text(left ? std::string_view() : blanks);
    Text({value, size});
    Text(left ? blanks : std::string_view());
  }

  void ShowNumber(const Spec& spec) {
    std::string format("%");
    format.append(spec.flags).append("*");
    if (spec.precision >= 0) {
      format += "." + std::to_string(spec.precision);
    }
    const std::uint64_t bits = BitsOf(spec.value_from);
    char out[2 * kMaxWidth + 64];
    int length = 0;
    if (spec.conversion == 'p') {
      format += "p";
      length =
          std::snprintf(out, sizeof out, format.c_str(), spec.width, reinterpret_cast<void*>(bits));
    } else if (spec.size == "ll" && spec.conversion != 'c') {
      format.append(spec.size) += spec.conversion;
      length = std::snprintf(out, sizeof out, format.c_str(), spec.width, bits);
    } else {
      if (spec.conversion != 'c') {
        format += spec.size;
      }
      format += spec.conversion;
      length = std::snprintf(out, sizeof out, format.c_str(), spec.width,
                             static_cast<std::uint32_t>(bits));
    }
    Text({out, static_cast<std::size_t>(std::clamp(length, 0, static_cast<int>(sizeof out) - 1))});
  }

  const Inserts& inserts_;
  const bool has_list_;
  std::string text_;
};

std::string FillTemplate(std::string_view source, va_list* arguments) {
  Inserts inserts;
  if (arguments != nullptr) {
    Gatherer gatherer(inserts);
    Walk(source, gatherer);
    gatherer.Take(arguments);
  }
  Builder builder(inserts, arguments != nullptr);
  Walk(source, builder);
  return builder.text();
}

// The host's text for `code`, or nothing when it knows none.
std::string SystemText(DWORD code) {
  const int number = static_cast<int>(code);
  if (strerrordesc_np(number) == nullptr) {
    return {};
  }
  char text[512];
  return strerror_r(number, text, sizeof text);
}

}  // namespace

DWORD GetLastError() {
  return last_error;
}

void SetLastError(DWORD code) {
  last_error = code;
}

DWORD FormatMessageA(DWORD flags, const void* source, DWORD code, DWORD /*language*/, char** buffer,
                     DWORD size, va_list* arguments) {
  constexpr DWORD kSources = FORMAT_MESSAGE_FROM_STRING | FORMAT_MESSAGE_FROM_SYSTEM;
  const DWORD from = flags & kSources;
  if (buffer != nullptr) {
    *buffer = nullptr;
  }
  if (buffer == nullptr || (flags & ~kSources) != FORMAT_MESSAGE_ALLOCATE_BUFFER || from == 0 ||
      from == kSources || (from == FORMAT_MESSAGE_FROM_STRING && source == nullptr)) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  try {
    const std::string text = from == FORMAT_MESSAGE_FROM_SYSTEM
                                 ? SystemText(code)
                                 : FillTemplate(static_cast<const char*>(source), arguments);
    if (text.empty()) {
      SetLastError(ERROR_RESOURCE_NOT_FOUND);
      return 0;
    }
    *buffer = static_cast<char*>(std::malloc(std::max<std::size_t>(size, text.size() + 1)));
    if (*buffer != nullptr) {
      std::memcpy(*buffer, text.c_str(), text.size() + 1);
      return static_cast<DWORD>(text.size());
    }
  } catch (const std::exception&) {  // a text beyond all bounds
  }
  SetLastError(ERROR_NOT_ENOUGH_MEMORY);
  return 0;
}

void* LocalFree(void* block) {
  std::free(block);
  return nullptr;
}

}  // namespace krplatform
