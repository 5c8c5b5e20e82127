// kr text: a text in a vector font as a picture, a drawing, a plot, a tool path or data.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "apps/common/default_font.h"
#include "apps/common/errors.h"
#include "apps/common/slots.h"
#include "apps/common/whole_file.h"
#include "apps/kr/commands.h"
#include "apps/kr/font/font_file.h"
#include "apps/kr/text/forms.h"

namespace kr_app {

namespace {

const std::map<std::string, kr::ALIGN> kAlignments = {
    {"top-left", kr::ALIGN_TOP_LEFT},           {"top-centre", kr::ALIGN_TOP_CENTRE},
    {"top-right", kr::ALIGN_TOP_RIGHT},         {"middle-left", kr::ALIGN_MIDDLE_LEFT},
    {"middle-centre", kr::ALIGN_MIDDLE_CENTRE}, {"middle-right", kr::ALIGN_MIDDLE_RIGHT},
    {"bottom-left", kr::ALIGN_BOTTOM_LEFT},     {"bottom-centre", kr::ALIGN_BOTTOM_CENTRE},
    {"bottom-right", kr::ALIGN_BOTTOM_RIGHT},
};

constexpr const char* kExamples = R"(Examples:
  kr text - "Ø12 ±0,1\nШероховатость" -o note.svg --height 5
  kr text rowmans.shp "KP 7" -o label.gcode --feed 600 --lift 1.5
  kr text - "Plan" -o - --form dxf --align middle-centre --angle 30
  kr text rowmans.shx "how wide?" --measure
A text that begins with - goes behind --. docs/kr-text.md tells more.)";

struct TextOptions {
  std::string font;
  std::string text;
  std::string output;
  std::string form;
  TextSettings settings;
  FormOptions forms;
  bool measure = false;
  bool strict = false;
};

std::string Endings() {
  std::string all;
  for (const Form& form : kForms) {
    all += (all.empty() ? "." : " .") + std::string(form.ending);
  }
  return all;
}

// Usage, not failure: nothing has been read yet.
const Form& FormFor(const TextOptions& options) {
  std::string ending = options.form;
  if (ending.empty()) {
    ending = std::filesystem::path(options.output).extension().string();
    ending.erase(0, 1);
  }
  for (const Form& form : kForms) {
    if (ending == form.ending) {
      return form;
    }
  }
  throw CLI::ValidationError(
      options.output, "the form is told by an ending, one of " + Endings() + ", or by --form");
}

void PrintMeasure(const TextJob& job) {
  const TextJob::Frame frame = job.TextFrame();
  const auto side = [&](int from, int to) {
    return std::hypot(static_cast<double>(frame.corner[to].x) - frame.corner[from].x,
                      static_cast<double>(frame.corner[to].y) - frame.corner[from].y) /
           kUnitsPerMm;
  };
  std::printf("width %.2f mm\nheight %.2f mm\n", side(3, 0), side(0, 1));
  for (KRD::DOT corner : frame.corner) {
    std::printf("corner %s %s\n", Mm(std::int64_t{corner.x}).c_str(),
                Mm(std::int64_t{corner.y}).c_str());
  }
}

TextJob MakeJob(const TextOptions& options, std::string& title) {
  const bool built_in = options.font == "-";
  auto font = std::make_unique<kr::font>();
  if (built_in) {
    LoadDefaultFont(*font);
  } else {
    LoadQuietly(*font, options.font);
  }
  title = options.text == "-" ? ReadInput("-") : Unescaped(options.text);
  SlotText slots = SlotsOf(title, *font, built_in ? kDiameterSlot : '\0');
  if (!slots.missing.empty()) {
    const int count = CountOf(slots.missing);
    const std::string told = std::to_string(count) + (count == 1 ? " character" : " characters") +
                             " without a shape in the font: " + NamesOf(slots.missing);
    if (options.strict) {
      throw Failure(told);
    }
    std::fprintf(stderr, "kr: %s\n", told.c_str());
  }
  return Naming(built_in ? "the built-in font" : options.font,
                [&] { return TextJob(std::move(font), options.settings, std::move(slots.bytes)); });
}

void Text(const TextOptions& options) {
  if (options.output.empty() && !options.measure) {
    throw CLI::ValidationError("kr text", "-o OUT or --measure says what to do");
  }
  const Form* form = options.output.empty() ? nullptr : &FormFor(options);
  FormOptions forms = options.forms;
  const TextJob job = MakeJob(options, forms.title);
  if (options.measure) {
    PrintMeasure(job);
    return;
  }
  WriteWholeFile(options.output, form->make(job, forms));
}

void AddPlacement(CLI::App& text, TextSettings& settings) {
  text.add_option("--height", settings.height_mm, "Height of the font in mm, above plus below")
      ->check(CLI::Range(0.01, 10000.0))
      ->capture_default_str();
  text.add_option("--width-factor", settings.width_factor, "Width, 1 being the font's proportions")
      ->check(CLI::Range(0.01, 100.0))
      ->capture_default_str();
  text.add_option("--angle", settings.angle, "Whole degrees counter-clockwise")
      ->capture_default_str();
  std::vector<std::string> names;
  names.reserve(kAlignments.size());
  for (const auto& [name, align] : kAlignments) {
    names.push_back(name);
  }
  text.add_option_function<std::string>(
          "--align",
          [&settings](const std::string& name) { settings.align = kAlignments.at(name); },
          "Which point of the text stands at the origin (bottom-left)")
      ->check(CLI::IsMember(names));
  text.add_option("--pen", settings.pen_mm, "Stroke width in mm; 0 takes one font unit")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
  text.add_option("--margin", settings.margin_mm, "Paper around the strokes in mm")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
  text.add_flag("--mirror", settings.mirror, "Mirror the text in x");
  text.add_flag("--frame", settings.frame, "Draw the text's frame too");
}

}  // namespace

void AddText(CLI::App& kr) {
  CLI::App* text = kr.add_subcommand("text", "Set a text in a vector font and write its strokes");
  const auto options = std::make_shared<TextOptions>();
  text->add_option("font", options->font, "A .shx or .shp file, - for the built-in font")
      ->required();
  text->add_option(
          "text", options->text,
          "The text in UTF-8, - for standard input; \\n breaks a line, \\\\ is a backslash")
      ->required();
  text->add_option(
      "-o,--output", options->output,
      "The file to write, - for standard output; its ending is the form: " + Endings());
  text->add_option("--form", options->form, "The form, whatever the ending says");
  AddPlacement(*text, options->settings);
  text->add_option("--dpi", options->forms.dpi, "Pixels in an inch (.png)")
      ->check(CLI::Range(1.0, 100000.0))
      ->capture_default_str();
  text->add_option("--feed", options->forms.feed, "Feed in mm a minute (.gcode)")
      ->check(CLI::Range(0.001, 1e6))
      ->capture_default_str();
  text->add_option("--lift", options->forms.lift, "Height of moves between strokes, mm (.gcode)")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
  text->add_option("--tolerance", options->forms.tolerance,
                   "Chords this near in mm in place of arcs (.gcode); 0 keeps arcs")
      ->check(CLI::Range(0.0, 1000.0))
      ->capture_default_str();
  text->add_flag("--measure", options->measure, "Print size and corners in mm, draw nothing");
  text->add_flag("--strict", options->strict, "Fail when a character has no shape in the font");
  text->footer(kExamples);
  text->callback([options] { Text(*options); });
}

}  // namespace kr_app
