// What every rewriting of mode data keeps: room for later modes, no word of the old data from the cache, and modes told
// by their place and not by their number.
#include <cstring>
#include <filesystem>
#include <functional>

#include "modes/access.h"
#include "modes/shorten.h"
#include "support/body_state.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/modal_body.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;

constexpr double kAxis[3] = {0, 0, 1};

// The ways to rewrite kind 0 or another kind of a body of modal_body.h.
struct Way {
  const char *name;
  std::function<int(SBR body, int kind)> run;
};
void PrintTo(const Way &way, std::ostream *out) { *out << way.name; }

Values diagonal(int modes, double value) {
  Values matrix(static_cast<std::size_t>(modes * modes), 0.0);
  for (int m = 0; m < modes; ++m) matrix[static_cast<std::size_t>(m * modes + m)] = value;
  return matrix;
}

const Way kTurn{"a rotation", [](SBR body, int) { return SBR_Rotate_Origin(body, kAxis, 90.0, nullptr); }};
const Way kMirror{"a mirror", [](SBR body, int) { return SBR_Mirror_Origin(body, kAxis); }};
const Way kScale{"a diagonal matrix", [](SBR body, int kind) {
                   return SBR_TransformModes(body, kind, SBR_ModeCount(body), diagonal(SBR_ModeCount(body), 2).data());
                 }};
const Way kCombine{"a full matrix", [](SBR body, int kind) {
                     state::modes_not_orthogonal(body) = 1;
                     return kScale.run(body, kind);
                   }};
const Way kShorten{"a shortening", [](SBR body, int kind) {
                     std::vector<int> keep;
                     for (int n = SBR_NodeCount(body); n-- > 0;) keep.push_back(n);
                     return SBR_ShortenModeFile(body, keep.data(), static_cast<int>(keep.size()), kind);
                   }};
const Way kPermute{"a permutation", [](SBR body, int) {
                     const double origin[3] = {0, 0, 0};
                     const double R[9] = {0, -1, 0, 1, 0, 0, 0, 0, 1};
                     return SBR_PermuteSBR(body, origin, SBR_ModeCount(body), 1.0, nullptr, R);
                   }};

class EveryRewriting : public LibraryTest, public ::testing::WithParamInterface<Way> {
 protected:
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
};

// A mode as it lies in the file, past the cache and the loaded record.
Values stored_mode(SBR body, int number, int kind) {
  Values values(6 * static_cast<std::size_t>(SBR_ModeNodeCount(body, kind)));
  return SBR_Read_Mode_Double(body, number, kind, values.data()) != 0 ? values : Values{};
}

Values stored_part(SBR body, int number, int kind, int part) {
  const Values six = stored_mode(body, number, kind);
  Values three;
  for (std::size_t p = 0; p < six.size(); p += 6)
    three.insert(three.end(), six.begin() + static_cast<std::ptrdiff_t>(p) + 3 * part,
                 six.begin() + static_cast<std::ptrdiff_t>(p) + 3 * part + 3);
  return three;
}

TEST_P(EveryRewriting, VoidsThePartsThatAHostPutIntoTheCache) {
  for (int kind = 0; kind < 3; ++kind) {
    SBR body = make_modal_body(4, 2, {0, 1, 2});
    SBR_SetKeepModesInMemory(body, 0);
    const int part = kind == 0 ? 0 : 1;  // a mirror leaves normal components
    const Values old = stored_part(body, 1, kind, part);
    ASSERT_EQ(SBR_ModetoMemory(body, 1, kind, old.data(), part), 1);
    ASSERT_EQ(GetParam().run(body, kind), 1);
    SBR_SetKeepModesInMemory(body, 1);
    Values found(12);
    EXPECT_EQ(SBR_ModeFromMemory(body, 1, kind, found.data(), part), 0);
    ASSERT_EQ(SBR_Mode(body, 1, kind, found.data(), part), 1);
    EXPECT_EQ(found, stored_part(body, 1, kind, part));
    EXPECT_NE(found, old) << "the data did change";
    SBR_DeReference(body);
  }
}

TEST_P(EveryRewriting, LeavesAHeldAddressOfThePartThatItVoids) {
  SBR body = make_modal_body(4, 2, {0, 1, 2});
  SBR_SetKeepModesInMemory(body, 0);
  const Values old = stored_part(body, 1, 0, 0);
  ASSERT_EQ(SBR_ModetoMemory(body, 1, 0, old.data(), 0), 1);
  double *held = nullptr;
  ASSERT_EQ(SBR_ModeFromMemoryByRef(body, 1, 0, &held, 0), 1);
  ASSERT_EQ(GetParam().run(body, 0), 1);
  EXPECT_EQ(Values(held, held + 12), old);
  EXPECT_EQ(state::cached_parts(body), 1) << "it still takes its place in the budget";
}

TEST_P(EveryRewriting, KeepsRoomForTheModesThatAreStillToCome) {
  for (int kind = 0; kind < 3; ++kind) {
    SBR body = SBR_Create(3, 4);
    for (int k = 0; k < 3; ++k)
      for (int mode = 1; mode <= 2; ++mode)
        for (int id = 1; id <= 3; ++id) SBR_SetMode(body, mode, id, k, mode, id, 3, 4, 5, k);
    ASSERT_EQ(GetParam().run(body, kind), 1);
    std::vector<Values> before;
    for (int mode = 1; mode <= 2; ++mode) before.push_back(stored_mode(body, mode, kind));
    log.clear();
    for (const int mode : {4, 3})
      for (const int id : {3, 1}) EXPECT_EQ(SBR_SetMode(body, mode, id, kind, mode, id, 7, 8, 9, 10), 1);
    EXPECT_TRUE(log.take_complaints().empty());
    EXPECT_EQ(stored_mode(body, 4, kind), (Values{4, 1, 7, 8, 9, 10, 0, 0, 0, 0, 0, 0, 4, 3, 7, 8, 9, 10}));
    EXPECT_EQ(stored_mode(body, 3, kind), (Values{3, 1, 7, 8, 9, 10, 0, 0, 0, 0, 0, 0, 3, 3, 7, 8, 9, 10}));
    for (int mode = 1; mode <= 2; ++mode)
      EXPECT_EQ(stored_mode(body, mode, kind), before[static_cast<std::size_t>(mode - 1)]) << "the others stay";
    EXPECT_EQ(SBR_SetMode(body, 5, 1, kind, 1, 1, 1, 1, 1, 1), 0) << "the capacity is what it was";
    SBR_DeReference(body);
  }
}

INSTANTIATE_TEST_SUITE_P(Ways, EveryRewriting, ::testing::Values(kTurn, kMirror, kScale, kCombine, kShorten, kPermute));

class ModeRewriteTest : public LibraryTest {
 protected:
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
};

TEST_F(ModeRewriteTest, AModeAddedAfterOrthonormalizationIsEntered) {
  SBR body = SBR_Create(2, 3);
  for (int mode = 1; mode <= 2; ++mode)
    for (int id = 1; id <= 2; ++id) SBR_SetMode(body, mode, id, 0, mode, id, 3, 4, 5, 6);
  set_diagonal(body, {4, 9}, {100, 400});
  ASSERT_EQ(SBR_OrthoNormalize(body), 1);
  log.clear();
  EXPECT_EQ(SBR_SetMode(body, 7, 2, 0, 1, 2, 3, 4, 5, 6), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(stored_mode(body, 7, 0), (Values{0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 6}));
}

// ---- number 0
// --------------------------------------------------------------------------------------------------------

// Stress of two modes that both have the number 0, as modes of a record may, beside a pre-stress.
SBR body_of_unnumbered_modes() {
  SBR body = SBR_Create(1, 2);
  for (int mode = 1; mode <= 2; ++mode)
    for (const int kind : {0, 1}) SBR_SetMode(body, mode, 10, kind, mode, 2 * mode, 3 * mode, 0, 0, 0);
  const double pre[6] = {50, 60, 70, 0, 0, 0};
  SBR_SetPreStressVec(body, 10, pre);
  state::mode_number(body, 0) = 0;
  state::mode_number(body, 1) = 0;
  return body;
}

Values record_of(SBR body, int mode, sbr::Kind kind) {
  const double *record = sbr::whole_mode(*body, mode, kind);
  return record == nullptr ? Values{} : Values(record, record + 6);
}

TEST_F(ModeRewriteTest, ARotationTurnsModesOfNumberZeroAndThePreStressEachByItself) {
  SBR body = body_of_unnumbered_modes();
  ASSERT_EQ(SBR_Mirror_Origin(body, kAxis), 1);
  EXPECT_EQ(record_of(body, 0, sbr::Kind::shape), (Values{1, 2, -3, 0, 0, 0}));
  EXPECT_EQ(record_of(body, 1, sbr::Kind::shape), (Values{2, 4, -6, 0, 0, 0}));
  EXPECT_EQ(record_of(body, 0, sbr::Kind::stress), (Values{1, 2, 3, 0, 0, 0}));
  EXPECT_EQ(record_of(body, 1, sbr::Kind::stress), (Values{2, 4, 6, 0, 0, 0}));
  EXPECT_EQ(record_of(body, sbr::kPreVector, sbr::Kind::stress), (Values{50, 60, 70, 0, 0, 0}));
}

TEST_F(ModeRewriteTest, AMatrixCombinesModesOfNumberZeroByTheirPlaces) {
  SBR body = body_of_unnumbered_modes();
  state::modes_not_orthogonal(body) = 1;
  const double T[4] = {1, 0, 0, 10};
  for (const int kind : {0, 1}) ASSERT_EQ(SBR_TransformModes(body, kind, 2, T), 1);
  for (const sbr::Kind kind : {sbr::Kind::shape, sbr::Kind::stress}) {
    EXPECT_EQ(record_of(body, 0, kind), (Values{1, 2, 3, 0, 0, 0}));
    EXPECT_EQ(record_of(body, 1, kind), (Values{20, 40, 60, 0, 0, 0}));
  }
}

TEST_F(ModeRewriteTest, AShorteningKeepsModesOfNumberZeroApartFromThePreStress) {
  SBR body = body_of_unnumbered_modes();
  const int keep[] = {0};
  for (const int kind : {0, 1}) ASSERT_EQ(SBR_ShortenModeFile(body, keep, 1, kind), 1);
  EXPECT_EQ(record_of(body, 1, sbr::Kind::shape), (Values{2, 4, 6, 0, 0, 0}));
  EXPECT_EQ(record_of(body, 0, sbr::Kind::stress), (Values{1, 2, 3, 0, 0, 0}));
  EXPECT_EQ(record_of(body, 1, sbr::Kind::stress), (Values{2, 4, 6, 0, 0, 0}));
}

TEST_F(ModeRewriteTest, ARotationWithoutPreStressTakesStressOfNumberZero) {
  SBR body = SBR_Create(1, 1);
  SBR_SetModeEntry(body, 0, 10, 1, 0, 5.0);
  SBR_SetModeEntry(body, 0, 10, 0, 0, 1.0);
  log.clear();
  ASSERT_EQ(SBR_Mirror_Origin(body, kAxis), 1);
  EXPECT_TRUE(log.take_complaints().empty());
  EXPECT_EQ(record_of(body, 0, sbr::Kind::stress), (Values{5, 0, 0, 0, 0, 0}));
}

TEST_F(ModeRewriteTest, InvariantsOfModesOfNumberZeroTurnEachByItself) {
  SBR body = SBR_Create(1, 2);
  for (const int mode : {1, 2}) SBR_AddMode(body, mode);
  for (const int mode : {1, 2}) {
    const double v[3] = {1.0 * mode, 2.0, 3.0 * mode};
    SBR_SetInvar3(body, mode, v);
    SBR_SetInvar4(body, mode, v);
  }
  const double pair[3] = {1, 2, 3};
  SBR_SetInvar5(body, 1, 2, pair);
  state::mode_number(body, 0) = state::mode_number(body, 1) = 0;
  ASSERT_EQ(SBR_Mirror_Origin(body, kAxis), 1);
  const auto values = [](double *given, int count) {
    Values taken(given, given + count);
    SBR_FreeMemory(given);
    return taken;
  };
  EXPECT_EQ(values(SBR_Invar3(body), 6), (Values{1, 2, 2, 2, -3, -6}));
  EXPECT_EQ(values(SBR_Invar4(body), 6), (Values{-1, -2, -2, -2, 3, 6}));
  EXPECT_EQ(values(SBR_Invar5(body, 0), 6), (Values{0, -1, 0, -2, 0, 3}));
  EXPECT_EQ(values(SBR_Invar5(body, 1), 6), (Values{1, 0, 2, 0, -3, 0}));
}

// ---- modes without nodes
// ---------------------------------------------------------------------------------------------

TEST_F(ModeRewriteTest, ModesWithoutNodesFailAsAFetchThatFails) {
  SBR body = SBR_Create(1, 1);
  SBR_AddMode(body, 1);
  log.clear();
  EXPECT_EQ(SBR_Rotate_Origin(body, kAxis, 30.0, nullptr), 1);
  const std::vector<Message> found = log.take();
  ASSERT_EQ(found.size(), 2U);
  const std::string start = " Shortened Shape mode file: ";
  ASSERT_EQ(found[0].text.rfind(start, 0), 0U);
  const std::string path = found[0].text.substr(start.size(), found[0].text.size() - start.size() - 1);
  EXPECT_EQ(found[1], error("Insufficient disk space for file " + path +
                            ".  Specify different temporary\nfile directory by setting the TMP environment variable"));
  EXPECT_FALSE(std::filesystem::exists(path));
}

// ---- a list without modes
// --------------------------------------------------------------------------------------------

TEST_F(ModeRewriteTest, ThePreVectorOfAKindWithoutModesMovesToTheShorterList) {
  for (const sbr::Kind kind : sbr::kListedKinds) {
    SBR body = SBR_Create(5, 1);
    for (int id = 1; id <= 5; ++id) SBR_SetNodeCoordinates(body, id, 0, 0, 0);
    for (const int id : {4, 2, 5, 1}) {
      const double six[6] = {1.0 * id, 0, 0, 0, 0, 10.0 * id};
      SBR_SetModeVec(body, 0, id, sbr::number_of(kind), six);
    }
    log.clear();
    // Nodes 1, 3 and 4 stay; node 3 has no pre-vector.
    const std::int32_t keep[] = {0, 2, 3};
    sbr::ModeShortening shortening(*body, kind);
    ASSERT_TRUE(shortening.prepare_without_modes(keep));
    EXPECT_EQ(shortening.map()[0], 3);
    EXPECT_EQ(shortening.map()[1], -1);
    EXPECT_EQ(shortening.map()[2], 0);
    shortening.install();
    const auto &rows = kind == sbr::Kind::stress ? state::pre_stress(body) : state::pre_strain(body);
    EXPECT_EQ(rows[0], (sbr::SixVector{1, 0, 0, 0, 0, 10}));
    EXPECT_EQ(rows[1], (sbr::SixVector{4, 0, 0, 0, 0, 40}));
    EXPECT_EQ(rows[2], sbr::SixVector{});
    EXPECT_TRUE(log.take().empty()) << "no file is made";
    SBR_DeReference(body);
  }
}

}  // namespace
}  // namespace sbrtest
