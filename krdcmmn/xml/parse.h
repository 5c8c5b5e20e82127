// Filling an XmlDocument from XML text through the expat library, which is loaded for each call and
// freed at its end.
//
// An element becomes a node with the line (from 1) and column (from 0) of its start tag. Names stay
// UTF-8; attribute values and texts are converted to the ANSI code page, where a character that the
// page does not hold becomes "_". The text of an element without children is its whole character
// data; an element with children keeps only what stands between its last child's end tag and its
// own. Comments, processing instructions and the document type leave nothing.
//
// All three functions add to what the document holds. They give true; or, for text that expat
// rejects, false, after one line "Error: <expat's text> \n" on standard output. The nodes made up
// to then stay in the document, and character data that was not yet used begins the first text of
// the next parse. Everything else throws:
//   - an exception with "Failed to load library ..." or "Failed to find function ..." when expat is
//     missing or incomplete, with the document untouched;
//   - krerr::Win32Ecept for a missing resource, kr::mapfile::MapExcept with the path for a file
//     that cannot be opened or is empty, std::exception without a parser; the document is
//     untouched;
//   - what a conversion or a table throws, after the nodes made up to then.
// The parser and the library are freed on each of these paths.
//
// Text beyond 2^31 - 1 bytes is rejected as too much for memory. Nesting is limited by memory
// alone. One parse at a time in the process: its state is process-wide.
#pragma once

#include <cstdint>

#include "krdcmmn/platform/types.h"
#include "krdcmmn/xml/document.h"

namespace kr {

// `length` bytes; no terminator is needed.
KRDCMMN_API bool ParseXMLString(const char* text, int length, XmlDocument& doc);

// The whole file, which nobody else can open until the call has ended.
KRDCMMN_API bool ParseXMLFile(const char* path, XmlDocument& doc);

// The resource of type "KR_MSG" and the low 16 bits of `id` in a module.
KRDCMMN_API bool LoadXMLFromResources(HINSTANCE module, std::uint32_t id, XmlDocument& doc);

}  // namespace kr
