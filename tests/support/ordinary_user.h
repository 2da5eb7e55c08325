// File rights in tests that may run as the super-user, who would read and write everything.
#ifndef SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H
#define SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H

#include <unistd.h>

#include <cstdlib>

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

}  // namespace sbrtest

#endif
