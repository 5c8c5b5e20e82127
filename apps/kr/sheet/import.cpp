#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <set>

#include "apps/common/errors.h"
#include "apps/kr/progress.h"
#include "apps/kr/sheet/operations.h"
#include "apps/sheet/store.h"

namespace kr_app {
namespace {

std::string ReadFile(const std::string& path) {
  std::error_code error;
  if (path == "-") {
    return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
  }
  if (std::filesystem::is_directory(path, error)) {
    throw Failure("a directory, not a drawing");
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    throw Failure(std::filesystem::exists(path, error) ? "cannot be opened" : "no such file");
  }
  std::string text{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  if (in.bad()) {
    throw Failure("cannot be read");
  }
  return text;
}

std::string WithoutDirectory(const std::string& path) {
  return std::filesystem::path(path).stem().string();
}

// The part of the path that all files share, up to a slash.
std::size_t CommonDirectory(const std::vector<std::string>& files) {
  std::size_t common = files.front().size();
  for (const std::string& file : files) {
    const auto differ = std::mismatch(file.begin(), file.end(), files.front().begin(),
                                      files.front().begin() + static_cast<std::ptrdiff_t>(common));
    common = static_cast<std::size_t>(differ.first - file.begin());
  }
  const std::size_t slash = files.front().rfind('/', common);
  return common == 0 || slash == std::string::npos ? 0 : slash + 1;
}

// What a drawing is called in the container: the file's name without its ending. Where two files
// share one, they are told apart by their directories.
std::vector<std::string> DrawingNames(const std::vector<std::string>& files) {
  std::multiset<std::string> stems;
  for (const std::string& file : files) {
    stems.insert(WithoutDirectory(file));
  }
  const std::size_t common = CommonDirectory(files);
  std::vector<std::string> names;
  for (const std::string& file : files) {
    const std::string stem = WithoutDirectory(file);
    names.push_back(
        stems.count(stem) == 1
            ? stem
            : std::filesystem::path(file.substr(common)).replace_extension().generic_string());
  }
  return names;
}

// Throws Failure, which names the file.
std::unique_ptr<kr_sheet::Drawing> Read(const std::string& file, const std::string& name,
                                        const kr_sheet::ImportOptions& options,
                                        kr_sheet::Counts& counts) {
  try {
    return kr_sheet::ImportDxf(ReadFile(file), name, options, counts);
  } catch (...) {
    throw Failure(file + ": " + TextOfException());
  }
}

void Report(const std::string& file, const kr_sheet::Counts& counts) {
  for (const auto& [kind, count] : counts) {
    for (const auto& [why, number] : count.unread) {
      std::fprintf(stderr, "kr: %s: %lld %s not read: %s\n", file.c_str(),
                   static_cast<long long>(number), kind.c_str(), why.c_str());
    }
  }
}

void PrintTable(const kr_sheet::Counts& counts) {
  std::printf("%-20s %10s %10s\n", "entity", "seen", "not read");
  for (const auto& [kind, count] : counts) {
    std::int64_t unread = 0;
    for (const auto& [why, number] : count.unread) {
      unread += number;
    }
    std::printf("%-20s %10lld %10lld\n", kind.c_str(), static_cast<long long>(count.seen),
                static_cast<long long>(unread));
  }
}

void Add(kr_sheet::Counts& sum, const kr_sheet::Counts& counts) {
  for (const auto& [kind, count] : counts) {
    sum[kind].seen += count.seen;
    for (const auto& [why, number] : count.unread) {
      sum[kind].unread[why] += number;
    }
  }
}

}  // namespace

void SheetImport(const std::vector<std::string>& files, const std::string& store_path,
                 const std::string& name, const kr_sheet::ImportOptions& options) {
  kr_sheet::SheetStore store(store_path, kr_sheet::SheetStore::Access::kWrite);
  const std::vector<std::string> names =
      name.empty() ? DrawingNames(files) : std::vector<std::string>(files.size(), name);
  kr_sheet::Counts sum;
  std::size_t failed = 0;
  std::uint64_t elements = 0;
  {
    Progress progress("drawings", files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
      try {
        kr_sheet::Counts counts;
        const auto drawing = Read(files[i], names[i], options, counts);
        Report(files[i], counts);
        Add(sum, counts);
        elements += drawing->count();
        store.put(*drawing);
      } catch (...) {
        ++failed;
        std::fprintf(stderr, "kr: %s\n", TextOfException().c_str());
      }
      progress.step(files[i]);
    }
  }
  if (failed != files.size()) {
    store.commit();
  }
  PrintTable(sum);
  std::printf("%zu drawings with %llu elements in %s\n", files.size() - failed,
              static_cast<unsigned long long>(elements), store_path.c_str());
  if (failed != 0) {
    throw Failure(store_path + ": " + std::to_string(failed) + " of " +
                  std::to_string(files.size()) + " drawings could not be read");
  }
}

}  // namespace kr_app
