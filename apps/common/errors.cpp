#include "apps/common/errors.h"

#include <exception>
#include <new>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/core/vf_exception.h"

namespace kr_app {
namespace {

struct CodeText {
  int code;
  const char* text;
};

constexpr CodeText kStorageTexts[] = {
    {100, "the entry exists already"},
    {101, "there is no such entry"},
    {102, "the entry is open or damaged"},
    {105, "the entry is not open for reading"},
    {106, "the entry is not open for writing"},
    {107, "the entry is not there any more"},
    {108, "the entry ends inside an array"},
    {109, "the entry is damaged"},
    {110, "the entry ends too early"},
    {111, "the entry holds an array where data was expected"},
    {112, "the entry holds a text without an end"},
    {113, "the entry holds an array where a text was expected"},
    {114, "the storage is damaged, or would grow beyond 2 GiB"},
};

std::string TextOf(const KRD::EXCEPTION& e) {
  if (const auto* storage = dynamic_cast<const KRD::VF_EXCEPTION*>(&e)) {
    for (const CodeText& row : kStorageTexts) {
      if (row.code == e.code) {
        return storage->name.IsEmpty() ? row.text
                                       : std::string(storage->name.c_str()) + ": " + row.text;
      }
    }
  }
  char text[256];
  if (e.GetErrorMessage(text, sizeof text)) {
    return text;
  }
  return e.code == 1 ? "out of memory" : "error " + std::to_string(e.code);
}

std::string TextOfNumber(int number) {
  switch (number) {
    case 2:
      return "the file is too short, or it could not be written to its end";
    case 3:
      return "the file is damaged: a checksum does not fit its data";
    default:
      return "error " + std::to_string(number);
  }
}

}  // namespace

std::string TextOfException() {
  std::string text;
  try {
    throw;
  } catch (KRD::EXCEPTION* e) {
    text = TextOf(*e);
    e->Delete();
  } catch (int number) {
    text = TextOfNumber(number);
  } catch (const std::bad_alloc&) {
    text = "out of memory";
  } catch (const std::exception& e) {
    text = e.what();
  } catch (...) {
    text = "unknown error";
  }
  while (!text.empty() && (text.back() == '\n' || text.back() == '\r')) {
    text.pop_back();
  }
  return text;
}

}  // namespace kr_app
