#include "krdcmmn/xml/parse_state.h"

#include "krdcmmn/platform/modules.h"

namespace kr {

XmlNode currentNode;
[[gnu::init_priority(kNodeStackPriority)]] std::vector<XmlNode> nodeStack;
[[gnu::init_priority(kTextBufferPriority)]] CharBuffer textBuffer;

}  // namespace kr
