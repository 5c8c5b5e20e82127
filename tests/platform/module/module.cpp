// The module that modules_test loads. What it sees of its own resources while its static objects
// are constructed and destroyed shows when they come and go.
#include "krdcmmn/platform/modules.h"

namespace {

int* at_end = nullptr;

bool SeesItsResources() {
  static const char anchor = 0;
  return FindResourceA(ModuleOfAddress(&anchor), 7, "SHP") != nullptr;
}

struct Witness {
  bool seen_at_start = SeesItsResources();
  ~Witness() {
    if (at_end != nullptr) {
      *at_end = SeesItsResources() ? 1 : 0;
    }
  }
};

Witness witness;

}  // namespace

extern "C" {

KRDCMMN_API bool SawResourcesAtStart() {
  return witness.seen_at_start;
}

// `*result` becomes 1 when the resources are still there at the module's end, else 0.
KRDCMMN_API void TellAtEnd(int* result) {
  at_end = result;
}
}
