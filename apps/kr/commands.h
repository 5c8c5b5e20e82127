// The subcommands of kr. Each lives in a folder of its own and adds itself to the app: its options,
// its help with examples, and the callback that does the work. A callback that fails throws; the
// frame prints the text and makes it exit status 1 (main.cpp).
#pragma once

namespace CLI {
class App;
}

namespace kr_app {

void AddFont(CLI::App& kr);
void AddText(CLI::App& kr);
void AddSheet(CLI::App& kr);
void AddVfs(CLI::App& kr);
void AddXml(CLI::App& kr);

inline constexpr void (*kCommands[])(CLI::App&) = {
    AddVfs, AddFont, AddXml, AddText, AddSheet,
};

}  // namespace kr_app
