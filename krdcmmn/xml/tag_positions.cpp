#include "krdcmmn/xml/tag_positions.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace kr {

namespace {

// References that give character data and no event of another kind.
constexpr std::string_view kPredefined[] = {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};

bool EndsName(char c) {
  return c == ' ' || c == '>' || c == '/' || c == '\n' || c == '\t' || c == '\r';
}

bool IsContinuation(char c) {
  return (static_cast<unsigned char>(c) & 0xc0) == 0x80;
}

const char* Find(const char* begin, const char* end, char c) {
  return static_cast<const char*>(std::memchr(begin, c, static_cast<std::size_t>(end - begin)));
}

std::string_view WithoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  return text.substr(std::min(first, text.size()));
}

// Whether an XML declaration, from behind the word "encoding" on, names UTF-8.
bool NamesUtf8(std::string_view text) {
  text = WithoutBlanks(text);
  if (text.empty() || text[0] != '=') {
    return false;
  }
  text = WithoutBlanks(text.substr(1));
  if (text.size() < 7 || (text[0] != '"' && text[0] != '\'') || text[6] != text[0]) {
    return false;
  }
  std::string name(text.substr(1, 5));
  std::transform(name.begin(), name.end(), name.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return name == "utf-8";
}

// Whether the beginning of the text leaves UTF-8 as the only encoding. A text in UTF-8 that is
// taken for another one costs time only.
bool IsUtf8(std::string_view text) {
  if (text.size() < 2 || text[0] == '\0' || text[1] == '\0' || text[0] == '\xfe' ||
      text[0] == '\xff') {
    return false;
  }
  const std::size_t declaration = text.substr(0, 8).find("<?xml");
  if (declaration == std::string_view::npos) {
    return true;
  }
  const std::size_t end = text.find("?>");
  const std::string_view words = text.substr(0, end);
  const std::size_t encoding = words.find("encoding");
  return encoding == std::string_view::npos || NamesUtf8(words.substr(encoding + 8));
}

}  // namespace

TagPositions::TagPositions(const ExpatBinding& expat, const char* text, std::size_t length)
    : expat_(expat),
      begin_(text),
      end_(text + length),
      can_follow_(length > 0 && text != nullptr && IsUtf8({text, length})),
      counted_(text) {}

bool TagPositions::IsAt(const char* token, std::size_t length) const {
  return static_cast<std::size_t>(end_ - next_) >= length && std::memcmp(next_, token, length) == 0;
}

bool TagPositions::IsTagAt(const char* place, const char* name, std::size_t length) const {
  return static_cast<std::size_t>(end_ - place) > length + 1 && *place == '<' &&
         std::memcmp(place + 1, name, length) == 0 && EndsName(place[length + 1]);
}

bool TagPositions::SkipPast(const char* token, std::size_t length, std::size_t from) {
  const std::string_view rest(next_, static_cast<std::size_t>(end_ - next_));
  const std::size_t at = rest.find(token, from, length);
  next_ = at == std::string_view::npos ? nullptr : next_ + at + length;
  return next_ != nullptr;
}

// Comments and processing instructions have no event here.
void TagPositions::SkipSilentTokens() {
  while (next_ != nullptr && end_ - next_ > 4 && next_[0] == '<' &&
         (next_[1] == '?' || (next_[1] == '!' && next_[2] == '-'))) {
    may_break_ = true;
    if (next_[1] == '?') {
      SkipPast("?>", 2, 2);
    } else {
      SkipPast("-->", 3, 4);
    }
  }
}

// From an attribute of the tag, or the end of its name, to behind its ">", which may also stand in
// a quoted value.
void TagPositions::StartTagEnd() {
  in_step_ = false;
  may_break_ = true;
  if (next_ == nullptr) {
    return;
  }
  const char* p = next_;
  while (p < end_ && *p != '>') {
    if (*p == '"' || *p == '\'') {
      p = Find(p + 1, end_, *p);
      if (p == nullptr) {
        next_ = nullptr;
        return;
      }
    }
    ++p;
  }
  in_empty_tag_ = p < end_ && p[-1] == '/';
  next_ = p < end_ ? p + 1 : nullptr;
}

bool TagPositions::SkipReference() {
  if (end_ - next_ > 1 && next_[1] == '#') {
    return SkipPast(";", 1, 2);
  }
  for (const std::string_view reference : kPredefined) {
    if (end_ - next_ > 1 && next_[1] == reference[1] && IsAt(reference.data(), reference.size())) {
      next_ += reference.size();
      return true;
    }
  }
  return false;
}

// Line ends within data have been counted one by one; those in tags have not.
void TagPositions::CountTo(const char* place) {
  const char* line = counted_;
  if (may_break_) {
    const auto length = static_cast<std::size_t>(place - counted_);
    const char* p = counted_;
    if (std::memchr(p, '\r', length) == nullptr) {
      while ((p = Find(p, place, '\n')) != nullptr) {
        ++at_.line;
        line = ++p;
      }
    } else {
      for (; p < place; ++p) {
        if (*p == '\n' || (*p == '\r' && p[1] != '\n')) {
          ++at_.line;
          line = p + 1;
        }
      }
    }
  }
  at_.column = line != counted_ ? 0 : at_.column;
  at_.column += static_cast<int>(place - line - std::count_if(line, place, IsContinuation));
  counted_ = place;
  may_break_ = false;
}

void TagPositions::LineEndBefore(const char* place) {
  if (may_break_ && place < end_) {
    CountTo(place);
  } else if (!may_break_) {
    ++at_.line;
    at_.column = 0;
    counted_ = place;
  }
}

// The place in the text of a position behind the last one that is known; null if there is none.
const char* TagPositions::PlaceOf(const TagPosition& position) {
  TagPosition at = at_;
  const char* p = counted_;
  while (at.line < position.line) {
    while (p < end_ && *p != '\n' && *p != '\r') {
      ++p;
    }
    if (p == end_) {
      return nullptr;
    }
    p += *p == '\r' && end_ - p > 1 && p[1] == '\n' ? 2 : 1;
    ++at.line;
    at.column = 0;
  }
  while (p < end_ && (at.column < position.column || IsContinuation(*p))) {
    at.column += IsContinuation(*p) ? 0 : 1;
    ++p;
  }
  return at.line == position.line && at.column == position.column ? p : nullptr;
}

bool TagPositions::HasDocumentType(const char* place) const {
  return std::string_view(begin_, static_cast<std::size_t>(place - begin_)).find("<!DOCTYPE") !=
         std::string_view::npos;
}

TagPosition TagPositions::Ask(const char* name, std::size_t length) {
  const TagPosition position{static_cast<int>(expat_.GetCurrentLineNumber(expat_.parser)),
                             static_cast<int>(expat_.GetCurrentColumnNumber(expat_.parser))};
  in_empty_tag_ = false;
  next_ = nullptr;
  if (can_follow_) {
    const bool first = counted_ == begin_;
    const char* place = PlaceOf(position);
    // A document type can hold entities, whose elements have no place of their own.
    can_follow_ =
        place != nullptr && IsTagAt(place, name, length) && !(first && HasDocumentType(place));
    if (can_follow_) {
      counted_ = place;
      at_ = position;
      next_ = place + 1 + length;
    }
  }
  in_step_ = next_ != nullptr;
  return position;
}

TagPosition TagPositions::StartTag(const char* name, std::size_t length) {
  SkipSilentTokens();
  if (next_ == nullptr || !IsTagAt(next_, name, length)) {
    return Ask(name, length);
  }
  CountTo(next_);
  next_ += 1 + length;
  in_step_ = true;
  return at_;
}

void TagPositions::EndTag() {
  if (in_empty_tag_) {
    in_empty_tag_ = false;
    return;
  }
  SkipSilentTokens();
  may_break_ = true;
  if (next_ != nullptr) {
    if (IsAt("</", 2)) {
      const char* const end = Find(next_, end_, '>');
      next_ = end != nullptr ? end + 1 : nullptr;
    } else {
      next_ = nullptr;
    }
  }
}

void TagPositions::OtherCharacters(const char* bytes, std::size_t count) {
  if (next_ != nullptr && next_ != end_ && *next_ == '<') {
    SkipSilentTokens();
  }
  if (next_ == nullptr || next_ == end_) {
    return;
  }
  const char c = *next_;
  if (c == '\r' || c == '\n') {
    next_ += c == '\r' && end_ - next_ > 1 && next_[1] == '\n' ? 2 : 1;
    LineEndBefore(next_);
    if (count != 1 || *bytes != '\n') {
      next_ = nullptr;
    }
  } else if (c == '&') {
    if (!SkipReference()) {
      next_ = nullptr;
    }
  } else if (c != '<' && IsAt(bytes, count)) {
    next_ += count;
  } else {
    next_ = nullptr;
  }
}

}  // namespace kr
