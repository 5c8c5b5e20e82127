// The text of a failed call on a host file. Internal to kr::file and kr::mapfile.
#pragma once

#include <string>

namespace kr::hosttext {

// The system message `name` with `path` (null reads as empty) and the host's text for the thread's
// last error as its inserts; the path, a colon, a blank and that text when there is no such
// message.
std::string FailureText(const char* name, const char* path);

}  // namespace kr::hosttext
