// What the subcommands of kr sheet do. Each throws Failure when it could not do all of it.
#pragma once

#include <string>
#include <vector>

#include "apps/sheet/dxf_import.h"

namespace kr_app {

void SheetImport(const std::vector<std::string>& files, const std::string& store,
                 const kr_sheet::ImportOptions& options);
void SheetList(const std::string& store);

}  // namespace kr_app
