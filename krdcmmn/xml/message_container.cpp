#include "krdcmmn/xml/message_container.h"

namespace kr {

MessageContainer::MessageContainer() : parent(nullptr) {}

MessageContainer::~MessageContainer() = default;

const char* MessageContainer::find(const char* name) const {
  if (name == nullptr) {
    return nullptr;
  }
  // `slow` makes one step where the lookup makes two; in a ring the lookup catches up with it.
  const MessageContainer* slow = this;
  bool second = false;
  for (const MessageContainer* at = this; at != nullptr; at = at->parent) {
    const int id = at->names(name);
    if (id >= 0) {
      return at->texts(static_cast<unsigned>(id));
    }
    if (at->parent == slow) {
      break;
    }
    if (second) {
      slow = slow->parent;
    }
    second = !second;
  }
  return nullptr;
}

void MessageContainer::attach(const MessageContainer* container) {
  parent = container;
}

}  // namespace kr
