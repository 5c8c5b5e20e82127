// The library's attach step, and the message container that it fills. Both stand in one file: a
// program that is linked with the static library and asks for a message takes the step along.
#include <cstdlib>
#include <exception>

#include "krdcmmn/core/exception.h"
#include "krdcmmn/platform/modules.h"
#include "krdcmmn/platform/ui.h"
#include "krdcmmn/xml/message_container.h"

extern "C" void krd_resources_krdcmmn();

namespace {

constexpr std::uint32_t kMessages = 3001;
constexpr char kFatalCaption[] = "FATAL ERROR! Couldn't load messages.";

HMODULE library_module;

// A library whose messages are missing is not used: a shared library's load cannot be refused from
// here, so the process ends.
[[noreturn]] void Fail(const char* text) {
  MessageBoxA(GetDesktopWindow(), text, kFatalCaption, MB_TASKMODAL | MB_ICONERROR);
  std::_Exit(EXIT_FAILURE);
}

// Runs once, when the library is loaded, ahead of everything but what it needs itself. A message
// text that is not well-formed leaves the container empty and is no failure.
[[gnu::constructor(kAttachPriority)]] void Attach() {
  krd_resources_krdcmmn();
  library_module = ModuleOfAddress(&library_module);
  try {
    SystemMessageContainer().LoadStrings(library_module, kMessages);
  } catch (const std::exception& e) {
    Fail(e.what());
  } catch (KRD::EXCEPTION* e) {
    char text[256] = "";
    e->GetErrorMessage(text, static_cast<int>(sizeof(text)));
    Fail(text);
  }
}

}  // namespace

kr::MessageContainer& SystemMessageContainer() {
  static kr::MessageContainer container;
  return container;
}
