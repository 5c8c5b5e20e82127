// Documents from files and to files.
#pragma once

#include <functional>
#include <string>

#include "krdcmmn/xml/document.h"

namespace kr_app {

// Adds the elements of a file to `doc`; "-" is standard input. A text that is not well-formed
// throws Failure with its place. Characters that the code page does not hold are told on standard
// error, with their number.
void ReadXml(const std::string& in, kr::XmlDocument& doc);

// Writes `doc`; "-" is standard output. A file is there as a whole or as it was before.
void WriteXml(const std::string& out, const kr::XmlDocument& doc);

// Visits all elements below `node` in document order with their depth, 1 for children of `node`,
// until `visit` gives false.
void WalkXml(kr::XmlNodeConst node,
             const std::function<bool(const kr::XmlNodeConst& node, int depth)>& visit);

}  // namespace kr_app
