#include <charconv>

#include "apps/kr/text/forms.h"

namespace kr_app {

std::string Number(double value, int decimals) {
  char digits[400];
  const auto end =
      std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed, decimals);
  std::string text(digits, end.ptr);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') {
      text.pop_back();
    }
  }
  return text == "-0" ? "0" : text;
}

std::string Mm(std::int64_t units) {
  return Number(static_cast<double>(units) / kUnitsPerMm, 2);
}

std::string Mm(double units) {
  return Number(units / kUnitsPerMm, 4);
}

}  // namespace kr_app
