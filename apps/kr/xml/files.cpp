#include "apps/kr/xml/files.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "krdcmmn/host/codepage.h"
#include "krdcmmn/host/mapfile.h"
#include "krdcmmn/platform/codepage.h"
#include "krdcmmn/xml/parse.h"
#include "krdcmmn/xml/write.h"

#include "apps/common/errors.h"
#include "apps/kr/xml/syntax.h"

namespace kr_app {
namespace {

namespace fs = std::filesystem;

// The library tells of a rejected text on standard output, where our results belong: as long as
// this object lives, output goes nowhere.
class Silence {
 public:
  Silence() {
    std::fflush(stdout);
    kept_ = dup(STDOUT_FILENO);
    const int nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && nothing >= 0) {
      dup2(nothing, STDOUT_FILENO);
    }
    if (nothing >= 0) {
      close(nothing);
    }
  }
  ~Silence() {
    std::fflush(stdout);
    if (kept_ >= 0) {
      dup2(kept_, STDOUT_FILENO);
      close(kept_);
    }
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int kept_;
};

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

std::string ReadAll(const std::string& in) {
  const std::unique_ptr<std::FILE, CloseFile> opened(in == "-" ? nullptr
                                                               : std::fopen(in.c_str(), "rb"));
  std::FILE* const file = in == "-" ? stdin : opened.get();
  if (file == nullptr) {
    throw Failure(in + ": cannot be read");
  }
  std::string text;
  std::vector<char> piece(1 << 20);
  std::size_t size = 0;
  while ((size = std::fread(piece.data(), 1, piece.size(), file)) > 0) {
    text.append(piece.data(), size);
  }
  if (std::ferror(file) != 0) {
    throw Failure(in + ": cannot be read to its end");
  }
  return text;
}

[[noreturn]] void Reject(const std::string& in, const std::string& text,
                         const kr::XmlDocument& doc) {
  if (const auto error = SyntaxError(text)) {
    throw Failure(in + ":" + *error);
  }
  std::string last = "before the first element";
  WalkXml(doc.Root(), [&](const kr::XmlNodeConst& node, int) {
    last = std::string("behind the start of element ") + node.name();
    return true;
  });
  throw Failure(in + ": the text was rejected " + last);
}

void Copy(const std::string& from, std::FILE* to, const std::string& shown) {
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(from.c_str(), "rb"));
  std::vector<char> piece(1 << 20);
  std::size_t size = 0;
  bool good = file != nullptr && to != nullptr;
  while (good && (size = std::fread(piece.data(), 1, piece.size(), file.get())) > 0) {
    good = std::fwrite(piece.data(), 1, size, to) == size;
  }
  if (!good || std::fflush(to) != 0) {
    throw Failure(shown + " could not be written");
  }
}

// A file of our own that is gone at the end unless it was given another name.
class Draft {
 public:
  explicit Draft(const fs::path& beside) : path_(beside.string() + ".XXXXXX") {
    const int file = mkstemp(path_.data());
    if (file < 0) {
      throw Failure(beside.string() + ": cannot be written there");
    }
    close(file);
  }
  ~Draft() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }
  Draft(const Draft&) = delete;
  Draft& operator=(const Draft&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// What the last line of a written document is: the end of the last outermost element.
std::string LastLine(const kr::XmlDocument& doc) {
  kr::XmlNodeConst last;
  for (kr::XmlNodeConst node = doc.Root().child(); !node.end(); ++node) {
    last = node;
  }
  if (last.end()) {
    return "?>\r\n";
  }
  return *last.data() == '\0' && last.child().end() ? "/>\r\n"
                                                    : "</" + std::string(last.name()) + ">\r\n";
}

// The library does not tell that a disk was full.
bool IsWhole(const std::string& path, const kr::XmlDocument& doc) {
  const std::string expected = LastLine(doc);
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rb"));
  std::string tail(expected.size(), '\0');
  return file != nullptr &&
         std::fseek(file.get(), -static_cast<long>(tail.size()), SEEK_END) == 0 &&
         std::fread(tail.data(), 1, tail.size(), file.get()) == tail.size() && tail == expected;
}

void WriteWhole(const std::string& path, const std::string& shown, const kr::XmlDocument& doc) {
  if (!kr::WriteXMLDocument(path.c_str(), doc)) {
    throw Failure(shown + ": cannot be opened for writing");
  }
  if (!IsWhole(path, doc)) {
    throw Failure(shown + ": could not be written to its end; is the disk full?");
  }
}

// The rights of the file that is replaced, or those that a new file gets here.
void TakeRights(const std::string& draft, const fs::path& out) {
  std::error_code failure;
  const fs::file_status status = fs::status(out, failure);
  const mode_t mask = umask(0);
  umask(mask);
  const auto rights =
      fs::exists(status) ? status.permissions() : static_cast<fs::perms>(0666 & ~mask);
  fs::permissions(draft, rights, failure);
}

}  // namespace

void ReadXml(const std::string& in, kr::XmlDocument& doc) {
  const std::uint64_t lost_before = LossyCharacterCount();
  std::error_code ignored;
  const bool plain_file = in != "-" && fs::is_regular_file(in, ignored);
  const bool missing = in != "-" && !fs::exists(in, ignored);
  bool parsed = false;
  std::string text;
  if (plain_file || missing) {
    const Silence silence;
    try {
      parsed = kr::ParseXMLFile(in.c_str(), doc);
    } catch (const kr::mapfile::MapExcept& e) {
      throw Failure(e.what());  // names the file already
    }
  } else {
    text = ReadAll(in);
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
      throw Failure(in + ": the text is longer than 2 GiB");
    }
    const Silence silence;
    parsed = kr::ParseXMLString(text.data(), static_cast<int>(text.size()), doc);
  }
  if (!parsed) {
    Reject(in, plain_file ? ReadAll(in) : text, doc);
  }
  const std::uint64_t lost = LossyCharacterCount() - lost_before;
  if (lost != 0) {
    std::fprintf(stderr, "kr: %s: %llu character%s not in code page %u became \"_\"\n", in.c_str(),
                 static_cast<unsigned long long>(lost), lost == 1 ? "" : "s",
                 static_cast<unsigned>(GetACP()));
  }
}

void WriteXml(const std::string& out, const kr::XmlDocument& doc) {
  std::error_code ignored;
  // What is no plain file, such as a device or a pipe, is not replaced but written to.
  if (out == "-" || (fs::exists(out, ignored) && !fs::is_regular_file(out, ignored))) {
    const Draft draft(fs::temp_directory_path() / "kr-xml");
    WriteWhole(draft.path(), draft.path(), doc);
    if (out == "-") {
      Copy(draft.path(), stdout, "standard output");
    } else {
      const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(out.c_str(), "wb"));
      Copy(draft.path(), file.get(), out);
    }
    return;
  }
  const fs::path target = fs::is_symlink(out, ignored) ? fs::canonical(out) : fs::path(out);
  const Draft draft(target);
  WriteWhole(draft.path(), out, doc);
  TakeRights(draft.path(), target);
  fs::rename(draft.path(), target);
}

void WalkXml(kr::XmlNodeConst node,
             const std::function<bool(const kr::XmlNodeConst& node, int depth)>& visit) {
  std::vector<kr::XmlNodeConst> open{node.child()};
  while (!open.empty()) {
    const kr::XmlNodeConst now = open.back();
    if (now.end()) {
      open.pop_back();
      continue;
    }
    if (!visit(now, static_cast<int>(open.size()))) {
      return;
    }
    ++open.back();
    open.push_back(now.child());
  }
}

}  // namespace kr_app
