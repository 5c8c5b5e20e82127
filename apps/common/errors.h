// What goes wrong in an app, as one line for a person.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace kr_app {

// The work failed. The text names the file and says what is wrong with it or what to do.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The text of the exception in flight, whatever of the library's kinds it is: a std::exception, an
// EXCEPTION* (which is deleted), or the plain number of a damaged block. For catch (...) only.
std::string TextOfException();

// Runs `work`; whatever it throws becomes a Failure that begins with `file`. A Failure passes as it
// is.
template <class Work>
auto Naming(const std::string& file, Work&& work) -> decltype(work()) {
  try {
    return std::forward<Work>(work)();
  } catch (const Failure&) {
    throw;
  } catch (...) {
    throw Failure(file + ": " + TextOfException());
  }
}

}  // namespace kr_app
