// Loaded before a program: its allocations fail on demand, whoever makes them, the clock stands, and the program
// becomes a server of cases (server_protocol.h).
#include <dlfcn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <initializer_list>

#include "faults/server_protocol.h"

namespace {

using sbrtest::Countdown;
using sbrtest::faults::Ending;
using sbrtest::faults::kBeginMark;
using sbrtest::faults::kServerVariable;
using sbrtest::faults::Order;

Countdown no_countdown;
Countdown *countdown = &no_countdown;  // becomes memory that the server shares with its cases
bool armed = false;

bool fails_now() { return armed && countdown->fails_now(); }

using Main = int (*)(int, char **, char **);
Main program = nullptr;

struct Descriptors {
  int orders = -1;
  int answers = -1;
  int go = -1;
  int output = -1;
  int errors = -1;
};

// A case begins from empty outputs.
void begin_case(const Descriptors &ends, const Order &order) {
  char go = 0;
  if (order.waits && read(ends.go, &go, 1) != 1) _exit(125);
  dup2(ends.output, STDOUT_FILENO);
  dup2(ends.errors, STDERR_FILENO);
  for (const int each : {ends.orders, ends.answers, ends.go, ends.output, ends.errors}) close(each);
  *countdown = {order.nth, order.failing, 0};
  armed = true;
  if (order.waits) syscall(SYS_getsid, kBeginMark);
}

int serve(int argc, char **argv, char **environment) {
  const char *text = std::getenv(kServerVariable);
  Descriptors ends;
  if (text == nullptr ||
      std::sscanf(text, "%d %d %d %d %d", &ends.orders, &ends.answers, &ends.go, &ends.output, &ends.errors) != 5)
    return program(argc, argv, environment);
  unsetenv(kServerVariable);
  unsetenv("LD_PRELOAD");
  void *shared = mmap(nullptr, sizeof(Countdown), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (shared == MAP_FAILED) return 125;
  countdown = static_cast<Countdown *>(shared);
  Order order;
  while (read(ends.orders, &order, sizeof order) == static_cast<ssize_t>(sizeof order)) {
    const pid_t process = fork();
    if (process == 0) {
      begin_case(ends, order);
      return program(argc, argv, environment);
    }
    Ending ending;
    if (write(ends.answers, &process, sizeof process) < 0 || waitpid(process, &ending.status, 0) < 0) return 125;
    ending.seen = countdown->seen;
    if (write(ends.answers, &ending, sizeof ending) < 0) return 125;
  }
  _exit(0);
}

}  // namespace

extern "C" {

void *__libc_malloc(std::size_t size);
void *__libc_calloc(std::size_t count, std::size_t size);
void *__libc_realloc(void *block, std::size_t size);
void *__libc_memalign(std::size_t alignment, std::size_t size);

#define SHOWN __attribute__((visibility("default")))

static void *missing() {
  errno = ENOMEM;
  return nullptr;
}

SHOWN void *malloc(std::size_t size) { return fails_now() ? missing() : __libc_malloc(size); }
SHOWN void *calloc(std::size_t count, std::size_t size) { return fails_now() ? missing() : __libc_calloc(count, size); }
SHOWN void *realloc(void *block, std::size_t size) { return fails_now() ? missing() : __libc_realloc(block, size); }
SHOWN void *memalign(std::size_t alignment, std::size_t size) {
  return fails_now() ? missing() : __libc_memalign(alignment, size);
}
SHOWN void *aligned_alloc(std::size_t alignment, std::size_t size) { return memalign(alignment, size); }
SHOWN int posix_memalign(void **block, std::size_t alignment, std::size_t size) {
  void *fresh = memalign(alignment, size);
  if (fresh == nullptr) return ENOMEM;
  *block = fresh;
  return 0;
}

SHOWN time_t time(time_t *at) {
  constexpr time_t kNow = 1700000000;
  if (at != nullptr) *at = kNow;
  return kNow;
}
SHOWN int clock_gettime(clockid_t, timespec *at) {
  *at = {time(nullptr), 0};
  return 0;
}

SHOWN int __libc_start_main(Main main, int argc, char **argv, void (*start)(), void (*end)(), void (*last)(),
                            void *stack) {
  using Start = int (*)(Main, int, char **, void (*)(), void (*)(), void (*)(), void *);
  const auto real = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
  program = main;
  return real(serve, argc, argv, start, end, last, stack);
}

}  // extern "C"
