// kr sheet: drawings in a container.
#include <CLI/CLI.hpp>
#include <memory>

#include "apps/kr/commands.h"
#include "apps/kr/sheet/operations.h"

namespace kr_app {
namespace {

struct Arguments {
  std::vector<std::string> files;
  std::string store;
  std::string units;
  kr_sheet::ImportOptions import;
};

void AddImport(CLI::App* sheet, const std::shared_ptr<Arguments>& a) {
  CLI::App* import = sheet->add_subcommand(
      "import", "Read DXF drawings into a container, in the place of those of the same name");
  import->add_option("DRAWING", a->files, "DXF files in their text form")->required();
  import->add_option("-o,--output", a->store, "The container; made when missing")->required();
  import
      ->add_option("--tolerance", a->import.tolerance,
                   "Micrometres between a curve and the lines that stand for it")
      ->check(CLI::Range(1.0, 1e6))
      ->capture_default_str();
  import
      ->add_option("--units", a->units,
                   "The drawings' unit (mm, cm, m, in, ft, ...) instead of what they say")
      ->check([](const std::string& name) {
        return kr_sheet::UnitOfName(name) < 0 ? "no unit that is known" : "";
});
import->footer(
    "A drawing that tells no unit counts in millimetres.\n"
    "Examples:\n"
    "  kr sheet import house.dxf -o plans.krd\n"
    "  kr sheet import parts/*.dxf -o parts.krd --units in");
  import->callback([a] {
    a->import.units = a->units.empty() ? -1 : kr_sheet::UnitOfName(a->units);
  SheetImport(a->files, a->store, a->import);
  }  // namespace
);
}  // namespace kr_app

}  // namespace

void AddSheet(CLI::App& kr) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* sheet = kr.add_subcommand("sheet", "Keep drawings in a container and draw them");
  sheet->require_subcommand(1);
  sheet->footer(
      "Examples:\n"
      "  kr sheet import parts/*.dxf -o parts.krd\n"
      "  kr sheet ls parts.krd");
  AddImport(sheet, arguments);

  CLI::App* ls = sheet->add_subcommand("ls", "List the drawings of a container");
  ls->add_option("STORE", arguments->store, "The container")->required();
  ls->footer("Sizes are in millimetres.\nExamples:\n  kr sheet ls parts.krd");
  ls->callback([arguments] { SheetList(arguments->store); });
}

}  // namespace kr_app
