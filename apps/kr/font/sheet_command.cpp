// kr font sheet: a specimen of a font as a picture or a drawing.
#include <CLI/CLI.hpp>
#include <filesystem>
#include <memory>
#include <string>

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/whole_file.h"
#include "apps/kr/font/font_file.h"
#include "apps/kr/font/sheet.h"

namespace kr_app {

namespace {

struct Options {
  std::string input;
  std::string output;
  double dpi = 150.0;
};

void MakeSheet(const Options& options) {
  const std::string ending = std::filesystem::path(options.output).extension().string();
  if (ending != ".png" && ending != ".svg") {
    throw CLI::ValidationError(options.output, "the ending tells the form, .png or .svg");
  }
  kr::font font;
  const bool built_in = options.input == "-";
  if (built_in) {
    LoadDefaultFont(font);
  } else {
    LoadQuietly(font, options.input);
  }
  const std::string title =
      built_in ? "The built-in font" : std::filesystem::path(options.input).filename().string();
  WriteWholeFile(options.output, Naming(options.input, [&] {
                   return ending == ".svg" ? SheetSvg(font, title)
                                           : SheetPng(font, title, options.dpi);
                 }));
}

}  // namespace

void AddFontSheet(CLI::App& font) {
  CLI::App* sheet = font.add_subcommand("sheet", "Draw a specimen: every slot with its metrics");
  const auto options = std::make_shared<Options>();
  sheet->add_option("font", options->input, "A .shx or .shp file, - for the built-in font")
      ->required();
  sheet->add_option("-o,--output", options->output, "The .png or .svg to write")->required();
  sheet->add_option("--dpi", options->dpi, "Pixels in an inch (.png)")
      ->check(CLI::Range(1.0, 100000.0))
      ->capture_default_str();
  sheet->footer("Example:\n  kr font sheet rowmans.shp -o rowmans.png");
  sheet->callback([options] { MakeSheet(*options); });
}

}  // namespace kr_app
