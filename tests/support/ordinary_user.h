// File rights in tests that may run as the super-user, who would read and write everything.
#ifndef SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H
#define SBRKIT_TESTS_SUPPORT_ORDINARY_USER_H

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cstdlib>

namespace sbrtest {

// The rights of an ordinary user for as long as it lives: files obey their modes. It stays the same user, who reaches
// what is his, such as a build below root's home.
class OrdinaryUser {
 public:
  OrdinaryUser() {
    if (geteuid() != 0 || syscall(SYS_capget, &header_, before_.data()) != 0) return;
    Capabilities without = before_;
    for (__user_cap_data_struct &word : without) word.effective = 0;
    active_ = syscall(SYS_capset, &header_, without.data()) == 0;
  }
  ~OrdinaryUser() {
    if (active_ && syscall(SYS_capset, &header_, before_.data()) != 0) std::abort();
  }
  OrdinaryUser(const OrdinaryUser &) = delete;
  OrdinaryUser &operator=(const OrdinaryUser &) = delete;

 private:
  using Capabilities = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;
  __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
  Capabilities before_{};
  bool active_ = false;
};

}  // namespace sbrtest

#endif
