// What a test and the program under faults tell each other. The program is loaded once and forks before its main
// function, once per case: the loading is not paid for each case, and no case inherits anything from another.
#ifndef SBRKIT_TESTS_FAULTS_SERVER_PROTOCOL_H
#define SBRKIT_TESTS_FAULTS_SERVER_PROTOCOL_H

#include "support/countdown.h"

namespace sbrtest::faults {

// The descriptors, as "ORDERS ANSWERS GO OUTPUT ERRORS": see the members below.
inline constexpr const char *kServerVariable = "SBRKIT_FAULT_SERVER";

// Arguments of getsid, a harmless call that nobody makes with these: where the calls begin and cease to count.
inline constexpr unsigned long kBeginMark = 0x5B000001;
inline constexpr unsigned long kEndMark = 0x5B000002;

// Which allocation fails. A case that waits begins when a byte comes through GO.
struct Order {
  long nth = 0;
  Failing failing = Failing::once;
  bool waits = false;
};

// First comes the process of the case, then how it ended and how many allocations it made.
struct Ending {
  int status = 0;
  long seen = 0;
};

}  // namespace sbrtest::faults

#endif
