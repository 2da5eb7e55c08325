// SBR_TransformModes: both kinds of matrices, progress, files that come and go, and failures half-way.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <random>
#include <string>

#include "modes/combine.h"
#include "modes/store.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"

namespace {
int monitor_total = -1;
int monitor_stamps = 0;
}  // namespace

// The progress monitor of this host.
extern "C" void SBR_TimeMonitor(int total) {
  monitor_total = total;
  monitor_stamps = 0;
}
extern "C" void SBR_TimeMonitorStamp(void) { ++monitor_stamps; }

namespace sbrtest {
namespace {

using Values = std::vector<double>;

const double kNan = std::nan("");

class TransformModesTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  ScopedEnvironment directory{"TMP", scratch.path().string()};

  // Whether the cache keeps modes.
  static int keeps(SBR body) {
    int flag = -1;
    SBR_GetKeepModesInMemory(body, &flag);
    return flag;
  }
};

Values random_values(std::size_t count, unsigned seed) {
  std::mt19937 engine(seed);
  std::normal_distribution<double> normal;
  Values values(count);
  for (double &v : values) v = normal(engine);
  return values;
}

// The rule by itself: outputs gain weight times source, sources ascending, weights of zero left out.
Values combined(const std::vector<Values> &sources, const Values &matrix, int j) {
  const std::size_t n = sources.size();
  Values sum(sources[0].size(), 0.0);
  for (std::size_t s = 0; s < n; ++s) {
    const double c = matrix[s * n + static_cast<std::size_t>(j)];
    if (c == 0.0) continue;
    for (std::size_t i = 0; i < sum.size(); ++i) sum[i] = sum[i] + c * sources[s][i];
  }
  return sum;
}

void expect_same(const Values &found, const Values &expected) {
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (std::isnan(expected[i]))
      EXPECT_TRUE(std::isnan(found[i])) << i;
    else
      EXPECT_EQ(found[i], expected[i]) << i;
  }
}

std::vector<Values> modes_of(SBR body, int kind) {
  std::vector<Values> modes;
  for (int m = 0; m < SBR_ModeCount(body); ++m) modes.push_back(whole_mode_of(body, SBR_ModeNumber(body, m), kind));
  return modes;
}

TEST_F(TransformModesTest, ANullMatrixIsDoneAtOnce) {
  EXPECT_EQ(SBR_TransformModes(nullptr, 0, 1, nullptr), 1);
  SBR body = make_modal_body(1, 1);
  log.clear();
  EXPECT_EQ(SBR_TransformModes(body, 0, 1, nullptr), 1);
  EXPECT_TRUE(log.take().empty());
  EXPECT_EQ(scratch.count_files(), 1);
}

TEST_F(TransformModesTest, NullBodiesAndUnknownKindsFail) {
  const double one = 1.0;
  EXPECT_EQ(SBR_TransformModes(nullptr, 0, 1, &one), 0);
  SBR body = make_modal_body(1, 1);
  EXPECT_EQ(SBR_TransformModes(body, 3, 1, &one), 0);
  EXPECT_EQ(SBR_TransformModes(body, -1, 1, &one), 0);
}

TEST_F(TransformModesTest, MoreModesThanThereAreAreRefused) {
  SBR body = make_modal_body(1, 1);
  const double one = 1.0;
  log.clear();
  EXPECT_EQ(SBR_TransformModes(body, 0, 2, &one), 0);
  EXPECT_EQ(SBR_TransformModes(body, 0, -1, &one), 0);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Cannot make 2 modes out of the 1 modes of the body.\n"),
                                              error("Cannot make -1 modes out of the 1 modes of the body.\n")}));
}

TEST_F(TransformModesTest, AFullMatrixCombinesModesInOrder) {
  for (const int nodes : {1, 5, 6, 341, 1500}) {
    for (const int modes : {1, 3, 4, 9}) {
      SBR body = make_modal_body(nodes, modes, {0, 1});
      state::modes_not_orthogonal(body) = 1;
      const Values T = random_values(static_cast<std::size_t>(modes * modes), 5);
      for (int kind = 0; kind <= 1; ++kind) {
        const std::vector<Values> before = modes_of(body, kind);
        ASSERT_EQ(SBR_TransformModes(body, kind, modes, T.data()), 1);
        const std::vector<Values> after = modes_of(body, kind);
        for (int j = 0; j < modes; ++j) expect_same(after[static_cast<std::size_t>(j)], combined(before, T, j));
      }
      SBR_DeReference(body);
    }
  }
}

TEST_F(TransformModesTest, WeightsOfZeroAreLeftOutEvenForNan) {
  SBR body = make_modal_body(7, 5);
  state::modes_not_orthogonal(body) = 1;
  SBR_SetModeEntry(body, 2, 3, 0, 1, kNan);
  SBR_SetModeEntry(body, 4, 1, 0, 6, std::numeric_limits<double>::infinity());
  Values T = random_values(25, 6);
  T[1 * 5 + 0] = 0.0;
  T[3 * 5 + 0] = -0.0;
  T[1 * 5 + 4] = 0.0;
  T[3 * 5 + 4] = kNan;
  for (std::size_t s = 0; s < 5; ++s) T[s * 5 + 2] = 0.0;
  const std::vector<Values> before = modes_of(body, 0);
  ASSERT_EQ(SBR_TransformModes(body, 0, 5, T.data()), 1);
  const std::vector<Values> after = modes_of(body, 0);
  for (int j = 0; j < 5; ++j) expect_same(after[static_cast<std::size_t>(j)], combined(before, T, j));
  EXPECT_FALSE(std::isnan(after[0][12]));
  EXPECT_EQ(after[2], Values(42, 0.0));
}

TEST_F(TransformModesTest, FewerModesComeFromTheFirstColumns) {
  SBR body = make_modal_body(3, 4);
  state::modes_not_orthogonal(body) = 1;
  const Values T = random_values(16, 7);
  const std::vector<Values> before = modes_of(body, 0);
  ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
  expect_same(whole_mode_of(body, 1, 0), combined(before, T, 0));
  expect_same(whole_mode_of(body, 2, 0), combined(before, T, 1));
  // What is gone cannot be read, and that is harmless.
  log.clear();
  whole_mode_of(body, 4, 0);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Problem reading mode shape 4")});
}

TEST_F(TransformModesTest, NoModesLeaveAnEmptyFile) {
  SBR body = make_modal_body(3, 2);
  state::modes_not_orthogonal(body) = 1;
  const Values T = random_values(4, 7);
  EXPECT_EQ(SBR_TransformModes(body, 0, 0, T.data()), 1);
  EXPECT_EQ(std::filesystem::file_size(state::mode_file(body, sbr::Kind::shape)), 0u);
}

TEST_F(TransformModesTest, ADiagonalMatrixScalesAndAZeroKeepsTheBuffer) {
  SBR body = make_modal_body(2, 4);
  const std::vector<Values> before = modes_of(body, 0);
  Values T(16, 99.0);  // only the diagonal counts
  T[0] = 0.0;
  T[5] = 2.0;
  T[10] = 0.0;
  T[15] = -1.0;
  log.clear();
  ASSERT_EQ(SBR_TransformModes(body, 0, 4, T.data()), 1);
  ASSERT_EQ(log.all().size(), 1u);  // no empty line at the end
  const std::vector<Values> after = modes_of(body, 0);
  EXPECT_EQ(after[0], Values(12, 0.0));
  for (std::size_t i = 0; i < 12; ++i) {
    EXPECT_EQ(after[1][i], 2.0 * before[1][i]);
    EXPECT_EQ(after[2][i], after[1][i]);
    EXPECT_EQ(after[3][i], -before[3][i]);
  }
}

TEST_F(TransformModesTest, TheNewFileTakesThePlaceOfTheOld) {
  SBR body = make_modal_body(2, 2);
  const std::string old_path = state::mode_file(body, sbr::Kind::shape);
  const Values T{2, 0, 0, 2};
  log.clear();
  ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
  const std::string path = state::mode_file(body, sbr::Kind::shape);
  EXPECT_EQ(log.take(), std::vector<Message>{info("Orthogonal mode file: " + path)});
  EXPECT_NE(path, old_path);
  EXPECT_FALSE(std::filesystem::exists(old_path));
  EXPECT_EQ(std::filesystem::path(path).filename().string().substr(0, 4), "sbr_");
  EXPECT_EQ(std::filesystem::file_size(path), 2u * 12u * 8u);
  EXPECT_EQ(scratch.count_files(), 1);
  EXPECT_EQ(state::mode_channel(body, sbr::Kind::shape).is_temporary(), true);
  EXPECT_EQ(state::mode_channel(body, sbr::Kind::shape).xdr_encoded, false);
  SBR_DeReference(body);
  EXPECT_EQ(scratch.count_files(), 0);
}

TEST_F(TransformModesTest, SinglePrecisionStaysSingle) {
  SBR body = SBR_Create(3, 2);
  state::record(body).double_precision = false;
  for (int m = 0; m < 2; ++m)
    for (int n = 0; n < 3; ++n) {
      double six[6];
      for (int c = 0; c < 6; ++c) six[c] = mode_value(m, n, c);
      SBR_SetModeVec(body, m + 1, n + 1, 0, six);
    }
  ASSERT_EQ(state::mode_channel(body, sbr::Kind::shape).double_precision, false);
  state::modes_not_orthogonal(body) = 1;
  const std::vector<Values> before = modes_of(body, 0);
  const Values T = random_values(4, 8);
  ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
  EXPECT_EQ(state::mode_channel(body, sbr::Kind::shape).double_precision, false);
  EXPECT_EQ(std::filesystem::file_size(state::mode_file(body, sbr::Kind::shape)), 2u * 18u * 4u);
  for (int j = 0; j < 2; ++j) {
    Values expected = combined(before, T, j);
    for (double &v : expected) v = static_cast<float>(v);
    expect_same(whole_mode_of(body, j + 1, 0), expected);
  }
}

TEST_F(TransformModesTest, TheFileKeepsItsUnits) {
  SBR body = make_modal_body(3, 2, {0, 1, 2});
  ASSERT_EQ(SBR_SetUnits(body, "KILOGRAM", "MILLIMETER", "SECOND", "KNEWTON"), 1);
  state::modes_not_orthogonal(body) = 1;
  const Values T = random_values(4, 9);
  for (int kind = 0; kind < 3; ++kind) {
    const std::vector<Values> before = modes_of(body, kind);
    ASSERT_EQ(SBR_TransformModes(body, kind, 2, T.data()), 1);
    for (int j = 0; j < 2; ++j) {
      const Values expected = combined(before, T, j);
      const Values after = whole_mode_of(body, j + 1, kind);
      for (std::size_t i = 0; i < after.size(); ++i)
        EXPECT_NEAR(after[i], expected[i], 1e-14 * (1e-12 + std::abs(before[0][i]) + std::abs(before[1][i]))) << kind;
    }
  }
}

// ---- progress ------------------------------------------------------------------------------------------------------

TEST_F(TransformModesTest, TheMonitorCountsOneTickPerModeAndPass) {
  SBR body = make_modal_body(50, 6);
  state::modes_not_orthogonal(body) = 1;
  const Values T = random_values(36, 10);
  log.clear();
  ASSERT_EQ(SBR_TransformModes(body, 0, 6, T.data()), 1);
  EXPECT_EQ(monitor_total, 6);
  EXPECT_EQ(monitor_stamps, 6);
  EXPECT_EQ(log.all().back(), info(""));
}

TEST_F(TransformModesTest, ABlockOfNewModesFillsAHundredMillionBytes) {
  // 1,100,000 nodes take 52.8 million bytes a mode: one mode to a block, three passes over three modes.
  SBR body = SBR_Create(1100000, 3);
  for (int n = 1; n <= 1100000; ++n) SBR_SetNodalMass(body, n, 1.0);
  const double six[6] = {1, 2, 3, 4, 5, 6};
  for (int m = 1; m <= 3; ++m) SBR_SetModeVec(body, m, 7, 0, six);
  state::modes_not_orthogonal(body) = 1;
  const Values T{1, 1, 1, 1, 1, 1, 1, 1, 1};
  ASSERT_EQ(SBR_TransformModes(body, 0, 3, T.data()), 1);
  EXPECT_EQ(monitor_total, 9);
  EXPECT_EQ(monitor_stamps, 9);
  double found[3];
  ASSERT_EQ(SBR_ModeByNodeWithoutCache(body, 3, 0, 7, found, 1), 1);
  EXPECT_EQ(found[2], 18.0);
}

TEST_F(TransformModesTest, TheVariableSilencesTheMonitor) {
  const ScopedEnvironment silent("KTX_NO_TIME_MONITOR_STAMP", "");
  SBR body = make_modal_body(5, 2);
  state::modes_not_orthogonal(body) = 1;
  const Values T = random_values(4, 11);
  monitor_total = -1;
  monitor_stamps = 0;
  log.clear();
  ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
  EXPECT_EQ(monitor_total, -1);
  EXPECT_EQ(monitor_stamps, 0);
  EXPECT_EQ(log.all().size(), 1u);
}

// ---- failures ------------------------------------------------------------------------------------------------------

TEST_F(TransformModesTest, ADirectoryThatCannotBeWrittenIsNamed) {
  for (const int full : {0, 1}) {
    SBR body = make_modal_body(2, 2);
    state::modes_not_orthogonal(body) = full;
    const std::vector<Values> before = modes_of(body, 0);
    const Values T{2, 1, 1, 2};
    const ScopedEnvironment nowhere("TMP", scratch.file("missing"));
    log.clear();
    EXPECT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 0);
    const std::vector<Message> found = log.take();
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].severity, Severity::error);
    EXPECT_EQ(found[0].text.rfind("Unable to open " + scratch.file("missing") + "/sbr_", 0), 0u) << found[0].text;
    const std::string tail =
        " for write.  Specify different temporary file directory by\nsetting the TMP environment variable.";
    EXPECT_EQ(found[0].text.substr(found[0].text.size() - tail.size()), tail);
    EXPECT_EQ(modes_of(body, 0), before);
    EXPECT_EQ(keeps(body), 1);
    SBR_DeReference(body);
  }
}

TEST_F(TransformModesTest, AFullDiskKeepsTheOldFileAndRemovesTheNew) {
  for (const int full : {0, 1}) {
    SBR body = make_modal_body(3000, 4);
    state::modes_not_orthogonal(body) = full;
    const std::vector<Values> before = modes_of(body, 0);
    const std::string old_path = state::mode_file(body, sbr::Kind::shape);
    const Values T = random_values(16, 12);
    log.clear();
    {
      const FileSizeLimit limit(300000);  // the whole takes 576,000 bytes
      EXPECT_EQ(SBR_TransformModes(body, 0, 4, T.data()), 0);
    }
    const std::vector<Message> found = log.take();
    ASSERT_EQ(found.size(), 2u);
    const std::string path = found[0].text.substr(std::string("Orthogonal mode file: ").size());
    EXPECT_EQ(found[1],
              error("Insufficient disk space for file " + path +
                    ".  Specify different temporary\nfile directory by setting the TMP environment variable"));
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(state::mode_file(body, sbr::Kind::shape), old_path);
    EXPECT_EQ(scratch.count_files(), 1);
    EXPECT_EQ(keeps(body), 1);
    EXPECT_EQ(modes_of(body, 0), before);
    SBR_DeReference(body);
  }
}

TEST_F(TransformModesTest, AnyShortageOfDiskIsReportedAndHarmless) {
  SBR body = make_modal_body(100, 3);
  state::modes_not_orthogonal(body) = 1;
  const std::vector<Values> before = modes_of(body, 0);
  const Values T = random_values(9, 13);
  const rlim_t whole = 3 * 600 * 8;
  for (rlim_t bytes = 0; bytes < whole; bytes += 1111) {
    const FileSizeLimit limit(bytes);
    EXPECT_EQ(SBR_TransformModes(body, 0, 3, T.data()), 0) << bytes;
    EXPECT_EQ(scratch.count_files(), 1);
  }
  EXPECT_EQ(modes_of(body, 0), before);
  EXPECT_EQ(SBR_TransformModes(body, 0, 3, T.data()), 1);
}

TEST_F(TransformModesTest, ModesThatAreNotThereFail) {
  for (const int full : {0, 1}) {
    SBR body = SBR_Create(2, 2);
    SBR_AddMode(body, 1);
    SBR_AddMode(body, 2);
    state::modes_not_orthogonal(body) = full;
    const Values T{1, 0, 0, 1};
    log.clear();
    EXPECT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 0);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Failed to extract mode information for SBR.\n")});
    EXPECT_EQ(scratch.count_files(), 0);
    SBR_DeReference(body);
  }
}

TEST_F(TransformModesTest, AMissingRecordIsReportedOnceAndCountsAsZeros) {
  for (const int full : {0, 1}) {
    SBR body = make_modal_body(400, 3);
    state::modes_not_orthogonal(body) = full;
    const std::vector<Values> before = modes_of(body, 0);
    std::filesystem::resize_file(state::mode_file(body, sbr::Kind::shape), 2 * 2400 * 8);
    const Values T{1, 1, 1, 1, 2, 1, 1, 1, 3};
    log.clear();
    EXPECT_EQ(SBR_TransformModes(body, 0, 3, T.data()), 1);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Problem reading mode shape 3")});
    const std::vector<Values> after = modes_of(body, 0);
    for (std::size_t i = 0; i < 2400; ++i)
      EXPECT_EQ(after[2][i], full != 0 ? before[0][i] + before[1][i] : 0.0) << full << " " << i;
    SBR_DeReference(body);
  }
}

TEST_F(TransformModesTest, WhatCameOfABrokenRecordIsTransformed) {
  for (const int full : {0, 1}) {
    SBR body = make_modal_body(400, 3);
    state::modes_not_orthogonal(body) = full;
    const std::vector<Values> before = modes_of(body, 0);
    std::filesystem::resize_file(state::mode_file(body, sbr::Kind::shape), 3 * 2400 * 8 - 8);
    const Values T{2, 0, 0, 0, 2, 0, 0, 0, 3};
    log.clear();
    EXPECT_EQ(SBR_TransformModes(body, 0, 3, T.data()), 1);
    EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Problem reading mode shape 3")});
    const Values after = whole_mode_of(body, 3, 0);
    for (std::size_t i = 0; i < 2399; ++i) EXPECT_EQ(after[i], 3.0 * before[2][i]) << full << " " << i;
    EXPECT_EQ(after[2399], 0.0) << "the value that the file lacks";
    SBR_DeReference(body);
  }
}

TEST_F(TransformModesTest, ModesBeyondTheirTablesFail) {
  SBR body = make_modal_body(2, 2);
  state::mode_count(body) = 5;
  state::modes_not_orthogonal(body) = 1;
  const Values T(25, 1.0);
  log.clear();
  EXPECT_EQ(SBR_TransformModes(body, 0, 5, T.data()), 0);
  EXPECT_EQ(log.take_complaints(), std::vector<Message>{error("Failed to extract mode information for SBR.\n")});
  state::mode_count(body) = 2;
}

TEST_F(TransformModesTest, TheCacheSettingIsRestored) {
  SBR body = make_modal_body(2, 2);
  const Values T{2, 0, 0, 2};
  for (const int keep : {1, 0}) {
    SBR_SetKeepModesInMemory(body, keep);
    ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
    EXPECT_EQ(keeps(body), keep);
  }
}

TEST_F(TransformModesTest, CachedPartsDoNotOutliveTheChange) {
  SBR body = make_modal_body(2, 2);
  const Values before = whole_mode_of(body, 1, 0);  // cached by this
  const Values T{2, 0, 0, 2};
  ASSERT_EQ(SBR_TransformModes(body, 0, 2, T.data()), 1);
  const Values after = whole_mode_of(body, 1, 0);
  for (std::size_t i = 0; i < after.size(); ++i) EXPECT_EQ(after[i], 2.0 * before[i]);
}

// ---- the combination by itself -------------------------------------------------------------------------------------

TEST(ModeCombination, EveryShapeFollowsTheScalarRule) {
  for (const int sources : {1, 2, 5, 33}) {
    for (const int outputs : {1, 3, 4, 5, 33}) {
      for (const std::int64_t count : {1, 8, 31, 32, 33, 100}) {
        const std::int64_t pitch = (count + 31) / 32 * 32 + 8;
        Values matrix = random_values(static_cast<std::size_t>(sources * outputs), 21);
        if (outputs > 4) matrix[4] = 0.0;
        Values in = random_values(static_cast<std::size_t>(pitch * sources), 22);
        sbr::CombinationWeights weights;
        ASSERT_TRUE(weights.prepare(matrix.data(), outputs, sources, outputs));
        Values out(static_cast<std::size_t>(pitch * 4 * weights.groups()), kNan);
        sbr::combine_modes(weights, {in.data(), pitch}, {out.data(), pitch}, count);
        for (int j = 0; j < outputs; ++j)
          for (std::int64_t i = 0; i < count; ++i) {
            double sum = 0.0;
            for (int s = 0; s < sources; ++s) {
              const double c = matrix[static_cast<std::size_t>(s * outputs + j)];
              if (c != 0.0) sum = sum + c * in[static_cast<std::size_t>(s * pitch + i)];
            }
            ASSERT_EQ(out[static_cast<std::size_t>(j * pitch + i)], sum);
          }
      }
    }
  }
}

}  // namespace
}  // namespace sbrtest
