// The index of HASH_TEXT in its plainest form, to hold the real one against: strings, chains and
// buckets in vectors, every step by its rule and none of them fast.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace krtest {

class PlainIndex {
 public:
  explicit PlainIndex(bool ignore_case) : ignore_case_(ignore_case) {}

  std::vector<std::string> strings;
  std::vector<int> chain;
  std::vector<int> buckets;

  int find(const std::string& text) {
    if (strings.empty()) {
      return -1;
    }
    if (buckets.empty()) {
      rebuild(0);
    }
    int before;
    return walk(text, &before);
  }

  // Whether `text` was new is the second of the pair.
  std::pair<int, bool> add(const std::string& text) {
    if (buckets.size() <= strings.size()) {
      rebuild(0);
    }
    int before;
    const int found = walk(text, &before);
    if (found >= 0) {
      return {found, false};
    }
    strings.push_back(text);
    chain.resize(strings.size(), -1);
    int& head = buckets[bucket(text)];
    chain.back() = head;
    head = static_cast<int>(strings.size()) - 1;
    return {head, true};
  }

  int del(const std::string& text) {
    const int id = find(text);
    if (id < 0) {
      return -1;
    }
    int before;
    walk(text, &before);
    (before < 0 ? buckets[bucket(text)] : at(chain, before)) = at(chain, id);
    strings.erase(strings.begin() + id);
    chain.erase(chain.begin() + id);
    for (auto* ids : {&buckets, &chain}) {
      for (int& other : *ids) {
        other -= other > id;
      }
    }
    return id;
  }

  void rebuild(int size) {
    const int count = std::max(size, static_cast<int>(strings.size()));
    chain.assign(strings.size(), -1);
    buckets.assign(static_cast<std::size_t>((2 * count + 64) | 1), -1);
    for (std::size_t i = 0; i < strings.size(); ++i) {
      int last;
      if (strings[i].empty() || walk(strings[i], &last) >= 0) {
        continue;
      }
      (last < 0 ? buckets[bucket(strings[i])] : at(chain, last)) = static_cast<int>(i);
    }
  }

  void empty() {
    strings.clear();
    chain.clear();
    buckets.clear();
  }

 private:
  static int& at(std::vector<int>& ids, int i) { return ids[static_cast<std::size_t>(i)]; }

  std::string folded(std::string text) const {
    for (char& c : text) {
      c = ignore_case_ && c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
    }
    return text;
  }

  std::size_t bucket(const std::string& text) const {
    std::uint32_t h = 0x0decabac;
    for (const char c : folded(text)) {
      h = (h << 1 | h >> 31) + static_cast<std::uint32_t>(static_cast<signed char>(c));
    }
    return h % buckets.size();
  }

  int walk(const std::string& text, int* before) {
    *before = -1;
    int id = buckets[bucket(text)];
    while (id >= 0 && folded(strings[static_cast<std::size_t>(id)]) != folded(text)) {
      *before = id;
      id = at(chain, id);
    }
    return id;
  }

  bool ignore_case_;
};

}  // namespace krtest
