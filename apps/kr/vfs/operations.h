// What the subcommands of kr vfs do. Each throws Failure when it could not do all of it; what can
// be done is done first, with a line on standard error for each thing that cannot.
#pragma once

#include <string>
#include <vector>

namespace kr_app {

void VfsAdd(const std::string& store, const std::vector<std::string>& paths);
void VfsRemove(const std::string& store, const std::vector<std::string>& names);
void VfsGet(const std::string& store, const std::vector<std::string>& names,
            const std::string& target);
void VfsCat(const std::string& store, const std::string& name);

struct ListOptions {
  bool details = false;
  bool recursive = false;
};
void VfsList(const std::string& store, const std::string& directory, ListOptions options);
void VfsTree(const std::string& store);
void VfsInfo(const std::string& store);
void VfsCheck(const std::string& store);

// Tells what goes wrong with single files while the rest goes on, a line each on standard error.
class Complaints {
 public:
  void add(const std::string& text);
  // As it should be, but worth a line.
  static void note(const std::string& text);
  // Throws Failure if there were any.
  void finish(const std::string& store) const;

 private:
  int count_ = 0;
};

// Deeper trees are not walked: they are not made from a file system.
inline constexpr int kMostLevels = 1000;

}  // namespace kr_app
