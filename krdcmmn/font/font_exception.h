// FontException: a file that is no font which this library reads.
#pragma once

#include <exception>

#include "krdcmmn/platform/export.h"

namespace kr {

class KRDCMMN_API FontException : public std::exception {
 public:
  ~FontException() override;
  // The message "kr_Font_Error" of the system container, or null when it holds none.
  const char* what() const noexcept override;
};

}  // namespace kr
