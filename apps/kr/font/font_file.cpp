#include "apps/kr/font/font_file.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <unistd.h>

#include "apps/common/errors.h"

namespace kr_app {

namespace {

// While it lives, standard output goes nowhere.
class QuietOutput {
 public:
  QuietOutput() {
    std::fflush(stdout);
    kept_ = dup(STDOUT_FILENO);
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && nowhere >= 0) {
      dup2(nowhere, STDOUT_FILENO);
    }
    if (nowhere >= 0) {
      close(nowhere);
    }
  }
  ~QuietOutput() {
    std::fflush(stdout);
    if (kept_ >= 0) {
      dup2(kept_, STDOUT_FILENO);
      close(kept_);
    }
  }
  QuietOutput(const QuietOutput&) = delete;
  QuietOutput& operator=(const QuietOutput&) = delete;

 private:
  int kept_;
};

unsigned long Number(std::string_view bytes, std::size_t at, std::size_t size) {
  unsigned long value = 0;
  for (std::size_t i = size; i-- > 0;) {
    value = value << 8 | (at + i < bytes.size() ? static_cast<unsigned char>(bytes[at + i]) : 0u);
  }
  return value;
}

std::string TextAt(std::string_view bytes, std::size_t at) {
  at = std::min(at, bytes.size());
  return std::string(bytes.substr(at, std::min(bytes.find('\0', at), at + 128) - at));
}

bool Begins(std::string_view bytes, std::string_view magic) {
  return bytes.substr(0, bytes.find('\n')).find(magic) != std::string_view::npos;
}

FontFile DescribeSource(std::string_view bytes) {
  FontFile file = {"SHP source", "", -1};
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
    const std::string_view line = bytes.substr(at, end - at);
    if (line[0] == '*') {
      ++file.shapes;
      const std::size_t comma = line.find(',', line.find(',') + 1);
      if (file.shapes == 0 && comma != std::string_view::npos) {
        file.name = line.substr(comma + 1, line.find('\r') - comma - 1);
      }
    }
    at = end + 1;
  }
  file.shapes = std::max(file.shapes, 0l);
  return file;
}

}  // namespace

FontFile DescribeFontFile(std::string_view bytes) {
  for (const char* version : {"1.0", "1.1"}) {
    const std::string form = std::string("shapes ") + version;
    if (Begins(bytes, "AutoCAD-86 " + form)) {
      const auto entries = static_cast<long>(Number(bytes, 28, 2));
      const bool named = entries != 0 && Number(bytes, 30, 2) == 0;
      const auto names_at = 30 + 4 * static_cast<std::size_t>(entries);
      return {"SHX " + form, named ? TextAt(bytes, names_at) : "", entries - (named ? 1 : 0)};
    }
  }
  if (Begins(bytes, "AutoCAD-86 unifont 1.0")) {
    return {"SHX unifont 1.0", TextAt(bytes, 33),
            std::max(static_cast<long>(Number(bytes, 25, 4)) - 1, 0l)};
  }
  return DescribeSource(bytes);
}

void LoadQuietly(kr::font& font, const std::string& path) {
  if (!std::ifstream(path)) {
    throw Failure(path + ": cannot be read");
  }
  const bool loaded = Naming(path, [&] {
    const QuietOutput quiet;
    return font.LoadFile(path.c_str());
  });
  if (!loaded) {
    throw Failure(path + ": the font is cut short or damaged");
  }
}

std::string ReadInput(const std::string& path) {
  if (path == "-") {
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  }
  std::ifstream in(path, std::ios::binary);
  std::string bytes;
  if (in && !std::filesystem::is_directory(path)) {
    bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  } else {
    in.setstate(std::ios::failbit);
  }
  if (in.bad() || (in.fail() && !in.eof())) {
    throw Failure(path + ": cannot be read");
  }
  return bytes;
}

void WriteOutput(const std::string& path, std::string_view bytes) {
  if (path == "-") {
    std::fwrite(bytes.data(), 1, bytes.size(), stdout);
    return;
  }
  std::ofstream out(path, std::ios::binary);
  const bool opened = out.is_open();
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  out.close();
  if (!out) {
    std::error_code ignored;
    if (opened && std::filesystem::is_regular_file(path, ignored)) {
      std::filesystem::remove(path, ignored);
    }
    throw Failure(path + ": cannot be written");
  }
}

}  // namespace kr_app
