// The process's message container. What fills it at the attach stands in this file too: a program
// that is linked with the static library and asks for a message takes the attach step along.

#include "krdcmmn/xml/message_container.h"

kr::MessageContainer& SystemMessageContainer() {
  static kr::MessageContainer container;
  return container;
}
