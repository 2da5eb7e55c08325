// File rights in tests that may run as the super-user, who would read and write everything.
#ifndef SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H
#define SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "support/files.h"

namespace sbrtest {

// The rights of an ordinary user for as long as it lives.
class OrdinaryUser {
 public:
  OrdinaryUser() : active_(geteuid() == 0 && seteuid(65534) == 0) {}
  ~OrdinaryUser() {
    if (active_ && seteuid(0) != 0) std::abort();
  }
  OrdinaryUser(const OrdinaryUser &) = delete;
  OrdinaryUser &operator=(const OrdinaryUser &) = delete;

 private:
  bool active_;
};

// A copy of the shared libraries of a directory where an ordinary user reaches them: a checkout in root's home is
// closed to everyone else. As long as it lives, they are looked for there.
class ReachablePlugins {
 public:
  explicit ReachablePlugins(const std::filesystem::path &built) {
    std::filesystem::copy(built, directory_.path());
    chmod(directory_.path().c_str(), 0755);
  }

 private:
  ScratchDirectory directory_;
  ScopedEnvironment variable_{"KTX_USER_PLUGIN_DIR", directory_.path().string()};
};

}  // namespace sbrtest

#endif
