// Random sequences of entries, readings by every route, changes of units and rewritings, with few cache slots and few
// announced nodes, against a slow model. Every value is compared bit by bit.
#include <algorithm>
#include <cstring>
#include <random>

#include "support/files.h"
#include "support/messages.h"
#include "support/mode_model.h"

namespace sbrtest {
namespace {

constexpr int kMostModes = 6;

// One body and its model, driven by one stream of random numbers.
class Pair {
 public:
  Pair(unsigned seed, int announced, int most_nodes)
      : random_(seed), most_nodes_(most_nodes), body_(SBR_Create(announced, kMostModes)) {
    SBR_SetUnits(body_, "KILOGRAM", "METER", "SECOND", "NEWTON");
    for (int kind = 0; kind < 3; ++kind) enter_six(1, node(), kind);
  }
  // All nodes at once, instead of as they come.
  void add_all_nodes() {
    for (int id = 1; id <= most_nodes_; ++id) {
      SBR_SetNodeCoordinates(body_, id, 1.0, 2.0, 3.0);
      model_.add_node(id);
    }
  }
  ~Pair() { SBR_DeReference(body_); }
  Pair(const Pair &) = delete;
  Pair &operator=(const Pair &) = delete;

  void step() {
    const int choice = pick(100);
    if (choice < 30) {
      enter();
    } else if (choice < 50) {
      read_part();
    } else if (choice < 68) {
      read_node();
    } else if (choice < 80) {
      read_address();
    } else if (choice < 88) {
      use_cache();
    } else if (choice < 91) {
      change_units();
    } else if (choice < 94) {
      turn();
    } else if (choice < 97) {
      transform();
    } else {
      SBR_SetNodeCoordinates(body_, add_node(), 1.0, 2.0, 3.0);
    }
    check_addresses();
  }
  [[nodiscard]] int checks() const { return checks_; }

 private:
  int pick(int below) { return static_cast<int>(random_() % static_cast<unsigned>(below)); }
  double value() { return std::uniform_real_distribution<double>(-10.0, 10.0)(random_); }
  Six six() {
    Six values;
    for (double &v : values) v = pick(8) == 0 ? 0.0 : value();
    return values;
  }
  int node() { return 1 + pick(most_nodes_); }
  int add_node() {
    const int id = node();
    model_.add_node(id);
    return id;
  }
  // Mostly a mode that is there; sometimes the pre-vector, sometimes one that is not there.
  int number() {
    const int choice = pick(10);
    if (choice == 0) return 0;
    return choice == 1 ? 99 : model_.numbers()[static_cast<std::size_t>(pick(model_.modes()))];
  }

  // ---- entry
  void enter_six(int number, int id, int kind) {
    const Six values = six();
    ASSERT_EQ(SBR_SetModeVec(body_, number, id, kind, values.data()), 1);
    model_.set_six(number, id, kind, values);
  }
  void enter() {
    const int kind = pick(3);
    if (kind > 0 && pick(4) == 0) {
      const int id = node();
      const Six values = six();
      ASSERT_EQ(SBR_SetModeVec(body_, 0, id, kind, values.data()), 1);
      model_.set_pre(id, kind, values);
    } else if (pick(12) == 0 && model_.modes() < kMostModes) {
      const int fresh = model_.modes() + 1;
      for (int k = 0; k < 3; ++k) enter_six(fresh, node(), k);
    } else if (pick(2) == 0) {
      enter_six(1 + pick(model_.modes()), node(), kind);
    } else {
      const int mode = 1 + pick(model_.modes());
      const int id = node();
      const int position = pick(6);
      const double v = value();
      ASSERT_EQ(SBR_SetModeEntry(body_, mode, id, kind, position, v), 1);
      model_.set_one(mode, id, kind, position, v);
    }
  }

  // ---- access
  void expect_same(bool given, const Values &found, const std::optional<Values> &expected, const char *what) {
    checks_ += 1;
    ASSERT_EQ(given, expected.has_value()) << what;
    if (!expected) return;
    ASSERT_GE(found.size(), expected->size()) << what;
    ASSERT_EQ(std::memcmp(found.data(), expected->data(), expected->size() * sizeof(double)), 0) << what;
  }
  void read_part() {
    const int mode = number();
    const int kind = pick(3);
    const int part = pick(2);
    Values found(3 * static_cast<std::size_t>(model_.nodes(kind)) + 3);
    if (pick(3) == 0) {
      const bool given = SBR_ModeFromMemory(body_, mode, kind, found.data(), part) != 0;
      expect_same(given, found, model_.from_memory(mode, kind, part), "SBR_ModeFromMemory");
    } else {
      const bool given = SBR_Mode(body_, mode, kind, found.data(), part) != 0;
      expect_same(given, found, model_.part(mode, kind, part), "SBR_Mode");
    }
  }
  void read_node() {
    const int mode = number();
    const int kind = pick(3);
    const int part = pick(2);
    const int id = node();
    Values found(3);
    if (pick(3) == 0) {
      const bool given = SBR_ModeByNodeWithoutCache(body_, mode, kind, id, found.data(), part) != 0;
      expect_same(given, found, model_.from_file(mode, kind, id, part), "SBR_ModeByNodeWithoutCache");
    } else {
      const bool given = SBR_ModeByNode(body_, mode, kind, id, found.data(), part) != 0;
      expect_same(given, found, model_.at_node(mode, kind, id, part), "SBR_ModeByNode");
    }
  }
  void read_address() {
    const int mode = number();
    const int kind = pick(3);
    const int part = pick(2);
    double *address = nullptr;
    const bool given = SBR_ModeByRef(body_, mode, kind, &address, part) != 0;
    const auto expected = model_.part(mode, kind, part);
    expect_same(given, given ? Values(address, address + 3 * model_.nodes(kind)) : Values{}, expected, "SBR_ModeByRef");
    // What lies in the cache stays there until the cache is cleaned.
    if (SBR_ModeFromMemoryByRef(body_, mode, kind, &address, part) != 0)
      held_.emplace_back(address, Values(address, address + 3 * model_.nodes(kind)));
  }
  void check_addresses() {
    for (const auto &[address, values] : held_)
      ASSERT_EQ(std::memcmp(address, values.data(), values.size() * sizeof(double)), 0) << "a part changed its place";
  }

  // ---- the cache
  void use_cache() {
    const int choice = pick(8);
    if (choice == 0) {
      held_.clear();
      SBR_CleanModesInMemory(body_);
      model_.clean();
    } else if (choice < 4) {
      const bool keep = pick(3) != 0;
      forget_addresses_when_cleaned(!keep);
      SBR_SetKeepModesInMemory(body_, keep ? 1 : 0);
      model_.keep(keep);
    } else {
      const int mode = number();
      const int kind = pick(3);
      const int part = pick(2);
      Values values(3 * static_cast<std::size_t>(model_.nodes(kind)));
      for (double &v : values) v = value();
      ASSERT_EQ(SBR_ModetoMemory(body_, mode, kind, values.data(), part) != 0,
                model_.to_memory(mode, kind, part, values));
    }
  }
  void forget_addresses_when_cleaned(bool cleaned) {
    if (cleaned && model_.keeps()) held_.clear();
  }

  // ---- changes of everything
  void change_units() {
    held_.clear();
    millimeters_ = !millimeters_;
    ASSERT_EQ(SBR_SetUnits(body_, "KILOGRAM", millimeters_ ? "MILLIMETER" : "METER", "SECOND", "NEWTON"), 1);
    model_.change_units(millimeters_ ? 1.0 / 0.001 : 0.001 / 1.0, 1.0);
  }
  void turn() {
    forget_addresses_when_cleaned(true);
    const double axis[3] = {value(), value(), value()};
    std::array<double, 9> R{};
    ASSERT_EQ(SBR_Rotate_Origin(body_, axis, 30.0 * pick(12), R.data()), 1);
    const double d =
        R[0] * (R[4] * R[8] - R[5] * R[7]) - R[3] * (R[1] * R[8] - R[2] * R[6]) + R[6] * (R[1] * R[5] - R[2] * R[4]);
    model_.turn(R, d < 0.0 ? -1 : 1);
  }
  void transform() {
    forget_addresses_when_cleaned(true);
    const auto n = static_cast<std::size_t>(model_.modes());
    Values matrix(n * n);
    for (double &v : matrix) v = pick(4) == 0 ? 0.0 : value() * 0.2;
    const int kind = pick(3);
    // Off-diagonal stiffness makes the modes count as not orthogonal, for good.
    if (n > 1 && orthogonal_ && pick(2) == 0) {
      orthogonal_ = false;
      SBR_SetGeneralizedStiffness(body_, 1, 2, 0.5);
    }
    ASSERT_EQ(SBR_TransformModes(body_, kind, model_.modes(), matrix.data()), 1);
    model_.transform(kind, matrix, orthogonal_);
  }

  std::mt19937 random_;
  int most_nodes_;
  SBR body_;
  ModeModel model_;
  std::vector<std::pair<const double *, Values>> held_;
  bool millimeters_ = false;
  bool orthogonal_ = true;
  int checks_ = 0;
};

class ModeRandomTest : public LibraryTest {
 protected:
  // Runs of `steps` steps for a number of seeds. Gives how many answers were compared.
  int run(unsigned first_seed, unsigned seeds, int steps, int announced, int most_nodes) {
    int checks = 0;
    for (unsigned seed = first_seed; seed < first_seed + seeds; ++seed) {
      const ::testing::ScopedTrace trace(__FILE__, __LINE__, "seed " + std::to_string(seed));
      Pair pair(seed, announced, most_nodes);
      if (most_nodes > 1000) pair.add_all_nodes();
      for (int step = 0; step < steps && !HasFatalFailure(); ++step) pair.step();
      checks += pair.checks();
      EXPECT_TRUE(log.take_complaints().empty());
      if (HasFatalFailure()) break;
    }
    RecordProperty("checks", checks);
    return checks;
  }
  ScratchDirectory scratch;
  ScopedEnvironment tmp{"TMP", scratch.path().string()};
  ScopedEnvironment silent{"KTX_NO_TIME_MONITOR_STAMP", ""};
};

TEST_F(ModeRandomTest, EveryRouteGivesWhatTheModelGives) { EXPECT_GT(run(1, 40, 400, 30, 30), 7000); }

TEST_F(ModeRandomTest, MoreNodesThanAnnouncedMakeNoDifference) { EXPECT_GT(run(1000, 40, 400, 1, 60), 7000); }

TEST_F(ModeRandomTest, ACacheOfAFewSlotsMakesNoDifference) {
  // 4000 nodes leave ten slots of the smallest budget there is.
  const ScopedEnvironment budget("SBR_MAX_MODE_MEMORY", "1");
  EXPECT_GT(run(2000, 4, 250, 100, 4000), 400);
}

}  // namespace
}  // namespace sbrtest
