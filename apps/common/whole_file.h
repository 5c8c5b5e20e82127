// A file that is written whole or not at all.
#pragma once

#include <string>
#include <string_view>

namespace kr_app {

// Puts `bytes` into the file `path`, "-" being standard output. They go to a temporary file beside
// it first, which then takes the name, so that a failure leaves what was there before; what is no
// plain file (a device, a pipe) is written to directly. Throws Failure.
void WriteWholeFile(const std::string& path, std::string_view bytes);

}  // namespace kr_app
