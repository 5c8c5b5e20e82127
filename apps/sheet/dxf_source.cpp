#include "apps/sheet/dxf_source.h"

#include "apps/common/errors.h"
#include "apps/sheet/dxf_collector.h"
#include "apps/sheet/dxf_groups.h"

namespace kr_sheet {
namespace {

using kr_app::Failure;

enum class Section { kNone, kHeader, kTables, kBlocks, kEntities, kOther };

Section SectionOf(std::string_view name) {
  return name == "HEADER"     ? Section::kHeader
         : name == "TABLES"   ? Section::kTables
         : name == "BLOCKS"   ? Section::kBlocks
         : name == "ENTITIES" ? Section::kEntities
                              : Section::kOther;
}

// Goes through a file section by section.
class Reader {
 public:
  explicit Reader(std::string_view text) : groups_(text), header_(text) {}

  Source read() {
    readHeader();
    Collector collector(source_, page_, utf8_);
    Chunk chunk;
    bool ended = false;
    while (!ended && groups_.next(chunk)) {
      ended = take(chunk, collector);
    }
    if (!sections_) {
      throw Failure("no DXF: it has no section");
    }
    if (!ended) {
      throw Failure("line " + std::to_string(groups_.line()) +
                    ": the file is cut off: it has no end mark");
    }
    collector.beginBlock(nullptr, false);
    return std::move(source_);
  }

 private:
  // The code page counts for names that stand before the header's end too, so the header is read
  // ahead.
  void readHeader() {
    Chunk chunk;
    while (header_.next(chunk)) {
      if (chunk.code() == 9) {
        variable(chunk);
      } else if (chunk.name() == "ENDSEC") {
        return;
      }
    }
  }

  void variable(const Chunk& chunk) {
    constexpr std::string_view kFirstUtf8 = "AC1021";
    if (chunk.name() == "$INSUNITS") {
      source_.units = chunk.integer(70, 0);
    } else if (chunk.name() == "$DWGCODEPAGE") {
      page_ = chunk.text(3);
    } else if (chunk.name() == "$ACADVER") {
      utf8_ = chunk.text(1) >= kFirstUtf8;
    }
  }

  // True at the file's end mark.
  bool take(const Chunk& chunk, Collector& collector) {
    const std::string_view name = chunk.name();
    if (chunk.code() != 0) {
      return false;
    }
    if (name == "EOF") {
      return true;
    }
    if (name == "SECTION") {
      section_ = SectionOf(chunk.text(2));
      sections_ = true;
    } else if (name == "ENDSEC") {
      collector.beginBlock(nullptr, false);
      section_ = Section::kNone;
    } else if (section_ == Section::kTables && name == "LAYER") {
      collector.layer(chunk);
    } else if (section_ == Section::kTables && name == "LTYPE") {
      collector.lineType(chunk);
    } else if (section_ == Section::kBlocks && name == "BLOCK") {
      beginBlock(chunk, collector);
    } else if (section_ == Section::kBlocks && name == "ENDBLK") {
      collector.beginBlock(nullptr, false);
      in_block_ = false;
    } else if (section_ == Section::kEntities || (section_ == Section::kBlocks && in_block_)) {
      collector.entity(chunk);
    }
    return false;
  }

  void beginBlock(const Chunk& chunk, Collector& collector) {
    const std::string name = FoldedName(chunk.text(2));
    Block& block = source_.blocks[name];
    block = {};
    block.base = {chunk.number(10, 0), chunk.number(20, 0)};
    block.paper = name.starts_with("*paper_space") || name.starts_with("$paper_space");
    in_block_ = true;
    collector.beginBlock(&block, block.paper);
  }

  GroupReader groups_;
  GroupReader header_;
  Source source_;
  Section section_ = Section::kNone;
  bool sections_ = false;
  bool in_block_ = false;
  bool utf8_ = false;
  std::string page_;
};

}  // namespace

Source ReadSource(std::string_view text) {
  if (text.find_first_not_of(" \t\r\n") == std::string_view::npos) {
    throw Failure("an empty file");
  }
  return Reader(text).read();
}

}  // namespace kr_sheet
