// Texts and exceptions of failed host calls: the host's own text for the thread's last error, and
// templates with numbered inserts. Nothing here is shared, so any thread may build them.
#pragma once

#include <cstddef>
#include <exception>
#include <string>
#include <type_traits>
#include <utility>

#include "krdcmmn/platform/export.h"

// Fills a template of FormatMessageA (platform/errors.h) from the arguments that follow. The list
// is read up to the highest insert that the template names, so it must reach that far; FormatText
// below takes care of it. A null template, or one whose text cannot be built, gives an empty
// string.
KRDCMMN_API std::string FormatTextList(const char* format, ...);

// The highest number of an insert.
inline constexpr std::size_t kMaxInsert = 99;

// Fills a template: `%1`, `%2`... stand for the first, second... insert, null-terminated strings in
// any order and any number of times; `%1!format!` is a printf conversion of that insert. An insert
// that is missing or null reads as an empty string (as 0 for a number). A null template gives an
// empty string.
template <typename... Inserts>
std::string FormatText(const char* format, Inserts... inserts) {
  static_assert(sizeof...(Inserts) <= kMaxInsert);
  static_assert(((std::is_scalar_v<Inserts> && !std::is_floating_point_v<Inserts>)&&...),
                "inserts are strings and whole numbers");
  // Nulls behind the last insert keep any number in the template inside the list.
  return [&]<std::size_t... kRest>(std::index_sequence<kRest...>) {
    return FormatTextList(format, inserts..., (static_cast<void>(kRest), nullptr)...);
  }
  (std::make_index_sequence<kMaxInsert - sizeof...(Inserts)>());
}

// The host's text for the last error of this thread, as the host gives it (no line end is added or
// taken away); "Unknown error N" for a code that the host does not know.
KRDCMMN_API std::string LastErrorText();

namespace krerr {

// A failed host call: holds LastErrorText() of the moment of its construction.
class KRDCMMN_API Win32Ecept : public std::exception {
 public:
  Win32Ecept();
  Win32Ecept(const Win32Ecept&) = default;
  Win32Ecept& operator=(const Win32Ecept&) = default;
  ~Win32Ecept() override;
  const char* what() const noexcept override;

 private:
  std::string text_;
};

}  // namespace krerr

// A failure of run-time loading: `text`, ": \n", LastErrorText(). Only the library raises it; a
// null `text` reads as empty.
class KRDCMMN_API DllException : public std::exception {
 public:
  explicit DllException(const char* text);
  DllException(const DllException&) = default;
  DllException& operator=(const DllException&) = default;
  ~DllException() override;
  const char* what() const noexcept override;

 private:
  std::string text_;
};
