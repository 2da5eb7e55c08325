#include "faults/served_program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "support/files.h"

namespace sbrtest::faults {
namespace {

struct Pipe {
  int from = -1;
  int to = -1;
  Pipe() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    from = ends[0];
    to = ends[1];
  }
};

// Appending, so that each case writes at the end of what was cut back to nothing.
int open_log(const std::string &path) {
  const int file = ::open(path.c_str(), O_CREAT | O_RDWR | O_APPEND | O_CLOEXEC, 0600);
  if (file < 0) throw std::runtime_error("cannot open " + path);
  return file;
}

template <class T>
T answer(int from) {
  T value{};
  if (::read(from, &value, sizeof value) != static_cast<ssize_t>(sizeof value))
    throw std::runtime_error("the program under faults does not answer");
  return value;
}

}  // namespace

ServedProgram::ServedProgram(const std::vector<std::string> &arguments, const std::string &directory,
                             const std::string &log)
    : output_(log + "/out"), errors_(log + "/errors") {
  Pipe orders;
  Pipe answers;
  Pipe go;
  const int output = open_log(output_);
  const int errors = open_log(errors_);
  const int handed[] = {orders.from, answers.to, go.from, output, errors};
  std::string ends;
  for (const int each : handed) ends += std::to_string(each) + " ";
  std::vector<char *> words = {const_cast<char *>(SBR_PROGRAM)};
  for (const std::string &argument : arguments) words.push_back(const_cast<char *>(argument.c_str()));
  words.push_back(nullptr);
  server_ = fork();
  if (server_ == 0) {
    for (const int each : handed) fcntl(each, F_SETFD, 0);
    setenv(kServerVariable, ends.c_str(), 1);
    setenv("LD_PRELOAD", SBRKIT_FAULTS_PRELOAD, 1);
    if (chdir(directory.c_str()) == 0) execv(SBR_PROGRAM, words.data());
    _exit(126);
  }
  for (const int each : handed) close(each);
  orders_ = orders.to;
  answers_ = answers.from;
  go_ = go.to;
}

ServedProgram::~ServedProgram() {
  for (const int each : {orders_, answers_, go_}) close(each);
  waitpid(server_, nullptr, 0);
}

pid_t ServedProgram::order(const Order &order) {
  std::filesystem::resize_file(output_, 0);
  std::filesystem::resize_file(errors_, 0);
  if (::write(orders_, &order, sizeof order) < 0) throw std::runtime_error("the program under faults is gone");
  return answer<pid_t>(answers_);
}

Case ServedProgram::ending() {
  const auto ending = answer<Ending>(answers_);
  return {ending.status, ending.seen, read_file(output_), read_file(errors_)};
}

Case ServedProgram::run(long nth, Failing failing) {
  order({nth, failing, false});
  return ending();
}

Case ServedProgram::run_under(const std::function<Fate(const SystemCall &)> &fate) {
  SteppedProcess process(order({0, Failing::once, true}));
  if (::write(go_, "x", 1) != 1) throw std::runtime_error("the program under faults is gone");
  process.finish_under(fate);
  return ending();
}

}  // namespace sbrtest::faults
