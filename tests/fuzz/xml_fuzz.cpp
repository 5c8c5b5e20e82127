// Any bytes are parsed; what parses is written, parsed and written again: from the second time on
// the file and the tree stay the same, and names and attributes are those of the first tree. A
// merge with the tree itself as its reference ends.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "krdcmmn/xml/parse.h"
#include "krdcmmn/xml/write.h"

#include "tests/support/temp_dir.h"
#include "tests/xml/dump.h"

namespace {

// Without texts: those in front of a child do not come back.
std::string Frame(kr::XmlNodeConst node) {
  std::string out = node.name();
  for (kr::XmlAttrConst attr = node.attrs(); !attr.end(); ++attr) {
    out += std::string(" ") + attr.name();
  }
  for (kr::XmlNodeConst child = node.child(); !child.end(); ++child) {
    out += "(" + Frame(child) + ")";
  }
  return out;
}

void Check(bool holds) {
  if (!holds) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  return std::freopen("/dev/null", "w", stdout) == nullptr ? 1 : 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const krtest::TempDir dir;
  const std::string path = dir.file("out.xml");
  const auto parse = [](const std::string& text, kr::XmlDocument& doc) {
    return kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  };
  kr::XmlDocument first;
  if (!parse(std::string(reinterpret_cast<const char*>(data), size), first)) {
    kr::XmlDocument forget;  // text that the parser kept
    parse("<a/>", forget);
    krtest::Dump(first, krtest::Places::kYes);
    return 0;
  }
  Check(kr::WriteXMLDocument(path.c_str(), first));
  kr::XmlDocument second;
  if (!kr::ParseXMLFile(path.c_str(), second)) {
    // The parser takes some characters in names of UTF-16 texts that it refuses in UTF-8.
    const bool wide = size >= 2 && (data[0] >= 0xfe || data[0] == 0 || data[1] == 0);
    Check(wide);
    return 0;
  }
  Check(Frame(first.Root()) == Frame(second.Root()));
  Check(kr::WriteXMLDocument(path.c_str(), second));
  kr::XmlDocument third;
  Check(kr::ParseXMLFile(path.c_str(), third));
  Check(krtest::Dump(second) == krtest::Dump(third));
  third.ResurrectNodes(third.Root().child(), third.Root());
  krtest::Dump(third);
  return 0;
}
