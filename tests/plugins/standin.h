// A stand-in of the database library: it keeps nothing, notes every call with its arguments, and answers what a test
// has laid out. The state lives as long as the library is loaded.
#ifndef SBRKIT_TESTS_PLUGINS_STANDIN_H
#define SBRKIT_TESTS_PLUGINS_STANDIN_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

struct StandinState {
  std::vector<std::string> calls;            // "QS_DbaseOld(wing,)", in order
  std::map<std::string, int> statuses;       // by entry, or by entry and first text argument; 0 where there is none
  std::map<std::string, std::string> names;  // answers of QS_GetDbName by kind
  std::string dictionary;                    // what QS_GetDbdict lists
  int record_limit = 32768;
  int unit = 7;  // of created and attached data blocks
  int count = 1;
  std::vector<std::int64_t> words;  // what Ruvo_Read hands out, from the front
};

// Exported by the library as "standin_state".
using StandinStateFunction = StandinState *();

#endif
