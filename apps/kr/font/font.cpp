// kr font: look into vector fonts, make source fonts and compile them.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "apps/common/errors.h"
#include "apps/kr/commands.h"
#include "apps/kr/font/font_file.h"
#include "apps/kr/font/hershey.h"
#include "apps/kr/font/listing.h"
#include "apps/kr/font/sheet.h"
#include "apps/kr/font/shp_compiler.h"

namespace kr_app {

namespace {

struct Options {
  std::string input;
  std::string output;
  int slot = -1;
  bool json = false;
  bool unifont = false;
};

void Info(const Options& options) {
  kr::font font;
  LoadQuietly(font, options.input);
  std::fputs(FontInfo(font, DescribeFontFile(ReadInput(options.input))).c_str(), stdout);
}

void Glyphs(const Options& options) {
  kr::font font;
  LoadQuietly(font, options.input);
  const int first = options.slot < 0 ? 0 : options.slot;
  const int last = options.slot < 0 ? kr::font::kSlots - 1 : options.slot;
  std::fputs((options.json ? GlyphJson : GlyphText)(font, first, last).c_str(), stdout);
}

// A name for the font header: letters, digits and _ of the file's own name.
std::string FontName(const std::string& path) {
  std::string name = std::filesystem::path(path).stem().string();
  for (char& c : name) {
    const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
    c = plain ? c : '_';
  }
  return name.empty() ? "font" : name;
}

void Import(const Options& options) {
  const auto font = Naming(options.input, [&] {
    return ImportHershey(ReadInput(options.input), FontName(options.input));
  });
  WriteOutput(options.output, font.source);
  if (font.left_out != 0) {
    std::fprintf(stderr, "%s: %d of %d glyphs left out: a font has 256 slots\n",
                 options.input.c_str(), font.left_out, font.glyphs);
  }
}

void Compile(const Options& options) {
  const auto font = Naming(options.input, [&] {
    return CompileShp(ReadInput(options.input),
                      options.unifont ? ShxLayout::kUnifont : ShxLayout::kShapes);
  });
  WriteOutput(options.output, font.bytes);
  for (const std::string& warning : font.warnings) {
    std::fprintf(stderr, "%s: %s\n", options.input.c_str(), warning.c_str());
  }
}

CLI::App* Add(CLI::App* to, const char* name, const char* what, const char* example,
              const std::shared_ptr<Options>& options, void (*work)(const Options&)) {
  CLI::App* command = to->add_subcommand(name, what);
  command->footer(std::string("Example:\n  ") + example);
  command->callback([options, work] { work(*options); });
  return command;
}

}  // namespace

void AddFont(CLI::App& kr) {
  CLI::App* font = kr.add_subcommand("font", "Look into vector fonts, import and compile them");
  font->require_subcommand(1);
  font->footer("docs/kr-font.md tells more.");
  const auto options = std::make_shared<Options>();

  CLI::App* info = Add(font, "info", "What a font is: form, name, metrics, counts",
                       "kr font info rowmans.shp", options, Info);
  info->add_option("font", options->input, "A .shx or .shp file")->required();

  CLI::App* glyphs = Add(font, "glyphs", "The lines, arcs and circles of each slot in font units",
                         "kr font glyphs rowmans.shp --slot 65 --json", options, Glyphs);
  glyphs->add_option("font", options->input, "A .shx or .shp file")->required();
  glyphs->add_option("--slot", options->slot, "Only this slot")->check(CLI::Range(0, 255));
  glyphs->add_flag("--json", options->json, "JSON instead of text");

  CLI::App* import =
      Add(font, "import", "Turn a face of the Hershey fonts (.jhf) into a source font",
          "kr font import /usr/share/hershey-fonts/rowmans.jhf -o rowmans.shp", options, Import);
  import->add_option("face", options->input, "A .jhf file, - for standard input")->required();
  import->add_option("-o,--output", options->output, "The .shp to write, - for standard output")
      ->required();

  CLI::App* compile = Add(font, "compile", "Compile a source font into .shx",
                          "kr font compile rowmans.shp -o rowmans.shx", options, Compile);
  compile->add_option("source", options->input, "A .shp file, - for standard input")->required();
  compile->add_option("-o,--output", options->output, "The .shx to write, - for standard output")
      ->required();
  compile->add_flag("--unifont", options->unifont,
                    "The unifont layout instead of the shapes layout");

  AddFontSheet(*font);
}

}  // namespace kr_app
