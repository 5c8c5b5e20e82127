// Named message texts. Containers can be chained, so that a lookup falls through to another one;
// one container of the process holds the library's own texts.
#pragma once

#include "krdcmmn/platform/types.h"
#include "krdcmmn/text/hash_text.h"

namespace kr {

// Names compare by case. Filling is for one thread; once filled, any number of threads may look
// messages up.
class KRDCMMN_API MessageContainer {
 public:
  MessageContainer();
  ~MessageContainer();

  // The text of `name`, from this container or else from its chain; null when none has it. Good
  // until the next LoadStrings of the container that holds the text. Texts are in the ANSI code
  // page.
  const char* find(const char* name) const;

  // Makes lookups go on in `parent`, which must outlive them; null ends the chain. In a chain that
  // has become a ring a lookup ends with null when it has been round.
  void attach(const MessageContainer* parent);

  // Replaces the messages by those of the resource "KR_MSG" with the number `id` of `module`, an
  // XML text: a root element "messages" with one child for each message, whose attribute "name" is
  // the name and whose text is the text. A name that comes twice keeps its place and takes the last
  // text; a child without a name is skipped. False, with nothing changed, when the text is not
  // well-formed; false, with the container empty, when it has no element "messages". A missing
  // resource throws krerr::Win32Ecept and a missing parser an exception with its name; nothing is
  // changed then.
  bool LoadStrings(HINSTANCE module, unsigned id);

 private:
  // Not to be copied: both take nothing from their source.
  MessageContainer(const MessageContainer&) : MessageContainer() {}
  // NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
  MessageContainer& operator=(const MessageContainer&) { return *this; }

  const MessageContainer* parent;  // not owned
  KRD::HASH_TEXT names;            // the index is the message's id
  KRD::BASE_TEXT texts;            // entry i belongs to name i
};

}  // namespace kr

// The process's container, with the library's own messages from the attach step on.
KRDCMMN_API kr::MessageContainer& SystemMessageContainer();
