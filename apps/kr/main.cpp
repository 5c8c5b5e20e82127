// kr: the library on the command line. Exit status: 0 done, 1 the work failed, 2 usage.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "apps/common/errors.h"
#include "apps/kr/commands.h"

namespace {

constexpr int kFailed = 1;
constexpr int kUsage = 2;

int Run(int argc, char** argv) {
  CLI::App kr("Storages, XML, fonts and texts of the krdcmmn library", "kr");
  kr.set_version_flag("--version", "kr " KR_VERSION);
  kr.require_subcommand(1);
  kr.footer("kr COMMAND --help tells more, with examples.");
  for (auto* add : kr_app::kCommands) {
    add(kr);
  }
  try {
    kr.parse(argc, argv);
  } catch (const CLI::RuntimeError& e) {
    return e.get_exit_code();
  } catch (const CLI::ParseError& e) {
    return kr.exit(e) == 0 ? 0 : kUsage;
  }
  // What stands in a buffer is not written yet: a full disk or a closed pipe shows up here.
  if (std::fflush(stdout) != 0) {
    throw kr_app::Failure("standard output could not be written");
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return Run(argc, argv);
  } catch (...) {
    std::fprintf(stderr, "kr: %s\n", kr_app::TextOfException().c_str());
    return kFailed;
  }
}
