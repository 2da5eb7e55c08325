// Random bodies under random options, several writes and a turn between them, against the slow model of writing. The
// seeds are fixed.
#include <algorithm>
#include <array>
#include <numeric>
#include <random>

#include "support/files.h"
#include "support/messages.h"
#include "support/write_reference.h"

namespace sbrtest {
namespace {

class Random {
 public:
  explicit Random(std::uint32_t seed) : engine_(seed) {}
  // From 0 to count - 1.
  int below(int count) { return static_cast<int>(engine_() % static_cast<std::uint32_t>(count)); }
  bool chance(int percent) { return below(100) < percent; }
  // Multiples of 1/8 between -4 and 4, so that sums and squares are often equal.
  double value() { return (below(65) - 32) / 8.0; }
  // A value of many digits.
  double real() { return (static_cast<double>(engine_()) / 4294967296.0 - 0.5) * 4; }
  std::array<double, 6> six() {
    std::array<double, 6> v{};
    if (chance(25)) return v;
    for (double &c : v) c = chance(20) ? 0.0 : value();
    return v;
  }
  std::vector<int> numbers(int count, int highest) {
    std::vector<int> all(static_cast<std::size_t>(highest));
    std::iota(all.begin(), all.end(), 1);
    for (int i = highest - 1; i > 0; --i)
      std::swap(all[static_cast<std::size_t>(i)], all[static_cast<std::size_t>(below(i + 1))]);
    all.resize(static_cast<std::size_t>(count));
    return all;
  }

 private:
  std::mt19937 engine_;
};

struct Built {
  SBR body;
  bool off_diagonal;
  std::vector<int> ids;
};

// A flat or bent strip of quadrilaterals, with loose nodes beside it.
std::vector<int> add_geometry(SBR body, Random &random, int width, int height, int loose) {
  const std::vector<int> ids = random.numbers(width * height + loose, 60);
  const double bend = random.chance(50) ? 0.0 : 0.5;
  const auto at = [&](int x, int y) { return ids[static_cast<std::size_t>(y * width + x)]; };
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) SBR_SetNodeCoordinates(body, at(x, y), x, y, bend * x * (x - 1));
  for (std::size_t i = static_cast<std::size_t>(width * height); i < ids.size(); ++i)
    SBR_SetNodeCoordinates(body, ids[i], random.value(), random.value(), random.value());
  for (int y = 0; y + 1 < height; ++y)
    for (int x = 0; x + 1 < width; ++x) {
      const int face[] = {at(x, y), at(x + 1, y), at(x + 1, y + 1), at(x, y + 1)};
      SBR_SetFaceList(body, 4, face);
      const int back[] = {face[3], face[2], face[1], face[0]};
      if (random.chance(20)) SBR_SetFaceList(body, 4, random.chance(50) ? back : face);
    }
  return ids;
}

void add_mass(SBR body, Random &random, const std::vector<int> &ids) {
  for (const int id : ids) {
    SBR_SetNodalMass(body, id, random.chance(15) ? 0.0 : 0.25 * (1 + random.below(8)));
    if (random.chance(25)) SBR_SetNodalInertia(body, id, 2, 3, random.chance(50) ? 0 : 4, random.value() / 8, 0, 0.25);
  }
}

void add_mode_data(SBR body, Random &random, const std::vector<int> &ids, const std::vector<int> &modes) {
  for (const int mode : modes)
    for (const int id : ids) SBR_SetModeVec(body, mode, id, 0, random.six().data());
  for (const int kind : {1, 2}) {
    if (modes.empty() || random.chance(40)) continue;
    std::vector<int> some;
    for (const int id : ids)
      if (random.chance(60)) some.push_back(id);
    for (const int mode : modes)
      for (const int id : some) SBR_SetModeVec(body, mode, id, kind, random.six().data());
    if (random.chance(50))
      for (const int id : some) SBR_SetModeVec(body, 0, id, kind, random.six().data());
  }
}

// Stiffness that rises with the modes, now and then with a rigid mode. Gives whether modes are coupled.
bool add_matrices(SBR body, Random &random, const std::vector<int> &modes) {
  const bool coupled = modes.size() > 1 && random.chance(30);
  const bool unit_masses = random.chance(50);
  double omega = 0.0;
  for (std::size_t i = 0; i < modes.size(); ++i) {
    omega += random.chance(20) ? 0.0 : 1 + random.below(12);
    const double mass = unit_masses ? 1.0 : 0.5 * (1 + random.below(6));
    SBR_SetGeneralizedMass(body, modes[i], modes[i], mass);
    SBR_SetGeneralizedStiffness(body, modes[i], modes[i], mass * omega * omega);
    if (coupled && i > 0) {
      SBR_SetGeneralizedMass(body, modes[i - 1], modes[i], 0.05);
      SBR_SetGeneralizedStiffness(body, modes[i - 1], modes[i], 0.125);
    }
    if (random.chance(60)) SBR_SetGeneralizedDamping(body, modes[i], modes[i], 0.125 * static_cast<double>(i + 1));
  }
  return coupled;
}

void add_loads(SBR body, Random &random, const std::vector<int> &ids, const std::vector<int> &modes) {
  if (!modes.empty() && random.chance(40))
    for (const int mode : modes) SBR_SetModalPreload(body, mode, random.value());
  if (!modes.empty() && random.chance(40))
    for (const int mode : modes) SBR_SetModalLoad(body, random.below(2), mode, random.value());
  for (int i = random.chance(40) ? 1 + random.below(4) : 0; i > 0; --i)
    SBR_SetModalLoadNodal(body, random.below(2),
                          ids[static_cast<std::size_t>(random.below(static_cast<int>(ids.size())))],
                          1 + random.below(6), random.value());
  if (random.chance(30)) {
    const char *labels[] = {"row one", nullptr};
    const std::vector<double> data(6, random.real());
    SBR_SetMatrixOperatorInfo(body, "OPERATOR NAME", labels, 2);
    SBR_SetMatrixOperatorData(body, 0, "SUB", 3, data.data());
  }
  if (!modes.empty() && random.chance(40)) {
    const double location[3] = {};
    const std::vector<double> data(2 * 2 * modes.size(), random.real());
    SBR_SetMonitorPointInfo(body, 1, 1 + random.below(4), 14, 2, location, "POINT", "a point");
    SBR_SetMonitorPointOperator(body, 0, 1, data.data());
    if (random.chance(50)) SBR_SetMonitorPointOperator(body, 0, 4, data.data());
  }
}

Built build_random(std::uint32_t seed) {
  Random random(seed);
  const int width = 2 + random.below(3);
  const int height = 2 + random.below(2);
  const int loose = random.below(4);
  const std::vector<int> modes = random.numbers(random.below(6), 12);
  SBR body = SBR_Create(width * height + loose, static_cast<int>(modes.size()));
  if (random.chance(40)) SBR_SetUnits(body, "MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
  const std::vector<int> ids = add_geometry(body, random, width, height, loose);
  add_mass(body, random, ids);
  add_mode_data(body, random, ids, modes);
  const bool off_diagonal = add_matrices(body, random, modes);
  for (const int id : ids)
    if (random.chance(20)) SBR_SetInterfaceNode(body, id);
  add_loads(body, random, ids, modes);
  return {body, off_diagonal, ids};
}

std::string random_options(Random &random, const std::string &sketch) {
  std::vector<std::string> words;
  const auto maybe = [&](int percent, const std::string &word) {
    if (random.chance(percent)) words.push_back(word);
  };
  maybe(20, "no_ortho");
  maybe(30, "single");
  maybe(40, "no_xdr");
  maybe(15, "full_str");
  maybe(25, "sparse_str");
  maybe(5, "82_comp");
  maybe(5, "81_comp");
  maybe(20, "full_invar");
  maybe(20, "fast_invar");
  maybe(5, "invar");
  maybe(30, "lowpass(" + std::to_string(random.below(9)) + ")");
  maybe(30, "highpass(" + std::to_string(random.below(5)) + ".5)");
  maybe(10, "empty");
  maybe(25, "MKS");
  maybe(15, "lbrf2cm");
  maybe(20, "strip_face");
  maybe(15, "coarsen(0.3,20,1)");
  maybe(10, "sketch(" + sketch + ")");
  maybe(20, "optimize_mforce_nodes");
  for (std::size_t i = words.size(); i > 1; --i)
    std::swap(words[i - 1], words[static_cast<std::size_t>(random.below(static_cast<int>(i)))]);
  std::string text;
  for (const std::string &word : words) text += (text.empty() ? "" : " ") + word;
  return text;
}

std::string date_of(SBR body) {
  char date[33] = {};
  SBR_Header(body, nullptr, date, nullptr, nullptr, nullptr, nullptr, nullptr);
  return date;
}

TEST(RandomWrites, AgreeWithTheSlowModelByteForByte) {
  const MessageLog log;
  const ScratchDirectory scratch;
  const std::string path = scratch.file("out.sbr");
  const std::string sketch = scratch.file("faces");
  int records = 0;
  int refused = 0;
  for (std::uint32_t seed = 1; seed <= 600; ++seed) {
    const Built one = build_random(seed);
    Twin twin = twin_of(build_random(seed).body, one.off_diagonal);
    Random random(seed + 100000);
    const auto id = [&](int i) { return std::to_string(one.ids[static_cast<std::size_t>(i)]) + " "; };
    write_file(sketch, "2 3 " + id(0) + id(1) + id(2) + "3 " + id(3) + id(2) + id(1));
    std::string story;
    for (int turn = 0; turn < 3; ++turn) {
      const std::string options = random_options(random, sketch);
      story += "[" + options + "]";
      SCOPED_TRACE("seed " + std::to_string(seed) + ": " + story);
      const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS", options);
      const bool written = SBR_write_SBR(one.body, path.c_str()) != 0;
      const auto expected = reference_write(twin, options, date_of(one.body));
      ASSERT_EQ(written, expected.has_value());
      ++(written ? records : refused);
      if (written) {
        ASSERT_EQ(first_difference(*expected, read_file(path)), "");
      }
      if (!random.chance(40)) continue;
      const double axis[] = {0, random.value(), 1};
      const double point[] = {0, 1, 0};
      story += "[rotate]";
      ASSERT_EQ(SBR_Rotate(one.body, axis, point, 30), SBR_Rotate(twin.body, axis, point, 30));
    }
    SBR_Terminate();
  }
  EXPECT_GT(records, 1000);
  EXPECT_GT(refused, 100);
}

}  // namespace
}  // namespace sbrtest
