#include "apps/krview/library.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "apps/common/errors.h"
#include "apps/common/slots.h"
#include "apps/sheet/dxf_import.h"
#include "apps/sheet/store.h"

namespace kr_view {
namespace {

using kr_app::Failure;
using kr_app::Naming;
using kr_sheet::SheetStore;

std::string Stem(const std::string& path) {
  return std::filesystem::path(path).stem().string();
}

bool EndsIn(const std::string& path, const std::string& ending) {
  return path.size() >= ending.size() &&
         std::equal(
             ending.begin(), ending.end(), path.end() - static_cast<std::ptrdiff_t>(ending.size()),
             [](char a, char b) { return a == std::tolower(static_cast<unsigned char>(b)); });
}

void RequireFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) {
    throw Failure(path + ": no such file");
  }
  if (std::filesystem::is_directory(path, error)) {
    throw Failure(path + ": a directory, not a file");
  }
}

class Container final : public Library {
 public:
  Container(const std::string& path, kr::font& texts) : path_(path), texts_(texts) {
    SheetStore store(path_, SheetStore::Access::kRead);
    for (const SheetStore::Entry& entry : store.list()) {
      names_.push_back(entry.name);
    }
    if (names_.empty()) {
      throw Failure(path_ + ": no drawings in it; kr sheet import puts them there");
    }
  }

  const std::vector<std::string>& names() const override { return names_; }
  const std::string& path() const override { return path_; }

  std::unique_ptr<Subject> load(std::size_t index) override {
    SheetStore store(path_, SheetStore::Access::kRead);
    for (const SheetStore::Entry& entry : store.list()) {
      if (entry.name == names_[index]) {
        return MakeDrawingSubject(Naming(path_, [&] { return store.load(entry); }), texts_);
      }
    }
    throw Failure(path_ + ": the drawing \"" + names_[index] + "\" is not there any more");
  }

 private:
  std::string path_;
  kr::font& texts_;
  std::vector<std::string> names_;
};

class SingleFile : public Library {
 public:
  explicit SingleFile(const std::string& path) : path_(path), names_{Stem(path)} {}
  const std::vector<std::string>& names() const override { return names_; }
  const std::string& path() const override { return path_; }

 protected:
  std::string path_;
  std::vector<std::string> names_;
};

class DxfFile final : public SingleFile {
 public:
  DxfFile(const std::string& path, kr::font& texts) : SingleFile(path), texts_(texts) {}

  std::unique_ptr<Subject> load(std::size_t) override {
    return Naming(path_, [&] {
      std::ifstream in(path_, std::ios::binary);
      const std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
      if (!in.is_open() || in.bad()) {
        throw Failure(path_ + ": cannot be read");
      }
      kr_sheet::Counts counts;
      try {
        return MakeDrawingSubject(kr_sheet::ImportDxf(text, names_[0], {}, counts), texts_);
      } catch (const Failure& e) {
        throw Failure(path_ + ": " + e.what());
      }
    });
  }

 private:
  kr::font& texts_;
};

class FontFile final : public SingleFile {
 public:
  FontFile(const std::string& path, const std::string& text, kr::font& labels)
      : SingleFile(path), text_(text), labels_(labels) {}

  std::unique_ptr<Subject> load(std::size_t) override {
    auto font = std::make_unique<kr::font>();
    if (!loads(*font) || !(font->height > 0)) {
      throw Failure(path_ + ": not a font of a kind that is read, or a damaged one");
    }
    return MakeFontSubject(std::move(font), names_[0], text_, labels_);
  }

 private:
  // The font's own complaints speak of a dialog: here they are a no.
  bool loads(kr::font& font) const {
    try {
      return font.LoadFile(path_.c_str());
    } catch (...) {
      kr_app::TextOfException();
      return false;
    }
  }

  std::string text_;
  kr::font& labels_;
};

}  // namespace

std::unique_ptr<Library> OpenDrawings(const std::string& path, kr::font& texts) {
  RequireFile(path);
  if (EndsIn(path, ".dxf")) {
    return std::make_unique<DxfFile>(path, texts);
  }
  return std::make_unique<Container>(path, texts);
}

std::unique_ptr<Library> OpenFont(const std::string& path, const std::string& text,
                                  kr::font& labels) {
  RequireFile(path);
  return std::make_unique<FontFile>(path, kr_app::Unescaped(text), labels);
}

}  // namespace kr_view
