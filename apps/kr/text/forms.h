// The forms that a text can be written in, each in a file of its own. All lengths in them are
// millimetres unless the form has a unit of its own; docs/kr-text.md tells them apart.
#pragma once

#include <cstdint>
#include <string>

#include "apps/kr/text/text_job.h"

namespace kr_app {

struct FormOptions {
  std::string title;       // the text in UTF-8
  double dpi = 300.0;      // of pictures
  double feed = 1000.0;    // of G-code, mm a minute
  double lift = 2.0;       // of G-code, mm above the work between strokes
  double tolerance = 0.0;  // of G-code, mm between an arc and its chords; 0 keeps arcs
};

// The whole file. Throws Failure.
std::string PngForm(const TextJob& job, const FormOptions& options);
std::string SvgForm(const TextJob& job, const FormOptions& options);
std::string DxfForm(const TextJob& job, const FormOptions& options);
std::string HpglForm(const TextJob& job, const FormOptions& options);
std::string GcodeForm(const TextJob& job, const FormOptions& options);
std::string JsonForm(const TextJob& job, const FormOptions& options);

struct Form {
  const char* ending;  // of the file's name, without the point
  std::string (*make)(const TextJob&, const FormOptions&);
};

inline constexpr Form kForms[] = {
    {"png", PngForm},  {"svg", SvgForm},     {"dxf", DxfForm},
    {"plt", HpglForm}, {"gcode", GcodeForm}, {"json", JsonForm},
};

// A number with at most `decimals` digits behind its point, without zeros at its end.
std::string Number(double value, int decimals);
// Model units in millimetres, exact; points within a unit to four decimals.
std::string Mm(std::int64_t units);
std::string Mm(double units);

}  // namespace kr_app
