// Any bytes as UTF-8 into a code page and back: what survives the first conversion survives all.
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <string>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/platform/codepage.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr UINT kPages[] = {1251, 1252, 1253, 1255, 874, 437, 866, 20866, 28605, 20127};
  if (size == 0 || !SetAnsiCodePage(kPages[data[0] % std::size(kPages)])) {
    return 0;
  }
  const auto length = static_cast<unsigned>(size - 1);
  const std::uint64_t before = LossyCharacterCount();
  const std::string ansi = Utf8ToAnsi(reinterpret_cast<const char*>(data + 1), length);
  const std::uint64_t lost = LossyCharacterCount() - before;
  const std::string utf8 = AnsiToUtf8(ansi.data(), static_cast<unsigned>(ansi.size()));
  if (ansi.size() > length || lost > length ||
      Utf8ToAnsi(utf8.data(), static_cast<unsigned>(utf8.size())) != ansi ||
      LossyCharacterCount() != before + lost) {
    std::abort();
  }
  return 0;
}
