// Jobs of tests/data/fe/elements with a deck that a test may change.
#ifndef SBRKIT_TESTS_SUPPORT_MODEL_JOB_H
#define SBRKIT_TESTS_SUPPORT_MODEL_JOB_H

#include <algorithm>
#include <string>
#include <vector>

#include "calculix/job.h"
#include "support/complaint.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {

class ModelJobTest : public LibraryTest {
 protected:
  static std::string model_file(const std::string &name) {
    return std::string(SBRKIT_TEST_DATA) + "/fe/elements/" + name;
  }
  // Takes the deck of a model into the scratch folder, changed or not; its results stay where they are.
  void take(const std::string &name, const std::string &what = "", const std::string &with = "") {
    deck = read_file(model_file(name + ".inp"));
    if (!what.empty()) {
      const std::size_t at = deck.find(what);
      ASSERT_NE(at, std::string::npos) << what;
      deck.replace(at, what.size(), with);
    }
    options.deck = scratch.file("job.inp");
    write_file(options.deck, deck);
    options.frd = model_file(name + ".frd.gz");
    options.dat = model_file(name + ".dat");
  }
  void take_matrices(const std::string &name) {
    take(name);
    options.frd.reset();
    options.matrices = sbrtranslate::MatrixFiles{model_file(name + ".mas.gz"), model_file(name + ".sti.gz"),
                                                 model_file(name + ".dof.gz")};
    options.interfaces = {"IFACE"};
    options.normal = 12;
  }
  std::string complaint() {
    report = {};
    body.reset();
    return complaint_of(scratch, [&] {
      write_file(options.deck, deck);
      body = sbrtranslate::import_ccx(options, report);
    });
  }
  // The record of a reduction: six rigid modes, and elastic frequencies just above those of the solver.
  void write_both() {
    const std::vector<double> full = report.full_model_hz;
    ASSERT_EQ(SBR_write_SBR(body.get(), scratch.file("body.sbr").c_str()), 1);
    EXPECT_EQ(SBR_RigidBodyModeCount(body.get()), 6);
    for (std::size_t i = 6; i < 9; ++i) {
      double hz = 0.0;
      SBR_Eigenvalue(body.get(), SBR_ModeNumber(body.get(), static_cast<int>(i)), nullptr, &hz, nullptr, nullptr,
                     nullptr);
      EXPECT_GT(hz, (1.0 - 1e-6) * full[i]);
      EXPECT_LT(hz, 1.015 * full[i]);
    }
  }
  long line_of(const std::string &text) const {
    const std::size_t at = deck.find(text);
    return 1 + std::count(deck.begin(), deck.begin() + static_cast<std::ptrdiff_t>(at), '\n');
  }
  ~ModelJobTest() override { body.reset(); }
  ScratchDirectory scratch;
  sbrtranslate::ImportOptions options;
  sbrtranslate::ImportReport report;
  sbrtranslate::BodyHandle body;
  std::string deck;
};

}  // namespace sbrtest

#endif
