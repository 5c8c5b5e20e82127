#include "krdcmmn/xml/builder.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/platform/codepage.h"

namespace kr {

namespace {

// Bytes that arrays grow by; the host brings pieces up to 64 KiB into memory in one go.
constexpr std::size_t kLeastGrowth = 0x100;
constexpr std::size_t kMostGrowth = 0xc000;
constexpr std::size_t kMostBytes = 1000000000;    // of an array
constexpr std::size_t kBeyondLimit = 0x7fffffff;  // more than any array takes, for its refusal

// A way to the two arrays of a text table.
struct TextTable : KRD::BASE_TEXT {
  using KRD::BASE_TEXT::offsets;
  using KRD::BASE_TEXT::pool;

  static KRD::TARRAY<std::int32_t>& Offsets(KRD::BASE_TEXT& texts) {
    return texts.*(&TextTable::offsets);
  }
  static KRD::TARRAY<char>& Pool(KRD::BASE_TEXT& texts) { return texts.*(&TextTable::pool); }
};

template <class Word>
Word CopyWord(char* to, const char* from) {
  Word word;
  std::memcpy(&word, from, sizeof(word));
  std::memcpy(to, &word, sizeof(word));
  return word;
}

// Copies `length` bytes and tells whether all of them are ASCII. The last words may overlap.
bool CopyIfAscii(char* to, const char* text, std::size_t length) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080u;
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  constexpr std::size_t kHalf = sizeof(std::uint32_t);
  std::uint64_t bits = 0;
  if (length >= kWord) {
    for (std::size_t at = 0; at < length - kWord; at += kWord) {
      bits |= CopyWord<std::uint64_t>(to + at, text + at);
    }
    bits |= CopyWord<std::uint64_t>(to + length - kWord, text + length - kWord);
  } else if (length >= kHalf) {
    bits = CopyWord<std::uint32_t>(to, text);
    bits |= CopyWord<std::uint32_t>(to + length - kHalf, text + length - kHalf);
  } else {
    for (std::size_t at = 0; at < length; ++at) {
      bits |= CopyWord<unsigned char>(to + at, text + at);
    }
  }
  return (bits & kHighBits) == 0;
}

// A count that holds `need` and leaves room for more, inside the limits of an array while `need`
// itself is.
std::size_t Grown(std::size_t need, std::size_t size_elem) {
  const std::size_t room =
      need + std::clamp(need / 8, kLeastGrowth / size_elem, kMostGrowth / size_elem);
  return std::min(kBeyondLimit, std::max(need, std::min(room, kMostBytes / size_elem)));
}

// The same for one element more of an integer array; an offset array has an element more still.
unsigned GrownCount(int count) {
  return static_cast<unsigned>(Grown(static_cast<std::size_t>(count) + 2, sizeof(std::int32_t)) -
                               1);
}

std::int32_t* Grow(KRD::TARRAY<std::int32_t>& array, unsigned count) {
  array.setNElem(count);
  return array.begin();
}

}  // namespace

XmlBuilder::XmlBuilder(XmlDocument& doc)
    : doc_(doc),
      ascii_stays_(AnsiHoldsAscii() != FALSE),
      first_new_(doc.NodeSlots()),
      node_count_(doc.NodeSlots()),
      node_room_(node_count_),
      attr_count_(doc.AttrSlots()),
      attr_room_(attr_count_),
      texts_{TextTable::Pool(doc.nodeData), 0},
      values_{TextTable::Pool(doc.attrData), 0},
      frames_{Frame{doc.root, 0, false}} {
  by_address_.fill({-1, 0});
  by_text_.fill({-1, 0});
}

XmlBuilder::Name XmlBuilder::NameOf(const char* name) {
  Name& known = by_address_[(reinterpret_cast<std::uintptr_t>(name) >> 3) % by_address_.size()];
  if (known.id < 0 || std::strcmp(doc_.Name(known.id), name) != 0) {
    known = HashedName(name);
  }
  return known;
}

XmlBuilder::Name XmlBuilder::HashedName(const char* name) {
  const std::size_t length = std::strlen(name);
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(name[i]); };
  const std::size_t hash =
      length == 0 ? 0 : length * 7 + byte(0) * 31u + byte(length / 2) * 5u + byte(length - 1);
  Name& known = by_text_[hash % by_text_.size()];
  if (known.id < 0 || std::strcmp(doc_.Name(known.id), name) != 0) {
    known = {doc_.names.add(name), static_cast<std::uint32_t>(length)};
  }
  return known;
}

void XmlBuilder::Reserve(Pool& pool, std::size_t size) {
  const std::size_t need = pool.used + size;
  if (need > pool.array.count()) {
    pool.array.setNElem(static_cast<unsigned>(Grown(need, 1)));
  }
}

void XmlBuilder::Append(Pool& pool, const char* text, std::size_t length) {
  Reserve(pool, length + 1);
  char* const to = pool.array.begin() + pool.used;
  std::memcpy(to, text, length);
  to[length] = '\0';
  pool.used += length + 1;
}

// The same for UTF-8 text, which is appended in the ANSI code page.
void XmlBuilder::AppendUtf8(Pool& pool, const char* text, std::size_t length) {
  Reserve(pool, length + 1);
  char* const to = pool.array.begin() + pool.used;
  if (ascii_stays_ && CopyIfAscii(to, text, length)) {
    to[length] = '\0';
    pool.used += length + 1;
  } else {
    const std::string ansi = Utf8ToAnsi(text, static_cast<unsigned>(length));
    Append(pool, ansi.data(), ansi.size());
  }
}

void XmlBuilder::GrowNodes() {
  if (nodes_.name == nullptr) {
    texts_.used = texts_.array.count();
  }
  const unsigned room = GrownCount(node_count_);
  nodes_ = {Grow(doc_.nodeName, room),
            Grow(doc_.nodeNext, room),
            Grow(doc_.nodeChild, room),
            Grow(doc_.nodeLastChild, room),
            Grow(doc_.nodeAttrs, room),
            Grow(doc_.nodeLastAttr, room),
            Grow(doc_.nodeLine, room),
            Grow(doc_.nodePos, room),
            Grow(TextTable::Offsets(doc_.nodeData), room + 1)};
  node_room_ = static_cast<int>(room);
}

void XmlBuilder::GrowAttrs() {
  if (attrs_.name == nullptr) {
    values_.used = values_.array.count();
  }
  const unsigned room = GrownCount(attr_count_);
  attrs_ = {Grow(doc_.attrNext, room), Grow(doc_.attrName, room),
            Grow(TextTable::Offsets(doc_.attrData), room + 1)};
  attr_room_ = static_cast<int>(room);
}

// Free slots are used up before the first new one, so that the arrays grow under this object's
// hands alone.
int XmlBuilder::Open(int name_id, int line, int pos) {
  const int parent = frames_.back().node;
  const int node = doc_.freeNodes >= 0 ? doc_.AddNode(parent, name_id, line, pos)
                                       : AppendNode(parent, name_id, line, pos);
  frames_.push_back({node, static_cast<std::uint32_t>(open_text_.size()), false});
  return node;
}

int XmlBuilder::AppendNode(int parent, int name_id, int line, int pos) {
  if (node_count_ == node_room_) {
    GrowNodes();
  }
  Append(texts_, "", 0);
  const int id = node_count_++;
  nodes_.name[id] = name_id;
  nodes_.next[id] = -1;
  nodes_.child[id] = -1;
  nodes_.last_child[id] = -1;
  nodes_.attrs[id] = -1;
  nodes_.last_attr[id] = -1;
  nodes_.line[id] = line;
  nodes_.pos[id] = pos;
  nodes_.text[id + 1] = static_cast<std::int32_t>(texts_.used);
  const int last = nodes_.last_child[parent];
  (last >= 0 ? nodes_.next[last] : nodes_.child[parent]) = id;
  nodes_.last_child[parent] = id;
  return id;
}

void XmlBuilder::Attr(int name_id, const char* value, std::size_t length) {
  const int node = frames_.back().node;
  if (doc_.freeAttrs >= 0) {
    doc_.AddAttr(node, name_id, Utf8ToAnsi(value, static_cast<unsigned>(length)).c_str());
    return;
  }
  if (attr_count_ == attr_room_) {
    GrowAttrs();
  }
  AppendUtf8(values_, value, length);
  const int id = attr_count_++;
  attrs_.next[id] = -1;
  attrs_.name[id] = name_id;
  attrs_.value[id + 1] = static_cast<std::int32_t>(values_.used);
  std::int32_t& last = XmlDocument::At(doc_.nodeLastAttr, node);
  (last >= 0 ? attrs_.next[last] : XmlDocument::At(doc_.nodeAttrs, node)) = id;
  last = id;
}

void XmlBuilder::Text(const char* text, std::size_t length) {
  if (length == 0) {
    return;
  }
  Frame& frame = frames_.back();
  open_text_.resize(frame.mark + length);
  char* const to = open_text_.data() + frame.mark;
  if (!ascii_stays_ || !CopyIfAscii(to, text, length)) {
    const std::string ansi = Utf8ToAnsi(text, static_cast<unsigned>(length));
    open_text_.resize(frame.mark + ansi.size());
    std::copy(ansi.begin(), ansi.end(), to);
  }
  frame.changed = true;
}

// A new element without children is the last one in the pool: its text goes there at once, in the
// place of the terminator that it has. Before a child it had no text that is still its own.
void XmlBuilder::Close(const char* text, std::size_t length) {
  const int node = frames_.back().node;
  if (node == node_count_ - 1 && node >= first_new_) {
    if (length != 0) {
      Pool own = {texts_.array, texts_.used - 1};
      AppendUtf8(own, text, length);
      texts_.used = own.used;
      nodes_.text[node + 1] = static_cast<std::int32_t>(texts_.used);
    }
  } else {
    Text(text, length);
    Wait(frames_.back(), open_text_.size());
  }
  frames_.pop_back();
  open_text_.resize(frames_.back().mark);
  frames_.back().changed = true;
}

// A new slot has the empty text already.
void XmlBuilder::Wait(const Frame& frame, std::size_t end) {
  const bool is_new = frame.node >= first_new_;
  if (!frame.changed || (is_new && end == frame.mark)) {
    return;
  }
  const auto begin = open_text_.begin() + static_cast<std::ptrdiff_t>(frame.mark);
  const auto start = static_cast<std::uint32_t>(waiting_text_.size());
  waiting_text_.insert(waiting_text_.end(), begin,
                       open_text_.begin() + static_cast<std::ptrdiff_t>(end));
  waiting_.push_back({frame.node, start, static_cast<std::uint32_t>(end - frame.mark)});
}

void XmlBuilder::Finish() {
  Trim();
  std::size_t end = open_text_.size();
  while (!frames_.empty()) {
    Wait(frames_.back(), end);
    end = frames_.back().mark;
    frames_.pop_back();
  }
  PutWaitingTexts();
}

void XmlBuilder::Trim() {
  if (nodes_.name != nullptr) {
    const auto count = static_cast<unsigned>(node_count_);
    for (INTS* array : {&doc_.nodeName, &doc_.nodeNext, &doc_.nodeChild, &doc_.nodeLastChild,
                        &doc_.nodeAttrs, &doc_.nodeLastAttr, &doc_.nodeLine, &doc_.nodePos}) {
      array->setNElem(count);
    }
    TextTable::Offsets(doc_.nodeData).setNElem(count + 1);
    texts_.array.setNElem(static_cast<unsigned>(texts_.used));
  }
  if (attrs_.name != nullptr) {
    const auto count = static_cast<unsigned>(attr_count_);
    doc_.attrNext.setNElem(count);
    doc_.attrName.setNElem(count);
    TextTable::Offsets(doc_.attrData).setNElem(count + 1);
    values_.array.setNElem(static_cast<unsigned>(values_.used));
  }
}

// From the last string to the first, each moves to its place behind the texts that come in front of
// it. A new string that waits for its text has only its terminator.
void XmlBuilder::PutWaitingTexts() {
  std::vector<std::int32_t> waiting_of(static_cast<std::size_t>(node_count_ - first_new_), -1);
  std::size_t growth = 0;
  for (std::size_t i = 0; i < waiting_.size(); ++i) {
    const Waiting& waiting = waiting_[i];
    if (waiting.node >= first_new_) {
      waiting_of[static_cast<std::size_t>(waiting.node - first_new_)] =
          static_cast<std::int32_t>(i);
      growth += waiting.length;
    } else {
      const std::string text(waiting_text_.data() + waiting.start, waiting.length);
      doc_.SetData(waiting.node, text.c_str());
    }
  }
  if (growth == 0) {
    return;
  }
  // Of the strings that have not moved yet; the old texts above may have moved the new ones.
  std::size_t end = texts_.array.count();
  texts_.array.setNElem(static_cast<unsigned>(std::min(end + growth, kBeyondLimit)));
  char* const pool = texts_.array.begin();
  std::int32_t* const offsets = TextTable::Offsets(doc_.nodeData).begin();
  for (int node = node_count_ - 1; growth > 0; --node) {
    const auto start = static_cast<std::size_t>(offsets[node]);
    offsets[node + 1] += static_cast<std::int32_t>(growth);
    const std::int32_t i = waiting_of[static_cast<std::size_t>(node - first_new_)];
    if (i >= 0) {
      const Waiting& waiting = waiting_[static_cast<std::size_t>(i)];
      std::memmove(pool + start + 1 + growth, pool + start + 1, end - start - 1);
      end = start;
      growth -= waiting.length;
      char* const to = pool + start + growth;
      std::memcpy(to, waiting_text_.data() + waiting.start, waiting.length);
      to[waiting.length] = '\0';
    }
  }
}

}  // namespace kr
