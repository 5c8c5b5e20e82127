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

  // The parser's events, in order; a handler calls these once for each event: for a start tag with
  // its name, each attribute with the lengths that the event gives, and its end.
  TagPosition StartTag(const char* name, std::size_t length);
  void Attribute(std::size_t name_length, std::size_t value_length) {
    if (in_step_ && IsPlainAttribute(name_length, value_length)) {
      next_ += name_length + value_length + kAroundAttribute;
    } else {
      in_step_ = false;
    }
  }
  void StartTagEnd();
  void EndTag();
  void Characters(const char* bytes, std::size_t count) {
    // The usual run: a piece of the text as it stands.
    if (next_ != nullptr && count != 0 && static_cast<std::size_t>(end_ - next_) > count &&
        IsPlain(*next_) && *next_ == *bytes && next_[count - 1] == bytes[count - 1]) {
      next_ += count;
    } else {
      OtherCharacters(bytes, count);
    }
  }

 private:
  static constexpr std::size_t kAroundAttribute = 4;  // blank, equals sign, quotes

  // A blank, the name, "=", and the value in quotes. No value is longer than its form in the text,
  // so that a quote behind its length tells that both are the same.
  bool IsPlainAttribute(std::size_t name_length, std::size_t value_length) const {
    if (static_cast<std::size_t>(end_ - next_) <= name_length + value_length + kAroundAttribute) {
      return false;
    }
    const char* const quote = next_ + name_length + 2;
    return *next_ == ' ' && quote[-1] == '=' && (*quote == '"' || *quote == '\'') &&
           quote[value_length + 1] == *quote;
  }
  static bool IsPlain(char c) { return c != '<' && c != '&' && c != '\n' && c != '\r'; }
  void OtherCharacters(const char* bytes, std::size_t count);

  bool IsAt(const char* token, std::size_t length) const;
  bool IsTagAt(const char* place, const char* name, std::size_t length) const;
  void SkipSilentTokens();
  bool SkipPast(const char* token, std::size_t length, std::size_t from);
  bool SkipReference();
  void CountTo(const char* place);
  void LineEndBefore(const char* place);
  TagPosition Ask(const char* name, std::size_t length);
  const char* PlaceOf(const TagPosition& position);
  bool HasDocumentType(const char* place) const;

  const ExpatBinding& expat_;
  const char* begin_;
  const char* end_;
  const char* next_ = nullptr;  // the first token without an event yet; null: the place is lost
  bool can_follow_;
  bool in_step_ = false;       // next_ follows the attributes of a start tag
  bool in_empty_tag_ = false;  // the tag of the last start event is its own end tag

  const char* counted_;     // start of a token: `at_` is its position
  bool may_break_ = false;  // line ends from there to next_ are not all counted
  TagPosition at_{1, 0};
};

}  // namespace kr
