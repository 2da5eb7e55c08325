// The sample records: where they lie, their names, and the figures that an opened body must answer.
#ifndef SBRKIT_TESTS_SUPPORT_SAMPLES_H
#define SBRKIT_TESTS_SUPPORT_SAMPLES_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/files.h"

namespace sbrtest {

inline const std::string kSamples = SBRKIT_TEST_DATA "/samples/";

inline const nlohmann::json &expected_figures() {
  static const nlohmann::json figures = nlohmann::json::parse(read_file(kSamples + "expected.json"));
  return figures;
}

inline std::vector<std::string> sample_names() {
  std::vector<std::string> names;
  for (const auto &[name, figures] : expected_figures().items()) names.push_back(name);
  return names;
}

}  // namespace sbrtest

#endif
