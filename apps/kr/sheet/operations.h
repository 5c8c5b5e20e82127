// What the subcommands of kr sheet do. Each throws Failure when it could not do all of it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "apps/sheet/dxf_import.h"

namespace kr_app {

// "-" among the files is standard input. With `name` there is one file.
void SheetImport(const std::vector<std::string>& files, const std::string& store,
                 const std::string& name, const kr_sheet::ImportOptions& options);
void SheetList(const std::string& store);

struct DrawOptions {
  std::string name;  // of the drawing; may be empty when there is but one
  std::string output;
  int width = 1600;
  int height = 1200;
  std::vector<double> box;  // left, top, right, bottom in millimetres; empty: all of the drawing
  std::uint32_t background = 0xffffff;  // 0x00BBGGRR
  std::string font;
};
void SheetDraw(const std::string& store, const DrawOptions& options);
// Every drawing, or those whose names contain one of `names`, in a cell of one picture.
void SheetContact(const std::string& store, const std::vector<std::string>& names,
                  const DrawOptions& options, int columns);
// "white", "black" or "#rrggbb" as 0x00BBGGRR; false for anything else.
bool ParseColour(const std::string& text, std::uint32_t& colour);

}  // namespace kr_app
