#include "krdcmmn/host/failure_text.h"

#include "krdcmmn/host/system_error.h"
#include "krdcmmn/xml/message_container.h"

namespace kr::hosttext {

std::string FailureText(const char* name, const char* path) {
  const std::string reason = LastErrorText();
  const char* text = SystemMessageContainer().find(name);
  if (text == nullptr) {
    text = "%1: %2";
  }
  return FormatText(text, path, reason.c_str());
}

}  // namespace kr::hosttext
