// The program sbr under faults: loaded once, run once per case.
#ifndef SBRKIT_TESTS_FAULTS_SERVED_PROGRAM_H
#define SBRKIT_TESTS_FAULTS_SERVED_PROGRAM_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

#include "faults/server_protocol.h"
#include "support/stepped_process.h"

namespace sbrtest::faults {

struct Case {
  int status = 0;   // as waitpid gives it
  long seen = 0;    // allocations
  std::string out;  // standard output
  std::string errors;
};

class ServedProgram {
 public:
  // Runs in a directory; its standard output and errors go to files in another.
  ServedProgram(const std::vector<std::string> &arguments, const std::string &directory, const std::string &log);
  ~ServedProgram();
  ServedProgram(const ServedProgram &) = delete;
  ServedProgram &operator=(const ServedProgram &) = delete;

  Case run(long nth, Failing failing);
  // Under the eyes of the test, from the main function on.
  Case run_under(const std::function<Fate(const SystemCall &)> &fate);

 private:
  pid_t order(const Order &order);
  Case ending();
  pid_t server_ = -1;
  int orders_ = -1;
  int answers_ = -1;
  int go_ = -1;
  std::string output_;
  std::string errors_;
};

}  // namespace sbrtest::faults

#endif
