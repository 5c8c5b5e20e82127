// Small drawings as DXF text, written by the tests.
#pragma once

#include <cstdio>
#include <initializer_list>
#include <string>
#include <utility>

namespace krtest {

// One entity: its kind and its groups.
inline std::string Entity(const std::string& kind,
                          std::initializer_list<std::pair<int, std::string>> groups) {
  std::string text = "0\n" + kind + "\n";
  for (const auto& [code, value] : groups) {
    text += std::to_string(code) + "\n" + value + "\n";
  }
  return text;
}

inline std::string LineEntity(const std::string& x1, const std::string& y1, const std::string& x2,
                              const std::string& y2) {
  return Entity("LINE", {{8, "0"}, {10, x1}, {20, y1}, {11, x2}, {21, y2}});
}

inline std::string Section(const std::string& name, const std::string& content) {
  return "0\nSECTION\n2\n" + name + "\n" + content + "0\nENDSEC\n";
}

inline std::string BlockOf(const std::string& name, const std::string& content,
                           const std::string& base_x = "0", const std::string& base_y = "0") {
  return Entity("BLOCK", {{2, name}, {10, base_x}, {20, base_y}}) + content + "0\nENDBLK\n";
}

// A whole file.
inline std::string Dxf(const std::string& entities, const std::string& blocks = "",
                       const std::string& tables = "", int units = 4) {
  return Section("HEADER",
                 "9\n$ACADVER\n1\nAC1021\n9\n$INSUNITS\n70\n" + std::to_string(units) + "\n") +
         Section("TABLES", tables) + Section("BLOCKS", blocks) + Section("ENTITIES", entities) +
         "0\nEOF\n";
}

}  // namespace krtest
