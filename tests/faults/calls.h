// The ways in which system calls that touch files go wrong, and what deals them out.
#ifndef SBRKIT_TESTS_FAULTS_CALLS_H
#define SBRKIT_TESTS_FAULTS_CALLS_H

#include <string>
#include <vector>

#include "support/countdown.h"
#include "support/stepped_process.h"

namespace sbrtest::faults {

// One way for calls to go wrong.
struct CallFault {
  std::string name;
  std::vector<long> calls;
  Fate fate;
  Failing failing = Failing::once;
};

// Reads, writes, seeks, opens, closes, renames, syncs, changes of size and maps that fail, once and from then on; reads
// and writes that are cut short; what a signal may interrupt.
std::vector<CallFault> all_call_faults();

// Between these two marks of a process its calls count; without a second one they count to its end.
void mark_begin();
void mark_end();

// Gives the calls of a fault their fate, the n-th one or all from it on; with 0 they are counted.
class Dealer {
 public:
  Dealer(const CallFault &fault, long n) : fault_(fault), countdown_{n, fault.failing, 0} {}
  Fate operator()(const SystemCall &call);
  [[nodiscard]] const Countdown &countdown() const { return countdown_; }
  // What is dealt out, in words.
  [[nodiscard]] std::string words(long count) const;

 private:
  const CallFault &fault_;
  Countdown countdown_;
  bool counts_ = false;
};

}  // namespace sbrtest::faults

#endif
