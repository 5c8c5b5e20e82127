// Filling a message container from a resource.
#include "krdcmmn/xml/message_container.h"
#include "krdcmmn/xml/parse.h"

namespace kr {

bool MessageContainer::LoadStrings(HINSTANCE module, unsigned id) {
  XmlDocument document;
  if (!LoadXMLFromResources(module, id, document)) {
    return false;
  }
  texts.empty();
  names.empty();
  const XmlNodeConst messages = document.Root().findNodeConst("messages", false);
  if (messages.end()) {
    return false;
  }
  for (XmlNodeConst message = messages.child(); !message.end(); ++message) {
    const XmlAttrConst name = message.findAttrConst("name");
    if (name.end()) {
      continue;
    }
    const int i = names.add(name.data());
    if (names.isAddNew()) {
      texts.add(message.data());
    } else {
      texts.set(i, message.data());
    }
  }
  return true;
}

}  // namespace kr
