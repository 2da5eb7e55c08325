// Counts events and says which of them fail: one, or all from one on.
#ifndef SBRKIT_TESTS_SUPPORT_COUNTDOWN_H
#define SBRKIT_TESTS_SUPPORT_COUNTDOWN_H

namespace sbrtest {

enum class Failing { once, from_then_on };

struct Countdown {
  long nth = 0;  // the first that fails, from 1; 0 when none is to fail
  Failing failing = Failing::once;
  long seen = 0;

  bool fails_now() {
    ++seen;
    return nth > 0 && (failing == Failing::once ? seen == nth : seen >= nth);
  }
  [[nodiscard]] bool happened() const { return nth > 0 && seen >= nth; }
};

}  // namespace sbrtest

#endif
