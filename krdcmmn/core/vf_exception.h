// The exception of the virtual file storage.
#pragma once

#include <cstdint>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/text/krdstr.h"

namespace KRD {

// Codes:
//   100 the name exists                       108 the array link ends behind the data
//   101 the name does not exist               109 not an array link, or a damaged file
//   102 the file is open                      110 the block ends behind the data
//   103 unknown mode                          111 an array link where a block was asked for
//   105 not open for reading                  112 the string ends behind the data
//   106 not open for writing                  113 an array link where a string was asked for
//   107 a handle beyond the table             114 a damaged container
class KRDCMMN_API VF_EXCEPTION : public EXCEPTION {
 public:
  // `name` is copied; null gives an empty one.
  VF_EXCEPTION(std::int32_t code, const char* name, bool autoDelete);
  VF_EXCEPTION(const VF_EXCEPTION&) = default;
  VF_EXCEPTION& operator=(const VF_EXCEPTION&) = default;
  ~VF_EXCEPTION() override;

  bool GetErrorMessage(char* text, int size) const override;
  int ReportError(const char* title) const override;

  KRDSTR name;  // of the virtual file, or the container's path
};

}  // namespace KRD
