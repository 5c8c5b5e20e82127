// Writing an XmlDocument as a UTF-8 file.
#pragma once

#include "krdcmmn/platform/export.h"
#include "krdcmmn/xml/document.h"

namespace kr {

// Creates or overwrites `path` (docs/xml-store.md shows the bytes): the declaration, then each
// child of the root, one line a tag, ended by CR LF, with no indentation. Names are written as they
// are; texts and values are escaped and converted from the ANSI code page.
//
// False, with nothing written, when the file cannot be opened. A file that fails later, as on a
// full disk, ends early and still gives true. A failed conversion throws krerr::Win32Ecept, and the
// file keeps what was written up to then. The document is only read: any number of threads may
// write one document to different files.
KRDCMMN_API bool WriteXMLDocument(const char* path, const XmlDocument& doc);

}  // namespace kr
