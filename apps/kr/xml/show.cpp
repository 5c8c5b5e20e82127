// kr xml find and stats.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>
#include <unordered_set>

#include "krdcmmn/host/codepage.h"

#include "apps/common/errors.h"
#include "apps/kr/xml/files.h"
#include "apps/kr/xml/operations.h"

namespace kr_app {
namespace {

// A text of the document for a line of output: UTF-8, runs of white space and control characters as
// one blank, none at the ends.
std::string Shown(const char* ansi) {
  const std::string text = AnsiToUtf8(ansi, static_cast<unsigned>(std::strlen(ansi)));
  std::string shown;
  for (const char c : text) {
    if (static_cast<unsigned char>(c) > ' ' && c != '\x7f') {
      shown += c;
    } else if (!shown.empty() && shown.back() != ' ') {
      shown += ' ';
    }
  }
  if (!shown.empty() && shown.back() == ' ') {
    shown.pop_back();
  }
  return shown;
}

void Print(kr::XmlNodeConst node) {
  // Places belong to handles that can change the document; here nothing does.
  struct Placed : kr::XmlNode {
    explicit Placed(const kr::XmlNodeConst& other) : kr::XmlNode(other) {}
  };
  const Placed placed(node);
  std::printf("%d:%d %s", placed.line(), placed.Pos() + 1, node.name());
  for (kr::XmlAttrConst attr = node.attrs(); !attr.end(); ++attr) {
    std::printf(" %s=\"%s\"", attr.name(), Shown(attr.data()).c_str());
  }
  const std::string text = Shown(node.data());
  std::printf("%s%s\n", text.empty() ? "" : ": ", text.c_str());
}

// Bytes of this process that are in memory; 0 where the host does not tell.
std::uint64_t ResidentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::uint64_t pages = 0;
  std::uint64_t resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

void Row(const char* what, double value, const char* unit, int digits = 0) {
  std::printf("%-12s%14.*f %s\n", what, digits, value, unit);
}

}  // namespace

void XmlFind(const std::string& in, const std::string& name, const FindOptions& options) {
  std::string attr_name;
  std::string attr_value;
  if (options.attribute) {
    const std::size_t equals = options.attribute->find('=');
    if (equals == std::string::npos) {
      throw Failure("--attr takes NAME=VALUE, not " + *options.attribute);
    }
    attr_name = options.attribute->substr(0, equals);
    attr_value = options.attribute->substr(equals + 1);
  }
  kr::XmlDocument doc;
  Naming(in, [&] { ReadXml(in, doc); });
  bool found = false;
  WalkXml(doc.Root(), [&](const kr::XmlNodeConst& node, int) {
    if (!node.isNameEq(name.c_str())) {
      return true;
    }
    if (options.attribute) {
      const kr::XmlAttrConst attr = node.findAttrConst(attr_name.c_str());
      if (attr.end() ||
          AnsiToUtf8(attr.data(), static_cast<unsigned>(std::strlen(attr.data()))) != attr_value) {
        return true;
      }
    }
    Print(node);
    found = true;
    return options.all;
  });
  if (!found) {
    throw Failure(in + ": no element " + name +
                  (options.attribute ? " with " + *options.attribute : ""));
  }
}

void XmlStats(const std::string& in) {
  const std::uint64_t before = ResidentBytes();
  const auto begin = std::chrono::steady_clock::now();
  kr::XmlDocument doc;
  Naming(in, [&] { ReadXml(in, doc); });
  const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
  const std::uint64_t after = ResidentBytes();

  double elements = 0;
  double attributes = 0;
  double text = 0;
  int deepest = 0;
  std::unordered_set<const char*> names;  // the document holds each name once
  WalkXml(doc.Root(), [&](const kr::XmlNodeConst& node, int depth) {
    ++elements;
    deepest = std::max(deepest, depth);
    names.insert(node.name());
    text += static_cast<double>(std::strlen(node.data()));
    for (kr::XmlAttrConst attr = node.attrs(); !attr.end(); ++attr) {
      ++attributes;
      names.insert(attr.name());
      text += static_cast<double>(std::strlen(attr.data()));
    }
    return true;
  });
  const double memory = after > before ? static_cast<double>(after - before) : 0;
  Row("elements", elements, "");
  Row("attributes", attributes, "");
  Row("names", static_cast<double>(names.size()), "");
  Row("text", text, "bytes");
  Row("depth", deepest, "");
  Row("memory", memory / 1024, "KiB");
  Row("time", time.count() * 1000, "ms", 1);
}

}  // namespace kr_app
