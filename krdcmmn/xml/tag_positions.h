// Where start tags stand in the text that is being parsed. Private to the library.
//
// The parser tells line and column of an event by walking over all the text up to it once more, one
// character at a time. Most of that walk is saved here: this class follows the parser's events
// through the text, token by token, counts line ends in whole tags and runs, and asks the parser
// only where it has lost the place (behind a CDATA section, in a document with a document type or
// in another encoding than UTF-8). What it gives is what the parser would have said.
#pragma once

#include <cstddef>

#include "krdcmmn/xml/expat_binding.h"

namespace kr {

struct TagPosition {
  int line;    // from 1
  int column;  // characters, from 0
};

class TagPositions {
 public:
  // The text of one parse, given to the parser in one piece; borrowed for the object's life.
  TagPositions(const ExpatBinding& expat, const char* text, std::size_t length);

  // The parser's events, in order; a handler calls these once for each event.
  TagPosition StartTag(const char* name);
  void EndTag();
  void Characters(const char* bytes, std::size_t count);

 private:
  bool IsAt(const char* token, std::size_t length) const;
  bool IsTagAt(const char* place, const char* name, std::size_t length) const;
  void SkipSilentTokens();
  bool SkipPast(const char* token, std::size_t length, std::size_t from);
  void SkipStartTag(std::size_t name_length);
  bool SkipReference();
  void CountTo(const char* place);
  TagPosition Ask(const char* name, std::size_t length);
  const char* PlaceOf(const TagPosition& position);
  bool HasDocumentType(const char* place) const;

  const ExpatBinding& expat_;
  const char* begin_;
  const char* end_;
  const char* next_ = nullptr;  // the first token without an event yet; null: the place is lost
  bool can_follow_;
  bool in_empty_tag_ = false;  // the tag of the last start event is its own end tag

  const char* counted_;  // start of a token: `at_` is its position
  TagPosition at_{1, 0};
};

}  // namespace kr
