// The importers as the program knows them: what each is called, which options it takes, how it is run. The command
// line, the help, the manual pages and the completion all follow from these descriptions.
#ifndef SBRKIT_TRANSLATORS_COMMON_IMPORTER_H
#define SBRKIT_TRANSLATORS_COMMON_IMPORTER_H

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "common/feeder.h"
#include "common/report.h"

namespace sbrtranslate {

// One option of an importer. It is bound to the field of the importer that takes its value.
struct ImporterOption {
  // A choice between words: the setter is called with one of them.
  struct Choice {
    std::vector<std::string> words;
    std::function<void(const std::string &)> set;
  };
  // A text, a list A,B,C, a whole number, a number above zero, a switch, or a choice.
  using Target = std::variant<std::string *, std::optional<std::string> *, std::vector<std::string> *,
                              std::optional<int> *, std::optional<double> *, bool *, Choice>;

  std::string name;  // with its dashes
  Target target;
  std::string description;
  std::string value;         // what the help shows for the value; empty for numbers, switches and choices
  std::string standard;      // the default that the help shows
  int least = 0;             // of whole numbers
  bool above_zero = true;    // of numbers
  bool is_required = false;  // the command line is refused without it
  ImporterOption &&shown(std::string text) && { return value = std::move(text), std::move(*this); }
  ImporterOption &&by_default(std::string text) && { return standard = std::move(text), std::move(*this); }
  ImporterOption &&at_least(int number) && { return least = number, std::move(*this); }
  ImporterOption &&any_sign() && { return above_zero = false, std::move(*this); }
  ImporterOption &&required() && { return is_required = true, std::move(*this); }
};

// An option that chooses between named values of `target`, which may be an enumeration or an optional one.
template <class Value, class Target>
ImporterOption choice(std::string name, const std::vector<std::pair<std::string, Value>> &values, Target &target,
                      std::string description) {
  ImporterOption::Choice words;
  for (const auto &[word, value] : values) words.words.push_back(word);
  words.set = [values, &target](const std::string &given) {
    for (const auto &[word, value] : values)
      if (word == given) target = value;
  };
  ImporterOption option{std::move(name), std::move(words), std::move(description), {}, {}};
  return option;
}

// What the command line gives to every importer.
struct ImportInput {
  std::string path;
  std::function<void(const ReductionProgress &)> progress;  // of a reduction; may be empty
  std::optional<UnitLabels> units;                          // nothing: the importer's own rule, as its entry tells
  bool shared_faces = true;                                 // whether the body gets the faces that two solids share
};

// An importer with the fields that its options are bound to; it owns them, and serves one run.
class Importer {
 public:
  Importer() = default;
  Importer(const Importer &) = delete;
  Importer &operator=(const Importer &) = delete;
  virtual ~Importer() = default;
  virtual std::vector<ImporterOption> options() = 0;
  // Makes the body and fills the report. Throws InputError for what is wrong with an input, std::invalid_argument for
  // what is wrong with the options, other exceptions for what else goes wrong.
  virtual BodyHandle run(const ImportInput &input, ImportReport &report) = 0;
};

// A row of the registry.
struct ImporterEntry {
  std::string name;                                           // behind `sbr import`
  std::string summary;                                        // one line for the list of commands
  std::string input;                                          // what the help calls the input file
  std::string input_text;                                     // what the input file is
  std::string units;                                          // the default of --units
  std::string details;                                        // what the help says below the options
  std::vector<std::pair<std::string, std::string>> examples;  // command lines with their meanings
  std::unique_ptr<Importer> (*make)();
};

}  // namespace sbrtranslate

#endif
