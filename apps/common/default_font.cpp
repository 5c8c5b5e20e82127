#include "apps/common/default_font.h"

#include "krdcmmn/platform/modules.h"

namespace kr_app {

namespace {

constexpr unsigned kDefaultFont = 1;  // the number of the "SHP" resource

}  // namespace

void LoadDefaultFont(kr::font& font) {
  static const char here = 0;
  font.LoadFromRes(ModuleOfAddress(&here), kDefaultFont);
}

}  // namespace kr_app
