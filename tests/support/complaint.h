// What an action complains of, as a test wants to compare it.
#ifndef SBRKIT_TESTS_SUPPORT_COMPLAINT_H
#define SBRKIT_TESTS_SUPPORT_COMPLAINT_H

#include <exception>
#include <string>

#include "support/files.h"

namespace sbrtest {

// The text of the exception that an action ends with, files of the scratch folder by their names alone; empty when it
// ends with none.
template <class Action>
std::string complaint_of(const ScratchDirectory &scratch, const Action &action) {
  try {
    action();
  } catch (const std::exception &error) {
    std::string what = error.what();
    const std::string folder = scratch.path().string() + "/";
    for (std::size_t at; (at = what.find(folder)) != std::string::npos;) what.erase(at, folder.size());
    return what;
  }
  return "";
}

}  // namespace sbrtest

#endif
