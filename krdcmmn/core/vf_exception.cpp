#include "krdcmmn/core/vf_exception.h"

#include <algorithm>
#include <cstring>

namespace KRD {

VF_EXCEPTION::VF_EXCEPTION(std::int32_t code_, const char* name_, bool autoDelete_)
    : EXCEPTION(code_, autoDelete_), name(name_) {}

VF_EXCEPTION::~VF_EXCEPTION() = default;

bool VF_EXCEPTION::GetErrorMessage(char* text, int size) const {
  if (text == nullptr || size < 1) {
    return false;
  }
  std::strncpy(text, "Sorry!\nInternal error!", static_cast<std::size_t>(size));
  text[size - 1] = 0;
  return true;
}

int VF_EXCEPTION::ReportError(const char* title) const {
  return EXCEPTION::ReportError(title != nullptr ? title : "Virtual Files");
}

}  // namespace KRD
