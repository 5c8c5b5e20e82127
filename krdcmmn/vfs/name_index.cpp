#include "krdcmmn/vfs/name_index.h"

#include <algorithm>

#include "krdcmmn/platform/codepage.h"

namespace KRD {
namespace {

constexpr std::size_t kFirstBuckets = 256;

}  // namespace

// FNV-1a over the upper-case name and the directory.
std::uint32_t NAME_INDEX::hashOf(const char* name, int dir) {
  std::uint32_t hash = 2166136261u;
  const auto mix = [&hash](std::uint32_t byte) { hash = (hash ^ byte) * 16777619u; };
  for (; *name != 0; ++name) {
    mix(AnsiUpper(static_cast<unsigned char>(*name)));
  }
  const auto d = static_cast<std::uint32_t>(dir);
  mix(d & 0xff);
  mix(d >> 8 & 0xff);
  mix(d >> 16 & 0xff);
  mix(d >> 24);
  return hash ^ hash >> 15;
}

// At the head of its bucket, so that of one name the head of the list comes first.
void NAME_INDEX::insert(int index, int dir) {
  if (!valid_) {
    return;
  }
  const auto at = static_cast<std::size_t>(index);
  if (at >= nodes_.size()) {
    nodes_.resize(std::max(entries_.size(), at + 1));
  }
  if (listed_ >= buckets_.size()) {
    grow();
  }
  NODE& node = nodes_[at];
  node.hash = hashOf(entry(index).name, dir);
  node.dir = dir;
  node.next = bucket(node.hash);
  node.listed = true;
  bucket(node.hash) = index;
  ++listed_;
}

void NAME_INDEX::erase(int index) {
  const auto at = static_cast<std::size_t>(index);
  if (!valid_ || at >= nodes_.size() || !nodes_[at].listed) {
    return;
  }
  int* link = &bucket(nodes_[at].hash);
  while (*link >= 0 && *link != index) {
    link = &nodes_[static_cast<std::size_t>(*link)].next;
  }
  if (*link == index) {
    *link = nodes_[at].next;
  }
  nodes_[at].listed = false;
  --listed_;
}

int NAME_INDEX::find(const char* name, int dir, int first_root) {
  if (!valid_) {
    build(first_root);
  }
  const std::uint32_t hash = hashOf(name, dir);
  for (int i = bucket(hash); i >= 0;) {
    const NODE& node = nodes_[static_cast<std::size_t>(i)];
    const int next = node.next;
    const bool same = node.hash == hash && node.dir == dir;
    if (same && !IsVisible(entry(i).state)) {
      erase(i);  // it will not be seen again, and need not be walked over again
    } else if (same && _mbsicmp(entry(i).name, name) == 0) {
      return i;
    }
    i = next;
  }
  return -1;
}

void NAME_INDEX::build(int first_root) {
  std::size_t size = kFirstBuckets;
  while (size < entries_.size()) {
    size *= 2;
  }
  buckets_.assign(size, -1);
  nodes_.assign(entries_.size(), NODE());
  listed_ = 0;
  valid_ = true;
  std::vector<int> scratch;
  addDirectory(first_root, -1, scratch);
  for (std::size_t dir = 0; dir < entries_.size(); ++dir) {
    addDirectory(entries_[dir]->firstEntry, static_cast<int>(dir), scratch);
  }
}

// From the list's tail to its head. An entry is taken once, so a list that runs in a circle ends.
void NAME_INDEX::addDirectory(int head, int dir, std::vector<int>& scratch) {
  scratch.clear();
  for (int i = head; i >= 0 && static_cast<std::size_t>(i) < entries_.size();
       i = entry(i).nextEntry) {
    NODE& node = nodes_[static_cast<std::size_t>(i)];
    if (node.listed) {
      break;
    }
    node.listed = true;
    scratch.push_back(i);
  }
  for (auto i = scratch.rbegin(); i != scratch.rend(); ++i) {
    insert(*i, dir);
  }
}

void NAME_INDEX::grow() {
  std::vector<int> old(buckets_.size() * 2, -1);
  old.swap(buckets_);
  // Each old bucket is taken from its end, which keeps the order inside the new ones.
  std::vector<int> chain;
  for (int head : old) {
    chain.clear();
    for (int i = head; i >= 0; i = nodes_[static_cast<std::size_t>(i)].next) {
      chain.push_back(i);
    }
    for (auto i = chain.rbegin(); i != chain.rend(); ++i) {
      NODE& node = nodes_[static_cast<std::size_t>(*i)];
      node.next = bucket(node.hash);
      bucket(node.hash) = *i;
    }
  }
}

}  // namespace KRD
