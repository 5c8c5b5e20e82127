// kr sheet: drawings in a container.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>

#include "apps/kr/commands.h"
#include "apps/kr/sheet/operations.h"

namespace kr_app {
namespace {

struct Arguments {
  std::vector<std::string> files;
  std::string store;
  std::string units;
  std::string name;
  kr_sheet::ImportOptions import;
  DrawOptions draw;
  std::string size;
  std::string background = "white";
  bool fit = false;
  int columns = 8;
};

// "WxH" with both from 1 to 32767.
bool ParseSize(const std::string& text, int& width, int& height) {
  constexpr int kMost = 32767;
  int end = 0;
  return std::sscanf(text.c_str(), "%dx%d%n", &width, &height, &end) == 2 &&
         static_cast<std::size_t>(end) == text.size() && width >= 1 && width <= kMost &&
         height >= 1 && height <= kMost;
}

// What both ways of drawing take.
void AddPictureOptions(CLI::App* command, const std::shared_ptr<Arguments>& a) {
  command->add_option("STORE", a->store, "The container")->required();
  command
      ->add_option("-o,--output", a->draw.output, "The picture, a PNG file; - for standard output")
      ->required();
  command->add_option("--size", a->size, "Pixels, as WIDTHxHEIGHT (1600x1200)")
      ->check([a](const std::string& text) {
        return ParseSize(text, a->draw.width, a->draw.height) ? "" : "not a size as 1600x1200";
      });
  command->add_option("--background", a->background, "white, black or #rrggbb")
      ->check([a](const std::string& text) {
        return ParseColour(text, a->draw.background) ? "" : "not white, black or #rrggbb";
      });
  command->add_option("--font", a->draw.font,
                      "A font file, .shx or .shp, for the texts instead of the built-in one");
}

void AddDraw(CLI::App* sheet, const std::shared_ptr<Arguments>& a) {
  CLI::App* draw = sheet->add_subcommand("draw", "Draw a drawing into a picture");
  AddPictureOptions(draw, a);
  draw->add_option("NAME", a->draw.name, "The drawing; not needed where there is but one");
  auto* rect = draw->add_option("--rect", a->draw.box, "What to show: left,top,right,bottom in mm")
                   ->delimiter(',')
                   ->expected(4);
  draw->add_flag("--fit", a->fit, "Show all of the drawing; this is so without --rect")
      ->excludes(rect);
  draw->footer(
      "Examples:\n"
      "  kr sheet draw plans.krd house -o house.png --size 2400x1800\n"
      "  kr sheet draw plans.krd house -o door.png --rect 0,2000,1500,0 --background black");
  draw->callback([a] { SheetDraw(a->store, a->draw); });

  CLI::App* contact = sheet->add_subcommand("contact", "Draw many drawings into one picture");
  AddPictureOptions(contact, a);
  contact->add_option("PART", a->files, "Parts of the drawings' names; without any, all");
  contact
      ->add_option("--columns", a->columns,
                   "Drawings side by side; a cell has that part of the size")
      ->check(CLI::Range(1, 1000))
      ->capture_default_str();
  contact->footer("Examples:\n  kr sheet contact parts.krd -o parts.png --columns 12 pump valve");
  contact->callback([a] { SheetContact(a->store, a->files, a->draw, a->columns); });
}

void AddImport(CLI::App* sheet, const std::shared_ptr<Arguments>& a) {
  CLI::App* reading = sheet->add_subcommand(
      "import", "Read DXF drawings into a container, in the place of those of the same name");
  reading->add_option("DRAWING", a->files, "DXF files in their text form; - for standard input")
      ->required();
  reading->add_option("-o,--output", a->store, "The container; made when missing")->required();
  reading->add_option("--name", a->name, "What a single drawing is called in the container");
  reading
      ->add_option("--tolerance", a->import.tolerance,
                   "Micrometres between a curve and the lines that stand for it")
      ->check(CLI::Range(1.0, 1e6))
      ->capture_default_str();
  reading
      ->add_option("--units", a->units,
                   "The drawings' unit (mm, cm, m, in, ft, ...) instead of what they say")
      ->check([](const std::string& name) {
        return kr_sheet::UnitOfName(name) < 0 ? "no unit that is known" : "";
      });
  reading->footer(
      "A drawing that tells no unit counts in millimetres.\n"
      "Examples:\n"
      "  kr sheet import house.dxf -o plans.krd\n"
      "  kr sheet import parts/*.dxf -o parts.krd --units in");
  reading->callback([a] {
    a->import.units = a->units.empty() ? -1 : kr_sheet::UnitOfName(a->units);
    if (!a->name.empty() && a->files.size() > 1) {
      throw CLI::ValidationError("--name", "is for one drawing");
    }
    SheetImport(a->files, a->store, a->name, a->import);
  });
}

}  // namespace

void AddSheet(CLI::App& kr) {
  auto arguments = std::make_shared<Arguments>();
  CLI::App* sheet = kr.add_subcommand("sheet", "Keep drawings in a container and draw them");
  sheet->require_subcommand(1);
  sheet->footer(
      "Examples:\n"
      "  kr sheet import parts/*.dxf -o parts.krd\n"
      "  kr sheet ls parts.krd\n"
      "  kr sheet draw parts.krd pump -o pump.png");
  AddImport(sheet, arguments);
  AddDraw(sheet, arguments);

  CLI::App* ls = sheet->add_subcommand("ls", "List the drawings of a container");
  ls->add_option("STORE", arguments->store, "The container")->required();
  ls->footer("Sizes are in millimetres.\nExamples:\n  kr sheet ls parts.krd");
  ls->callback([arguments] { SheetList(arguments->store); });
}

}  // namespace kr_app
