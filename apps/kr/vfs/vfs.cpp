// kr vfs: files and directories in a storage.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/kr/commands.h"
#include "apps/kr/vfs/operations.h"

namespace kr_app {
namespace {

// What the command line gives to any of the operations.
struct Arguments {
  std::string store;
  std::vector<std::string> names;
  std::string name;
  std::string target = ".";
  ListOptions list;
};

// A subcommand with the storage as its first argument.
CLI::App* AddOperation(CLI::App* vfs, Arguments& arguments, const char* name,
                       const char* description, const char* examples) {
  CLI::App* operation = vfs->add_subcommand(name, description);
  operation->add_option("STORE", arguments.store, "The storage file")->required();
  operation->footer(std::string("Examples:\n") + examples);
  return operation;
}

}  // namespace

void AddVfs(CLI::App& kr) {
  auto arguments = std::make_shared<Arguments>();
  Arguments& a = *arguments;
  CLI::App* vfs = kr.add_subcommand("vfs", "Keep files and directories in one storage file");
  vfs->require_subcommand(1);
  vfs->footer(
      "Examples:\n"
      "  kr vfs add tree.krs src README.md\n"
      "  kr vfs ls -l -R tree.krs\n"
      "  kr vfs get tree.krs -C /tmp/out");

  CLI::App* add =
      AddOperation(vfs, a, "add", "Add files and directories, replacing what is there",
                   "  kr vfs add tree.krs src README.md   make or extend tree.krs\n"
                   "  kr vfs add tree.krs .               all that is in this directory");
  add->add_option("PATH", a.names, "Files and directories of the file system")->required();
  add->callback([arguments] { VfsAdd(arguments->store, arguments->names); });

  CLI::App* ls = AddOperation(vfs, a, "ls", "List a directory of the storage",
                              "  kr vfs ls tree.krs\n"
                              "  kr vfs ls -l tree.krs src           mode, size, packed size, UTC");
  ls->add_option("DIR", a.name, "A directory or file of the storage");
  ls->add_flag("-l,--long", a.list.details, "Mode, bytes, packed bytes, time (UTC)");
  ls->add_flag("-R,--recursive", a.list.recursive, "Also what is in the directories");
  ls->callback([arguments] { VfsList(arguments->store, arguments->name, arguments->list); });

  CLI::App* tree =
      AddOperation(vfs, a, "tree", "Draw the storage's tree", "  kr vfs tree tree.krs");
  tree->callback([arguments] { VfsTree(arguments->store); });

  CLI::App* cat = AddOperation(vfs, a, "cat", "Write a file's bytes to standard output",
                               "  kr vfs cat tree.krs src/main.cpp | less");
  cat->add_option("NAME", a.name, "A file of the storage")->required();
  cat->callback([arguments] { VfsCat(arguments->store, arguments->name); });

  CLI::App* get = AddOperation(vfs, a, "get", "Extract files and directories",
                               "  kr vfs get tree.krs -C /tmp/out     everything\n"
                               "  kr vfs get tree.krs src README.md   these two, here");
  get->add_option("NAME", a.names, "Files and directories of the storage; without any, all");
  get->add_option("-C,--directory", a.target, "Extract into this directory; made when missing")
      ->capture_default_str();
  get->callback([arguments] { VfsGet(arguments->store, arguments->names, arguments->target); });

  CLI::App* rm = AddOperation(vfs, a, "rm", "Remove files, and directories with all in them",
                              "  kr vfs rm tree.krs src/old.cpp build");
  rm->add_option("NAME", a.names, "Files and directories of the storage")->required();
  rm->callback([arguments] { VfsRemove(arguments->store, arguments->names); });

  CLI::App* info = AddOperation(vfs, a, "info", "Tell the storage's header, counts and sizes",
                                "  kr vfs info tree.krs");
  info->callback([arguments] { VfsInfo(arguments->store); });

  CLI::App* check = AddOperation(vfs, a, "check", "Look for damage: table, tree, layout, checksums",
                                 "  kr vfs check tree.krs && echo sound");
  check->callback([arguments] { VfsCheck(arguments->store); });
}

}  // namespace kr_app
