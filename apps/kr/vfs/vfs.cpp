// kr vfs: files and directories in a storage.
#include <CLI/CLI.hpp>

#include "apps/kr/commands.h"

namespace kr_app {

void AddVfs(CLI::App& kr) {
  CLI::App* vfs = kr.add_subcommand("vfs", "Keep files and directories in one storage file");
  vfs->require_subcommand(1);
}

}  // namespace kr_app
