// What the parser's handlers share: process-wide, one parse at a time, kept from one parse to the
// next. Private to the library.
#pragma once

#include <vector>

#include "krdcmmn/xml/document.h"

namespace kr {

extern XmlNode currentNode;             // the element being filled
extern std::vector<XmlNode> nodeStack;  // the open elements' parents
extern std::vector<char> textBuffer;    // character data since the last tag, UTF-8

}  // namespace kr
