// What does a document cost beside the parser alone, how much memory does it take, and how do
// writing and merging scale? Peers in the same run: expat with empty handlers, pugixml, tinyxml2,
// libxml2.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdio>
#include <expat.h>
#include <filesystem>
#include <fstream>
#include <libxml/parser.h>
#include <malloc.h>
#include <pugixml.hpp>
#include <string>
#include <tinyxml2.h>
#include <unistd.h>

#include "krdcmmn/xml/parse.h"
#include "krdcmmn/xml/write.h"

#include "tests/support/temp_dir.h"

namespace {

// 126 bytes an element: three attributes, a short text, a line each.
std::string Elements(int count) {
  std::string text = "<?xml version=\"1.0\"?>\n<root>\n";
  char line[256];
  for (int i = 0; i < count; ++i) {
    std::snprintf(line, sizeof line,
                  "  <element identifier=\"item-%07d\" category=\"category number %d\" "
                  "description=\"some words about it\">value of %d</element>\n",
                  i, i % 17, i);
    text += line;
  }
  return text + "</root>\n";
}

// 100 bytes a level, 200,000 levels.
std::string Levels() {
  std::string text;
  std::string ends;
  char line[256];
  for (int i = 0; text.size() + ends.size() < 20000000; ++i) {
    std::snprintf(
        line, sizeof line,
        "<section id=\"section-%06d\" title=\"Title of section %d\" class=\"numbered\">\n", i, i);
    text += line;
    ends += "</section>\n";
  }
  return text + ends;
}

// 2400 bytes an element, lines of 60.
std::string Texts() {
  std::string text = "<doc>\n";
  while (text.size() < 30000000) {
    text += "<p>";
    for (int i = 0; i < 40; ++i) {
      text += "Some words of a text that goes on &amp; on, line after line.\n";
    }
    text += "</p>\n";
  }
  return text + "</doc>\n";
}

const std::string& Text(std::int64_t kind) {
  static const std::string texts[] = {Elements(400000), Levels(), Texts(), Elements(40000)};
  return texts[kind];
}

constexpr const char* kKinds[] = {"elements", "deep", "texts", "elements/10"};

void Label(benchmark::State& state) {
  state.SetLabel(kKinds[state.range(0)]);
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(Text(state.range(0)).size()));
}

void ParserAlone(benchmark::State& state) {
  const std::string& text = Text(state.range(0));
  for (auto _ : state) {
    XML_Parser parser = XML_ParserCreate(nullptr);
    XML_SetElementHandler(
        parser, [](void*, const char*, const char**) {}, [](void*, const char*) {});
    XML_SetCharacterDataHandler(parser, [](void*, const char*, int) {});
    if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), 1) != XML_STATUS_OK) {
      state.SkipWithError("rejected");
    }
    XML_ParserFree(parser);
  }
  Label(state);
}

double ResidentBytes() {
  malloc_trim(0);
  std::ifstream statm("/proc/self/statm");
  double pages = 0;
  double resident = 0;
  statm >> pages >> resident;
  return resident * static_cast<double>(sysconf(_SC_PAGESIZE));
}

// The document's end does not count. With the kind kMemory one parse is made, to see what the
// document of the first text keeps in memory.
constexpr std::int64_t kMemory = -1;

template <class Document, class Parse>
void ParseWith(benchmark::State& state, Parse parse) {
  const bool memory = state.range(0) == kMemory;
  const std::string& text = Text(memory ? 0 : state.range(0));
  const double before = memory ? ResidentBytes() : 0;
  auto document = std::make_unique<Document>();
  for (auto _ : state) {
    if (!parse(*document, text)) {
      state.SkipWithError("rejected");
    }
    state.PauseTiming();
    if (memory) {
      state.counters["bytes_per_element"] = (ResidentBytes() - before) / 400000;
    }
    document = std::make_unique<Document>();
    state.ResumeTiming();
  }
  if (!memory) {
    Label(state);
  }
}

void Krdcmmn(benchmark::State& state) {
  ParseWith<kr::XmlDocument>(state, [](kr::XmlDocument& doc, const std::string& text) {
    return kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  });
}

void Pugixml(benchmark::State& state) {
  ParseWith<pugi::xml_document>(state, [](pugi::xml_document& doc, const std::string& text) {
    return static_cast<bool>(
        doc.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata));
  });
}

// Both of these refuse levels beyond a few hundred or use the stack for them.
void Tinyxml2(benchmark::State& state) {
  ParseWith<tinyxml2::XMLDocument>(state, [](tinyxml2::XMLDocument& doc, const std::string& text) {
    return doc.Parse(text.data(), text.size()) == tinyxml2::XML_SUCCESS;
  });
}

struct Libxml2Document {
  ~Libxml2Document() { xmlFreeDoc(doc); }
  xmlDocPtr doc = nullptr;
};

void Libxml2(benchmark::State& state) {
  ParseWith<Libxml2Document>(state, [](Libxml2Document& document, const std::string& text) {
    document.doc = xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                 XML_PARSE_HUGE | XML_PARSE_NOERROR);
    return document.doc != nullptr;
  });
}

BENCHMARK(ParserAlone)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(Krdcmmn)->Arg(kMemory)->Iterations(1);
BENCHMARK(Krdcmmn)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(Pugixml)->Arg(kMemory)->Iterations(1);
BENCHMARK(Pugixml)->DenseRange(0, 3)->Unit(benchmark::kMillisecond);
BENCHMARK(Tinyxml2)->Arg(kMemory)->Iterations(1);
BENCHMARK(Tinyxml2)->Arg(0)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);
BENCHMARK(Libxml2)->Arg(kMemory)->Iterations(1);
BENCHMARK(Libxml2)->Arg(0)->Arg(2)->Arg(3)->Unit(benchmark::kMillisecond);

// Saving to a file; output bytes a second.

void WriteKrdcmmn(benchmark::State& state) {
  const krtest::TempDir dir;
  const std::string& text = Text(state.range(0));
  kr::XmlDocument doc;
  kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  for (auto _ : state) {
    kr::WriteXMLDocument(dir.file("out.xml").c_str(), doc);
  }
  state.SetLabel(kKinds[state.range(0)]);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(
                                                   dir.file("out.xml"))));
}

void WritePugixml(benchmark::State& state) {
  const krtest::TempDir dir;
  const std::string& text = Text(state.range(0));
  pugi::xml_document doc;
  doc.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_ws_pcdata);
  for (auto _ : state) {
    doc.save_file(dir.file("out.xml").c_str(), "", pugi::format_raw);
  }
  state.SetLabel(kKinds[state.range(0)]);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(std::filesystem::file_size(
                                                   dir.file("out.xml"))));
}

BENCHMARK(WriteKrdcmmn)->DenseRange(0, 2)->Unit(benchmark::kMillisecond);
BENCHMARK(WritePugixml)->Arg(0)->Arg(2)->Unit(benchmark::kMillisecond);

// Two trees of N siblings that differ in an attribute. The second argument is what of them is the
// same: 0 all in one order, 1 all in opposite orders, 2 every other one.
void Merge(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  const auto tree = [&](kr::XmlDocument& doc, bool reference) {
    for (int i = 0; i < count; ++i) {
      int key = i;
      if (reference) {
        key = state.range(1) == 1 ? count - 1 - i : state.range(1) == 2 ? i * 2 : i;
      }
      doc.Root().addNode("item", 0, 0).addAttr("key", std::to_string(key).c_str());
    }
  };
  kr::XmlDocument reference;
  tree(reference, true);
  for (auto _ : state) {
    state.PauseTiming();
    auto target = std::make_unique<kr::XmlDocument>();
    tree(*target, false);
    state.ResumeTiming();
    target->ResurrectNodes(target->Root(), reference.Root());
    state.PauseTiming();
    target.reset();
    state.ResumeTiming();
  }
  state.counters["per_element"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * count,
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK(Merge)->ArgsProduct({{10000, 400000}, {0, 1, 2}})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
