// What tests of the XML room share: texts parsed and documents written.
#pragma once

#include <gtest/gtest.h>
#include <string>

#include "krdcmmn/xml/parse.h"
#include "krdcmmn/xml/write.h"

#include "tests/support/temp_dir.h"
#include "tests/xml/dump.h"

namespace krtest {

// Parses and gives the parser's verdict; what it prints is dropped.
inline bool Parse(const std::string& text, kr::XmlDocument& doc) {
  testing::internal::CaptureStdout();
  bool parsed = false;
  try {
    parsed = kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  } catch (...) {
    testing::internal::GetCapturedStdout();
    throw;
  }
  testing::internal::GetCapturedStdout();
  return parsed;
}

// The parser keeps text that a rejected parse left unused; this takes it away.
inline void ForgetText() {
  kr::XmlDocument doc;
  Parse("<a/>", doc);
}

inline std::string Parsed(const std::string& text, Places places = Places::kNo) {
  kr::XmlDocument doc;
  const bool parsed = Parse(text, doc);
  if (!parsed) {
    ForgetText();
  }
  return (parsed ? "" : "rejected: ") + Dump(doc, places);
}

inline std::string Written(const kr::XmlDocument& doc) {
  const TempDir dir;
  EXPECT_TRUE(kr::WriteXMLDocument(dir.file("out.xml").c_str(), doc));
  return ReadBytes(dir.file("out.xml"));
}

}  // namespace krtest
