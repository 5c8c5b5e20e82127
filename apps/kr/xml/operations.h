// What kr xml does, one function each. A file named "-" is standard input or output. Failures throw
// (apps/common/errors.h); a syntax error names file, line and column, both counted from 1.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kr_app {

// Makes `page` the ANSI code page of all texts and values.
void XmlUseCodePage(std::uint32_t page);

void XmlFormat(const std::string& in, const std::string& out);
void XmlMerge(const std::string& target, const std::string& reference, const std::string& out);

struct FindOptions {
  std::optional<std::string> attribute;  // NAME=VALUE
  bool all = false;
};
void XmlFind(const std::string& in, const std::string& name, const FindOptions& options);

void XmlStats(const std::string& in);

}  // namespace kr_app
