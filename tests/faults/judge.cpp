#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "faults/scenario.h"

namespace sbrtest::faults {
namespace {

namespace fs = std::filesystem;

// Whether every call went as in the run without faults, as far as it says itself.
bool is_clean(const std::vector<Item> &items, const std::vector<Item> &expected) {
  const auto alike = [](const Item &a, const Item &b) { return a.good == b.good && a.complaint == b.complaint; };
  return std::equal(items.begin(), items.end(), expected.begin(), expected.end(), alike);
}

bool all_good(const std::vector<Item> &items) {
  return std::all_of(items.begin(), items.end(), [](const Item &item) { return item.good; });
}

// What a run gave against the run without faults.
std::string differences(const Scenario &scenario, const std::vector<Item> &items, const std::vector<Item> &expected) {
  std::string found;
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Item &item = items[i];
    if (i >= expected.size() || expected[i].name != item.name) return found + item.name + " was not expected here; ";
    if (!expected[i].good) continue;
    const bool complained = !item.complaint.empty() && item.complaint != expected[i].complaint;
    if (!item.good && !complained && !scenario.quiet) found += item.name + " failed without a word; ";
    // What follows may differ: nothing is rolled back, and what has been said once about a mode is not said again.
    if (complained || (!item.good && !scenario.quiet)) return found;
    if (item.good && !complained && expected[i].gave != item.gave)
      found += item.name + " went well with another result; ";
  }
  const bool broke_off = !items.empty() && !items.back().good;
  if (items.size() < expected.size() && !broke_off) found += "calls are missing; ";
  return found;
}

// Looked at without faults, two bodies tell the same.
std::string body_differences(const std::vector<Item> &items, const std::vector<Item> &expected) {
  for (std::size_t i = 0; i < items.size() && i < expected.size(); ++i)
    if (items[i].name != expected[i].name || items[i].good != expected[i].good || items[i].gave != expected[i].gave)
      return items[i].name + " of the body is another; ";
  return items.size() == expected.size() ? "" : "the body has other parts; ";
}

std::ptrdiff_t open_descriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

std::string strays(const Place &place) {
  std::string found;
  for (const auto &entry : fs::directory_iterator(place.temporary.path()))
    found += "left " + entry.path().filename().string() + " among the temporary files; ";
  for (const auto &entry : fs::directory_iterator(place.outputs.path()))
    if (entry.path() != place.output() && !entry.path().filename().string().starts_with("wing."))
      found += "left " + entry.path().filename().string() + " beside the output; ";
  return found;
}

std::vector<Item> all_of(const Place &place, MessageLog &log, SBR body) {
  if (body == nullptr) return {};
  Run run(place, log);
  look_at_all(run, body);
  return run.items;
}

std::string output_of(const Place &place) { return fs::exists(place.output()) ? read_file(place.output()) : ""; }

void remove_outputs(const Place &place) {
  for (const fs::path &directory : {place.outputs.path(), place.temporary.path()})
    for (const auto &entry : fs::directory_iterator(directory)) fs::remove_all(entry.path());
}

class Judge {
 public:
  Judge(const Scenario &scenario, const Place &place) : scenario_(scenario), place_(place) {}

  // Runs the scenario under faults. Gives the body afterwards.
  SBR run(const Faults &faults, std::vector<Item> &items) {
    SBR body = scenario_.make ? scenario_.make(place_) : nullptr;
    Run run(place_, log);
    faults.on();
    body = scenario_.work(run, body);
    faults.off();
    items = std::move(run.items);
    return body;
  }

  Reference reference() {
    Reference made;
    SBR body = run({}, made.items);
    made.output = output_of(place_);
    made.body = all_of(place_, log, body);
    SBR_Terminate();
    remove_outputs(place_);
    return made;
  }

  std::string compare(const Reference &expected, const std::vector<Item> &items, SBR body) {
    std::string found = differences(scenario_, items, expected.items);
    const std::string output = output_of(place_);
    const bool clean = is_clean(items, expected.items);
    if (clean && output != expected.output) {
      const auto [a, b] = std::mismatch(output.begin(), output.end(), expected.output.begin(), expected.output.end());
      found += "the output is another one from byte " + std::to_string(a - output.begin()) + "; ";
    }
    if (!items.empty() && !items.back().good && !output.empty()) found += "the output of a failure is there; ";
    if (body != nullptr && SBR_IsValid(body) == 0) found += "the handle is not valid; ";
    // A failure that leaves the body as it was: the same work goes well now.
    if (scenario_.unchanged_by_failure && !items.empty() && !items.back().good) {
      Run second(place_, log);
      scenario_.work(second, body);
      if (!differences(scenario_, second.items, expected.items).empty() || !all_good(second.items))
        found += "the body has not stayed as it was; ";
    }
    // It must be possible to look at any body; one that went through without a fault is the same throughout.
    const std::vector<Item> seen = all_of(place_, log, body);
    if (clean) found += body_differences(seen, expected.body);
    return found;
  }

  MessageLog log;

 private:
  const Scenario &scenario_;
  const Place &place_;
};

}  // namespace

std::string try_once(const Scenario &scenario, const Place &place, const Faults &faults, const Reference *reference,
                     Reference *made) {
  Judge judge(scenario, place);
  if (reference == nullptr) {
    *made = judge.reference();
    std::string found = strays(place);
    for (const Item &item : made->items)
      if (!scenario.quiet && !item.good)
        found += item.name + " does not go well without faults: " + item.complaint + "; ";
    return found;
  }
  std::vector<Item> items;
  const std::ptrdiff_t descriptors = open_descriptors();
  SBR body = judge.run(faults, items);
  std::string found = judge.compare(*reference, items, body);
  if (body != nullptr) SBR_Destroy(body);
  SBR_Terminate();
  found += strays(place);
  if (open_descriptors() != descriptors) found += "left a file open; ";
  remove_outputs(place);
  // The next run, on a fresh handle.
  std::vector<Item> fresh;
  SBR next = judge.run({}, fresh);
  const bool same = is_clean(fresh, reference->items) && differences(scenario, fresh, reference->items).empty() &&
                    output_of(place) == reference->output &&
                    body_differences(all_of(place, judge.log, next), reference->body).empty();
  if (!same) found += "the next run does not go as the first; ";
  SBR_Terminate();
  remove_outputs(place);
  return found;
}

ScenarioTest::ScenarioTest() {
  for (Scenario &each : library_scenarios())
    if (each.name == GetParam()) scenario = std::move(each);
}

void ScenarioTest::SetUpTestSuite() {
  place = new Place;
  make_inputs(*place);
}

void ScenarioTest::TearDownTestSuite() {
  fs::current_path("/");
  delete place;
}

std::vector<std::string> scenario_names() {
  std::vector<std::string> names;
  for (const Scenario &scenario : library_scenarios()) names.push_back(scenario.name);
  return names;
}

std::string scenario_test_name(const ::testing::TestParamInfo<std::string> &info) {
  std::string name = info.param;
  for (char &letter : name)
    if (std::isalnum(static_cast<unsigned char>(letter)) == 0) letter = '_';
  return name;
}

std::vector<long> cases_to_try(long count, long sample) {
  const char *wanted = std::getenv("SBRKIT_FAULTS");
  const bool all = wanted != nullptr && std::string_view(wanted) == "all";
  std::vector<long> cases;
  if (all || count <= sample) {
    for (long n = 1; n <= count; ++n) cases.push_back(n);
    return cases;
  }
  const long first = sample / 4;
  for (long n = 1; n <= first; ++n) cases.push_back(n);
  for (long i = 1; i <= sample - first; ++i) cases.push_back(first + i * (count - first) / (sample - first));
  return cases;
}

}  // namespace sbrtest::faults
