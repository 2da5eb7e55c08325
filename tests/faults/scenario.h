// Whole scenarios of a host: what is done under faults, what it answers, and what must hold after any fault.
//
// A run notes one item per call: whether the call says that it went well, and what it gave. Against the run without
// faults: what a call gave that went well without a complaint is the same to the last bit, and a call that failed has
// been complained about, unless its contract says that it fails without a word.
#ifndef SBRKIT_TESTS_FAULTS_SCENARIO_H
#define SBRKIT_TESTS_FAULTS_SCENARIO_H

#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "sbrkit/sbrkit.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest::faults {

// The directories of a scenario: inputs, outputs, and temporary files of the library.
struct Place {
  ScratchDirectory inputs;
  ScratchDirectory outputs;
  ScratchDirectory temporary;
  ScopedEnvironment tmp{"TMP", temporary.path().string()};
  ScopedEnvironment no_options{"KTX_SBRWRITE_OPTIONS", std::nullopt};
#ifdef SBRKIT_STORE_DIRECTORY
  ScopedEnvironment plugins{"KTX_USER_PLUGIN_DIR", SBRKIT_STORE_DIRECTORY};
  ScopedEnvironment home{"KTX_QSRVHOME_DIR", "/qsrv"};
#endif

  [[nodiscard]] std::string input(const std::string &name) const { return inputs.file(name); }
  [[nodiscard]] std::string output() const { return outputs.file("out"); }
};

struct Item {
  std::string name;
  bool good = false;
  std::string complaint;  // all of them; empty without one
  std::string gave;
};

// Values as a text that tells each bit.
class Text {
 public:
  template <class T>
  Text &add(const T &value) {
    if constexpr (std::is_arithmetic_v<T>) {
      bytes_.append(reinterpret_cast<const char *>(&value), sizeof value);
    } else if constexpr (std::is_convertible_v<T, std::string>) {
      bytes_ += std::string(value) + '\n';
    } else {
      for (const auto &each : value) add(each);
    }
    return *this;
  }
  [[nodiscard]] const std::string &bytes() const { return bytes_; }

 private:
  std::string bytes_;
};

// One run of a scenario.
class Run {
 public:
  Run(const Place &at, MessageLog &log) : place(at), log_(log) { log.clear(); }

  template <class... Values>
  bool item(const std::string &name, bool good, const Values &...values) {
    Text text;
    (text.add(values), ...);
    items.push_back({name, good, complaint_since_last_item(), good ? text.bytes() : ""});
    return good;
  }
  // An array that a call gave out, which is freed. Null is a failure.
  template <class T>
  bool array(const std::string &name, T *values, int count) {
    Text text;
    for (int i = 0; values != nullptr && i < count; ++i) text.add(values[i]);
    const bool good = values != nullptr;
    SBR_FreeMemory(values);
    return item(name, good, text.bytes());
  }
  // What the host sees by itself, such as the error mark of its own stream.
  void complain(const std::string &text) { complaint_ = text; }

  const Place &place;
  std::vector<Item> items;

 private:
  std::string complaint_since_last_item() {
    std::string all = std::exchange(complaint_, "");
    for (const Message &message : log_.take_complaints()) all += message.text;
    return all;
  }
  MessageLog &log_;
  std::string complaint_;
};

struct Scenario {
  std::string name;
  // The body before the faults; none if empty.
  std::function<SBR(const Place &)> make;
  // What is done under faults. Gives the body to be looked at and released afterwards, which may be a new one.
  std::function<SBR(Run &, SBR)> work;
  // Calls that may fail without a word.
  bool quiet = false;
  // A failure leaves the body as it was: the same work succeeds on it afterwards, with the same result.
  bool unchanged_by_failure = false;
};

// Puts the inputs of all scenarios into a place.
void make_inputs(const Place &place);
// The scenarios that need nothing but the library. With a store the database is among them.
std::vector<Scenario> library_scenarios();

// ---- families of accessors -----------------------------------------------------------------------------------------

void look_at_geometry(Run &run, SBR body);
void look_at_modes(Run &run, SBR body);
void look_at_matrices(Run &run, SBR body);
void look_at_loads(Run &run, SBR body);
void look_at_operators(Run &run, SBR body);
void look_at_invariants(Run &run, SBR body);
void look_at_statistics(Run &run, SBR body);
// All of them but the invariants, which would be computed.
void look_at_all(Run &run, SBR body);

// ---- judging -------------------------------------------------------------------------------------------------------

// What a run without faults gives.
struct Reference {
  std::vector<Item> items;
  std::vector<Item> body;  // of the body afterwards
  std::string output;      // the file it writes; empty without one
};

// What switches the faults on and off around the work.
struct Faults {
  std::function<void()> on = [] {};
  std::function<void()> off = [] {};
};

// Runs a scenario once under faults and looks at everything that must hold afterwards. Gives what does not, in words;
// empty when all is well. Without a reference, `made` becomes one.
std::string try_once(const Scenario &scenario, const Place &place, const Faults &faults, const Reference *reference,
                     Reference *made);

// A test of each scenario of the library, in a place that all of them share.
class ScenarioTest : public ::testing::TestWithParam<std::string> {
 protected:
  ScenarioTest();
  static void SetUpTestSuite();
  static void TearDownTestSuite();
  static inline Place *place = nullptr;
  Scenario scenario;
};
std::vector<std::string> scenario_names();
std::string scenario_test_name(const ::testing::TestParamInfo<std::string> &info);

// Which of the cases 1 to `count` are tried: all with SBRKIT_FAULTS=all, else at most `sample` of them, the first ones
// among them.
std::vector<long> cases_to_try(long count, long sample);

}  // namespace sbrtest::faults

#endif
