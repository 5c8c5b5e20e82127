// kr xml fmt and merge.
#include "krdcmmn/platform/codepage.h"

#include "apps/common/errors.h"
#include "apps/kr/xml/files.h"
#include "apps/kr/xml/operations.h"

namespace kr_app {

void XmlUseCodePage(std::uint32_t page) {
  if (!SetAnsiCodePage(page)) {
    throw Failure("code page " + std::to_string(page) +
                  " is not known here, or not one byte a character; try 1250 to 1258");
  }
}

void XmlFormat(const std::string& in, const std::string& out) {
  kr::XmlDocument doc;
  Naming(in, [&] { ReadXml(in, doc); });
  Naming(out, [&] { WriteXml(out, doc); });
}

void XmlMerge(const std::string& target, const std::string& reference, const std::string& out) {
  if (target == "-" && reference == "-") {
    throw Failure("only one of the two files can be standard input");
  }
  kr::XmlDocument into;
  kr::XmlDocument from;
  Naming(target, [&] { ReadXml(target, into); });
  Naming(reference, [&] { ReadXml(reference, from); });
  const kr::XmlNode top = into.Root().child();
  const kr::XmlNode reference_top = from.Root().child();
  if (!top.isNameEq(reference_top.name())) {
    throw Failure(reference + ": its outermost element is " + reference_top.name() + ", that of " +
                  target + " is " + top.name() + "; they have to be the same");
  }
  into.ResurrectNodes(top, reference_top);
  Naming(out, [&] { WriteXml(out, into); });
}

}  // namespace kr_app
