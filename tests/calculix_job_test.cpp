// Real results of a solver as bodies and records, against the figures beside them and the laws that they obey; and
// results that are damaged.
#include <gmock/gmock.h>

#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>

#include "calculix/job.h"
#include "support/complaint.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using nlohmann::json;
using sbrtranslate::BodyHandle;
using sbrtranslate::ImportOptions;
using sbrtranslate::ImportReport;
using sbrtranslate::InputError;
using sbrtranslate::Where;

std::string directory_of(const std::string &name) {
  return name == "conrod" ? SBRKIT_SOURCE_DIR "/examples/data/conrod/"
                          : SBRKIT_TEST_DATA "/fe/" + (name.rfind("plate", 0) == 0 ? "plates" : name) + "/";
}

ImportOptions job(const std::string &name) {
  ImportOptions options;
  options.deck = directory_of(name) + name + ".inp";
  return options;
}

class ImportTest : public LibraryTest {
 protected:
  SBR import(const ImportOptions &options) {
    handle = sbrtranslate::import_ccx(options, report);
    return handle.get();
  }
  // Writes the body and opens the record.
  SBR written(const std::string &write_options) {
    const ScopedEnvironment environment("KTX_SBRWRITE_OPTIONS", write_options);
    EXPECT_EQ(SBR_write_SBR(handle.get(), path.c_str()), 1);
    handle.reset();
    return SBR_CreateFromSBR(path.c_str());
  }
  ~ImportTest() override { handle.reset(); }
  ScratchDirectory scratch;
  std::string path = scratch.file("body.sbr");
  ImportReport report;
  BodyHandle handle;
};

class BothBodies : public ImportTest, public ::testing::WithParamInterface<std::string> {
 protected:
  json figures = json::parse(read_file(directory_of(GetParam()) + GetParam() + ".json"));
};
std::string body_name(const ::testing::TestParamInfo<std::string> &info) { return info.param; }
INSTANTIATE_TEST_SUITE_P(Bodies, BothBodies, ::testing::Values("beam", "conrod"), body_name);

void expect_near(const double *values, const json &wanted, double tolerance) {
  std::size_t at = 0;
  for (const json &value : wanted.flatten()) EXPECT_NEAR(values[at++], value.get<double>(), tolerance);
}

TEST_P(BothBodies, MassCenterAndInertiaAreThoseOfTheMesh) {
  import(job(GetParam()));
  const auto &mesh = report.model.exact;
  const auto &lumped = report.model.lumped;
  const double mass = figures["mass"].get<double>();
  const double size = figures["consistent"]["inertia_about_origin"][2][2].get<double>();
  EXPECT_NEAR(report.model.volume, figures["volume"].get<double>(), 1e-12 * 155000);
  EXPECT_NEAR(mesh.mass, mass, 1e-12 * mass);
  expect_near(mesh.centre().data(), figures["consistent"]["center_of_mass"], 1e-9);
  expect_near(mesh.inertia({}).data(), figures["consistent"]["inertia_about_origin"], 1e-12 * size);
  EXPECT_NEAR(lumped.mass, mass, 1e-12 * mass);
  expect_near(lumped.centre().data(), figures["consistent"]["center_of_mass"], 1e-9);
  expect_near(lumped.inertia({}).data(), figures["consistent"]["inertia_about_origin"], 1e-11 * size);
  const json &ids = figures["node_ids"];
  ASSERT_EQ(report.model.nodes.size(), ids.size());
  for (std::size_t i = 0; i < ids.size(); ++i) {
    const double row = figures["lumped_masses"][i].get<double>();
    EXPECT_EQ(report.model.nodes[i].id, ids[i].get<int>());
    EXPECT_NEAR(report.model.nodes[i].mass, row * report.model.correction.smallest_factor,
                row * (report.model.correction.largest_factor - report.model.correction.smallest_factor) * (1 + 1e-9));
    EXPECT_GT(report.model.nodes[i].mass, 0.05 * row);
  }
}

TEST_P(BothBodies, TheRecordHasTheSurfaceTheInterfacesAndTheUnits) {
  ImportOptions options = job(GetParam());
  options.interfaces = {"iface_a", "IFACE_B"};
  import(options);
  const SBR body = written("strip_face");
  int faces = 0;
  int length = 0;
  EXPECT_EQ(SBR_FaceListSize(body, &faces, &length), 1);
  EXPECT_EQ(faces, figures["surface"]["faces"].get<int>());
  EXPECT_EQ(report.model.surface_face_count, faces);
  const int corners = figures["surface"]["face_corners"].get<int>();
  EXPECT_EQ(length, faces * (corners + 1));
  int count = 0;
  int *ids = SBR_InterfaceNodeIDs(body, &count);
  SBR_FreeMemory(ids);
  EXPECT_EQ(count, figures["interfaces"]["IFACE_A"]["node_count"].get<int>() +
                       figures["interfaces"]["IFACE_B"]["node_count"].get<int>());
  char labels[4][16];
  SBR_Units(body, labels[0], labels[1], labels[2], labels[3]);
  EXPECT_STREQ(labels[0], "MEGAGRAM");
  EXPECT_STREQ(labels[3], "NEWTON");
  char title[128];
  char type[16];
  SBR_Header(body, title, nullptr, nullptr, type, nullptr, nullptr, nullptr);
  EXPECT_EQ(std::string(title).substr(0, 9), "Free-free");
  EXPECT_STREQ(type, "CalculiX");
}

// The faces that two solids share go when the record is written; a body that never had them gives the same record.
TEST_P(BothBodies, ARecordOfTheSurfaceIsTheSameWhetherTheBodyHasTheFacesInsideOrNot) {
  const auto faces_of = [&](bool shared) {
    ImportOptions options = job(GetParam());
    options.shared_faces = shared;
    const SBR body = import(options);
    int count = 0;
    int length = 0;
    EXPECT_EQ(SBR_FaceListSize(body, &count, &length), 1);
    EXPECT_EQ(count, shared ? report.model.face_count : report.model.surface_face_count);
    SBR_StripCommonFaces(body);
    EXPECT_EQ(SBR_FaceListSize(body, &count, &length), 1);
    std::vector<int> list(static_cast<std::size_t>(length));
    EXPECT_EQ(SBR_ElementFaces(body, list.data()), 1);
    return list;
  };
  EXPECT_EQ(faces_of(true), faces_of(false));
}

TEST_P(BothBodies, SixModesAreRigidAndTheFrequenciesAreTheSolvers) {
  import(job(GetParam()));
  const json &frequencies = figures["frequencies_hz"];
  ASSERT_EQ(report.modes.size(), frequencies.size());
  for (std::size_t i = 0; i < report.modes.size(); ++i) {
    EXPECT_EQ(report.modes[i].rigid, i < 6) << i;
    EXPECT_EQ(report.modes[i].eigenvalue, figures["eigenvalues"][i].get<double>());
  }
  const SBR body = written("strip_face");
  EXPECT_EQ(SBR_RigidBodyModeCount(body), 6);
  ASSERT_EQ(SBR_ModeCount(body), static_cast<int>(frequencies.size()));
  for (std::size_t i = 6; i < frequencies.size(); ++i) {
    double hz = 0.0;
    double mass = 0.0;
    ASSERT_EQ(SBR_Eigenvalue(body, static_cast<int>(i) + 1, nullptr, &hz, nullptr, &mass, nullptr), 1);
    EXPECT_NEAR(hz, frequencies[i].get<double>(), 2e-6 * hz);
    EXPECT_EQ(mass, 1.0);
  }
}

TEST_P(BothBodies, InvariantsOfTheRecordAreTheIntegralsOverTheBody) {
  import(job(GetParam()));
  const SBR body = written("strip_face full_invar");
  const double mass = figures["mass"].get<double>();
  double *second = SBR_Invar2(body);
  double *seventh = SBR_Invar7(body);
  ASSERT_NE(second, nullptr);
  ASSERT_NE(seventh, nullptr);
  EXPECT_NEAR(SBR_Invar1(body), mass, 1e-12 * mass);
  const json &consistent = figures["consistent"];
  const double size = consistent["inertia_about_origin"][2][2].get<double>();
  for (std::size_t c = 0; c < 3; ++c)
    EXPECT_NEAR(second[c], mass * consistent["center_of_mass"][c].get<double>(), 1e-11 * mass * 100);
  expect_near(seventh, consistent["inertia_about_origin"], 1e-11 * size);
  SBR_FreeMemory(second);
  SBR_FreeMemory(seventh);
}

TEST_P(BothBodies, ShapesAreOrthonormalWithTheNodalMasses) {
  const SBR body = import(job(GetParam()));
  const int nodes = SBR_NodeCount(body);
  const int modes = SBR_ModeCount(body);
  std::vector<std::vector<double>> shapes;
  for (int j = 0; j < modes; ++j) {
    shapes.emplace_back(3 * static_cast<std::size_t>(nodes));
    ASSERT_EQ(SBR_Mode(body, j + 1, 0, shapes.back().data(), 0), 1);
  }
  double largest_pair = 0.0;
  for (std::size_t j = 0; j < shapes.size(); ++j)
    for (std::size_t k = j; k < shapes.size(); ++k) {
      double sum = 0.0;
      for (int i = 0; i < nodes; ++i)
        for (std::size_t c = 0; c < 3; ++c) {
          const std::size_t at = 3 * static_cast<std::size_t>(i) + c;
          sum += SBR_NodalMass(body, i) * shapes[j][at] * shapes[k][at];
        }
      // Rigid motions have the mass and the inertia of the elements; elastic ones come near.
      if (j == k) {
        EXPECT_NEAR(sum, 1.0, j < 6 ? 2e-6 : 0.025) << "mode " << j + 1;
        EXPECT_NEAR(report.modes[j].lumped_mass, sum, 1e-9);
      }
      if (j >= 6 && k > j) largest_pair = std::max(largest_pair, std::fabs(sum));
    }
  EXPECT_LT(largest_pair, 0.01);
}

TEST_F(ImportTest, ShapesAndStressesAreThoseOfTheResults) {
  ImportOptions options = job("beam");
  options.stress = Where::all;
  const SBR body = import(options);
  const json figures = json::parse(read_file(SBRKIT_TEST_DATA "/samples/expected.json")).at("beam_13c");
  for (const json &node : figures["nodes"])
    for (const auto &[mode, values] : node["shape"].items()) {
      double xyz[3];
      ASSERT_EQ(SBR_ModeByNode(body, std::stoi(mode), 0, node["id"].get<int>(), xyz, 0), 1);
      for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(xyz[c], values[c].get<double>());
    }
  for (const json &node : figures["stress_nodes"])
    for (const auto &[mode, values] : node["stress"].items())
      for (int part = 0; part < 2; ++part) {
        double three[3];
        ASSERT_EQ(SBR_ModeByNode(body, std::stoi(mode), 1, node["id"].get<int>(), three, part), 1);
        for (std::size_t c = 0; c < 3; ++c)
          EXPECT_EQ(three[c], values[3 * static_cast<std::size_t>(part) + c].get<double>());
      }
}

// E = 210000, nu = 0.3. The results have six digits.
TEST_F(ImportTest, StressAndStrainObeyHookesLaw) {
  ImportOptions options = job("beam");
  options.stress = Where::all;
  options.strain = Where::all;
  const SBR body = import(options);
  EXPECT_EQ(report.stress_nodes, 1221);
  EXPECT_EQ(report.strain_nodes, 1221);
  const double shear = 210000.0 / 2.6;
  const double lame = 210000.0 * 0.3 / (1.3 * 0.4);
  for (const int mode : {7, 14, 18}) {
    std::vector<double> stress[2];
    std::vector<double> strain[2];
    for (int part = 0; part < 2; ++part) {
      stress[part].resize(3 * 1221);
      strain[part].resize(3 * 1221);
      ASSERT_EQ(SBR_Mode(body, mode, 1, stress[part].data(), part), 1);
      ASSERT_EQ(SBR_Mode(body, mode, 2, strain[part].data(), part), 1);
    }
    double scale = 0.0;
    ASSERT_EQ(SBR_GetMaxVonMisesStress(body, mode, nullptr, &scale), 1);
    for (std::size_t i = 0; i < 1221; ++i) {
      const double *e = &strain[0][3 * i];
      for (std::size_t c = 0; c < 3; ++c) {
        EXPECT_NEAR(stress[0][3 * i + c], lame * (e[0] + e[1] + e[2]) + 2.0 * shear * e[c], 1e-5 * scale);
        EXPECT_NEAR(stress[1][3 * i + c], shear * strain[1][3 * i + c], 1e-5 * scale);
      }
    }
  }
}

// Euler and Bernoulli: f = (k l)^2 / (2 pi l^2) sqrt(E I / (rho A)), roots of cosh(kl) cos(kl) = 1. The theory leaves
// out shear and rotary inertia; by how much it is too high follows from Timoshenko's theory, whose frequencies these
// are.
TEST_F(ImportTest, TheBeamBendsAsEulerAndBernoulliSayWithinTheirKnownError) {
  import(job("beam"));
  const std::vector<double> roots = {4.730040745, 7.853204624, 10.99560784, 14.13716549, 17.27875966, 20.42035225};
  struct Series {
    double height;
    std::vector<std::size_t> modes;
    std::vector<double> timoshenko;
  };
  const std::vector<Series> series = {
      {20.0, {7, 9, 11, 13, 16, 17}, {106.18, 291.90, 570.02, 937.44, 1391.53, 1929.10}},
      {30.0, {8, 10, 12, 15, 18}, {158.98, 435.62, 846.66, 1383.94, 2039.51}}};
  for (const Series &bending : series)
    for (std::size_t i = 0; i < bending.modes.size(); ++i) {
      const double speed = std::sqrt(210000.0 * bending.height * bending.height / (12.0 * 7.85e-9));
      const double theory = roots[i] * roots[i] / (2.0 * std::numbers::pi * 1e6) * speed;
      const double known_error = theory - bending.timoshenko[i];
      const double hz = report.modes[bending.modes[i] - 1].hz;
      EXPECT_LT(hz, theory);
      EXPECT_NEAR(hz, theory - known_error, 1e-3 * theory) << "mode " << bending.modes[i];
      EXPECT_LT(known_error, (i == 0 ? 0.004 : 0.045) * theory);
    }
}

// ---- Shells: the solver's results have twice the nodes, expanded to solids.

class Plates : public ImportTest, public ::testing::WithParamInterface<std::string> {};
INSTANTIATE_TEST_SUITE_P(Types, Plates, ::testing::Values("plate_S3", "plate_S4", "plate_S6", "plate_S8R"), body_name);

TEST_P(Plates, RigidModesTurnEveryNodeAlikeAndTheMiddleSurfaceMovesWithThem) {
  const SBR body = import(job(GetParam()));
  EXPECT_EQ(SBR_RigidBodyModeCount(body), 6);
  EXPECT_NEAR(report.model.exact.mass, 120.0 * 60.0 * 2.0 * 7.85e-9, 1e-16);
  const auto nodes = static_cast<std::size_t>(SBR_NodeCount(body));
  std::vector<double> shape(3 * nodes);
  std::vector<double> turn(3 * nodes);
  for (int mode = 1; mode <= 6; ++mode) {
    ASSERT_EQ(SBR_Mode(body, mode, 0, shape.data(), 0), 1);
    ASSERT_EQ(SBR_Mode(body, mode, 0, turn.data(), 1), 1);
    double most = 0.0;
    for (std::size_t i = 0; i < nodes; ++i)
      most = std::max(most, std::hypot(shape[3 * i], shape[3 * i + 1], shape[3 * i + 2]));
    double origin[3];
    SBR_NodeCoordinates(body, 0, origin);
    for (std::size_t i = 0; i < nodes; ++i) {
      double at[3];
      SBR_NodeCoordinates(body, static_cast<int>(i), at);
      // A rigid motion: u = u0 + w x (r - r0), with one w for all nodes.
      const double d[3] = {at[0] - origin[0], at[1] - origin[1], at[2] - origin[2]};
      for (std::size_t c = 0; c < 3; ++c) {
        const std::size_t a = (c + 1) % 3;
        const std::size_t b = (c + 2) % 3;
        EXPECT_NEAR(turn[3 * i + c], turn[c], 3e-5 * most) << "mode " << mode << " node " << i;
        EXPECT_NEAR(shape[3 * i + c], shape[c] + turn[a] * d[b] - turn[b] * d[a], 2e-3 * most);
      }
    }
  }
}

TEST_P(Plates, BendingStressChangesSignBetweenTopAndBottom) {
  ImportOptions options = job(GetParam());
  options.stress = Where::all;
  std::vector<std::vector<double>> sides;
  for (const auto side :
       {sbrtranslate::ShellSide::top, sbrtranslate::ShellSide::bottom, sbrtranslate::ShellSide::middle}) {
    options.shell_side = side;
    report = ImportReport();
    const SBR body = import(options);
    sides.emplace_back(3 * static_cast<std::size_t>(SBR_NodeCount(body)));
    ASSERT_EQ(SBR_Mode(body, 7, 1, sides.back().data(), 0), 1);
  }
  double largest = 0.0;
  for (const double stress : sides[0]) largest = std::max(largest, std::fabs(stress));
  EXPECT_GT(largest, 1000.0);
  for (std::size_t i = 0; i < sides[0].size(); ++i) {
    EXPECT_NEAR(sides[2][i], 0.5 * (sides[0][i] + sides[1][i]), 1e-9 * largest);
    EXPECT_NEAR(sides[0][i], -sides[1][i], 1e-2 * largest);
  }
}

// ---- Craig and Bampton

ImportOptions reduction() {
  ImportOptions options = job("beam");
  options.interfaces = {"IFACE_A", "IFACE_B"};
  const std::string stem = directory_of("beam") + "beam.";
  options.matrices = sbrtranslate::MatrixFiles{stem + "mas.gz", stem + "sti.gz", stem + "dof.gz"};
  return options;
}

TEST_F(ImportTest, FirstTenElasticFrequenciesOfTheReducedFreeBeamAreTheFullModelsWithinAThousandth) {
  ImportOptions options = reduction();
  options.normal = 40;
  import(options);
  EXPECT_EQ(report.constraint_modes, 2 * 21 * 3);
  EXPECT_EQ(report.normal_modes, 40);
  const SBR body = written("strip_face lowpass(3000)");
  EXPECT_EQ(SBR_RigidBodyModeCount(body), 6);
  const json figures = json::parse(read_file(directory_of("beam") + "beam.json"));
  for (std::size_t i = 6; i < 16; ++i) {
    double hz = 0.0;
    ASSERT_EQ(SBR_Eigenvalue(body, static_cast<int>(i) + 1, nullptr, &hz, nullptr, nullptr, nullptr), 1);
    const double full = figures["frequencies_hz"][i].get<double>();
    EXPECT_NEAR(hz, full, 1e-3 * full) << "mode " << i + 1;
    EXPECT_GT(hz, (1.0 - 1e-6) * full) << "a reduced model is stiffer";
  }
}

TEST_F(ImportTest, NormalModesUpToAFrequencyAreAllThatLieBelowIt) {
  ImportOptions options = reduction();
  options.max_hz = 1000.0;
  import(options);
  // A beam clamped at both ends bends at the frequencies of the free beam: 106, 159, 292, 436, 570, 847 and 938 Hz.
  EXPECT_EQ(report.normal_modes, 7);
}

TEST_F(ImportTest, TheReducedBodyTakesStaticInterfaceMotionsExactly) {
  ImportOptions options = reduction();
  options.normal = 0;
  const SBR body = import(options);
  EXPECT_EQ(SBR_ModeCount(body), 126);
  // A constraint mode moves its own interface degree of freedom and no other.
  double at_one[3];
  double at_two[3];
  ASSERT_EQ(SBR_ModeByNode(body, 1, 0, 1, at_one, 0), 1);
  ASSERT_EQ(SBR_ModeByNode(body, 1, 0, 2, at_two, 0), 1);
  EXPECT_GT(at_one[0], 0.0);
  EXPECT_EQ(at_one[1], 0.0);
  EXPECT_EQ(at_two[0], 0.0);
}

// ---- Results that are damaged, or not those of the deck

class DamageTest : public ImportTest {
 protected:
  DamageTest() {
    for (const char *suffix : {".inp", ".dat"})
      std::filesystem::copy_file(directory_of("plate") + "plate_S4" + suffix,
                                 scratch.file(std::string("job") + suffix));
    frd = read_gzip(directory_of("plate") + "plate_S4.frd.gz");
    deck = read_file(scratch.file("job.inp"));
    dat = read_file(scratch.file("job.dat"));
  }
  std::string complaint(ImportOptions options = {}) {
    options.deck = scratch.file("job.inp");
    write_file(scratch.file("job.inp"), deck);
    write_file(scratch.file("job.frd"), frd);
    write_file(scratch.file("job.dat"), dat);
    return complaint_of(scratch, [&] {
      report = ImportReport();
      import(options);
    });
  }
  // The number of the first line that begins with a text, from a line on.
  [[nodiscard]] long line_of(const std::string &text, const std::string &start, long from = 1) const {
    std::istringstream lines(text);
    std::string line;
    for (long n = 1; std::getline(lines, line); ++n)
      if (n >= from && line.rfind(start, 0) == 0) return n;
    return -1;
  }
  static void replace(std::string &text, const std::string &what, const std::string &with) {
    const std::size_t at = text.find(what);
    ASSERT_NE(at, std::string::npos) << what;
    text.replace(at, what.size(), with);
  }
  static void expect_start(const std::string &text, const std::string &start) {
    EXPECT_EQ(text.substr(0, start.size()), start);
  }
  std::string frd, deck, dat;
};

TEST_F(DamageTest, TheUndamagedJobIsTaken) { EXPECT_EQ(complaint(), ""); }

TEST_F(DamageTest, AResultFileCutAnywhereIsAComplaintWithALine) {
  const std::string whole = frd;
  int cuts = 0;
  // The last line is "9999" with its line end; a cut inside it loses the mark itself or nothing.
  for (std::size_t size = 0; size + 8 < whole.size(); size += 1511) {
    frd = whole.substr(0, size);
    const std::string text = complaint();
    EXPECT_EQ(text.rfind("job.frd:", 0), 0u) << "cut at " << size << ": " << text;
    ++cuts;
  }
  EXPECT_GT(cuts, 80);
}

TEST_F(DamageTest, BinaryResultsAreToldAsSuch) {
  const long line = line_of(frd, "    2C");
  const std::size_t at = frd.find("    2C");
  const std::string head = frd.substr(at, frd.find('\n', at) - at);
  std::string binary = head;
  binary[head.find_last_of('1')] = '2';
  replace(frd, head, binary);
  expect_start(complaint(), "job.frd:" + std::to_string(line) + ": the results are binary");
}

TEST_F(DamageTest, ZeroBytesAreBinaryData) {
  frd.insert(frd.find(" -4  DISP"), std::string(4, '\0'));
  expect_start(complaint(), "job.frd:" + std::to_string(line_of(frd, "  100CL") + 1) + ": binary data");
}

TEST_F(DamageTest, ATruncatedOrDamagedArchiveIsAComplaint) {
  const std::string packed = read_file(directory_of("plate") + "plate_S4.frd.gz");
  ImportOptions options;
  options.frd = scratch.file("job.frd.gz");
  write_file(*options.frd, packed.substr(0, packed.size() / 2));
  EXPECT_NE(complaint(options).find("the packed file ends too early"), std::string::npos);
  std::string damaged = packed;
  damaged[packed.size() / 2] = static_cast<char>(damaged[packed.size() / 2] ^ 0x55);
  write_file(*options.frd, damaged);
  EXPECT_NE(complaint(options), "");
}

TEST_F(DamageTest, AFileThatIsNotAResultFileIsAComplaint) {
  frd = "Hello\n";
  EXPECT_EQ(complaint(), "job.frd:1: not an .frd file: its first line has to begin with 1C");
  frd.clear();
  expect_start(complaint(), "job.frd");
}

TEST_F(DamageTest, ResultsOfAnotherMeshAreTold) {
  replace(deck, "\n7, 20, 40, 3\n", "\n7, 20, 41, 3\n");
  EXPECT_NE(complaint().find("the mesh is not that of the deck: node 7"), std::string::npos);
  deck = read_file(directory_of("plate") + "plate_S4.inp");
  replace(deck, "\n18, 23, 27, 28, 24\n", "\n19, 23, 27, 28, 24\n");
  const std::string text = complaint();
  EXPECT_NE(text.find("element 18 is not in the deck"), std::string::npos) << text;
}

TEST_F(DamageTest, MoreModesInOneFileThanInTheOtherAreTold) {
  std::string shorter = dat;
  const std::size_t row = shorter.find("\n      9   ");
  ASSERT_NE(row, std::string::npos);
  shorter.erase(row, shorter.find('\n', row + 1) - row);
  std::swap(dat, shorter);
  const std::string text = complaint();
  EXPECT_EQ(text.rfind("job.frd:", 0), 0u) << text;
  EXPECT_NE(text.find("mode 9 is not in"), std::string::npos) << text;
  std::swap(dat, shorter);
  const std::size_t cut = frd.rfind("    1PSTEP", frd.find("    1PMODE                         9"));
  frd = frd.substr(0, cut) + " 9999\n";
  EXPECT_EQ(complaint().rfind("job.dat:" + std::to_string(line_of(dat, "      9   ")) + ": mode 9 is not in", 0), 0u);
  ImportOptions options;
  options.modes = 8;
  EXPECT_EQ(complaint(options), "");
  EXPECT_EQ(report.modes.size(), 8u);
}

TEST_F(DamageTest, EigenvaluesOfAnotherRunAreTold) {
  replace(dat, "0.7563381E+03", "0.7564381E+03");
  EXPECT_NE(complaint().find("results of different runs"), std::string::npos);
}

TEST_F(DamageTest, MissingValuesRepeatedNodesAndWordsForNumbersAreTold) {
  const std::string whole = frd;
  const std::size_t value = frd.find("\n -1", frd.find(" -4  DISP")) + 1;
  const std::size_t end = frd.find('\n', value) + 1;
  const std::string line = frd.substr(value, end - value);
  frd.erase(value, end - value);
  EXPECT_NE(complaint().find("displacement of mode 1 has no values at node"), std::string::npos);
  frd = whole;
  frd.insert(end, line);
  EXPECT_NE(complaint().find("comes twice"), std::string::npos);
  frd = whole;
  frd.replace(value + 13, 12, "         NaN");
  EXPECT_NE(complaint().find("a number expected, found 'NaN'"), std::string::npos);
}

TEST_F(DamageTest, AskingForWhatTheResultsDoNotHaveIsAComplaint) {
  ImportOptions options;
  options.modes = 10;
  EXPECT_NE(complaint(options).find("10 modes asked for, the file has 9"), std::string::npos);
  std::size_t at = 0;
  while ((at = frd.find(" -4  STRESS", at)) != std::string::npos) frd.replace(at, 11, " -4  OTHERS");
  EXPECT_EQ(complaint(), "");
  EXPECT_THAT(report.warnings, ::testing::Contains("the results have no stress; the record is written without it"));
  options = ImportOptions();
  options.stress = Where::surface;
  EXPECT_EQ(complaint(options), "job.frd: the file has no stress (*EL FILE)");
}

// Exponents of three digits push the columns to the right.
TEST_F(DamageTest, ExponentsOfThreeDigitsAreRead) {
  const std::size_t value = frd.find("\n -1", frd.find(" -4  STRESS")) + 1;
  const std::size_t end = frd.find('\n', value);
  ASSERT_EQ(end - value, 13u + 72u);
  frd.replace(value + 13, 72, "-1.00000E-101 2.00000E+00-3.00000E+00 4.00000E+00 5.00000E+00-6.00000E-100");
  ImportOptions options;
  options.stress = Where::all;
  options.shell_side = sbrtranslate::ShellSide::bottom;
  ASSERT_EQ(complaint(options), "");
}

TEST_F(DamageTest, UnitsThatAreNotConsistentAreRefused) {
  ImportOptions options = job("plate_S4");
  options.units = {"KILOGRAM", "MILLIMETER", "SECOND", "NEWTON"};
  EXPECT_THROW(import(options), std::invalid_argument);
  options.units = {"KILOGRAM", "FURLONG", "SECOND", "NEWTON"};
  EXPECT_THROW(import(options), std::invalid_argument);
}

class MatrixDamageTest : public ImportTest {
 protected:
  std::string complaint(const ImportOptions &options) {
    try {
      import(options);
    } catch (const std::exception &error) {
      return error.what();
    }
    return "";
  }
  std::string file(const std::string &text) {
    write_file(scratch.file("bad"), text);
    return scratch.file("bad");
  }
};

TEST_F(MatrixDamageTest, BadMatricesAreToldWithFileAndLine) {
  ImportOptions options = reduction();
  options.normal = 5;
  options.matrices->dofs = file("1.1\n1.2\n1.4\n");
  EXPECT_NE(complaint(options).find("bad:3: a degree of freedom"), std::string::npos);
  options.matrices->dofs = file("1.1\n9999.2\n");
  EXPECT_NE(complaint(options).find("bad:2: node 9999 is not a node"), std::string::npos);
  options.matrices->dofs = file("1.1\n1.1\n");
  EXPECT_NE(complaint(options).find("bad:2: the degree of freedom comes a second time"), std::string::npos);
  options = reduction();
  options.normal = 5;
  options.matrices->stiffness = file("1 1 2.0\n4000 4000 1.0\n");
  EXPECT_NE(complaint(options).find("bad:2: an entry of the upper triangle of a matrix of 3663 rows"),
            std::string::npos);
  options.matrices->stiffness = file("1 1 2.0\n2 1 1.0\n");
  EXPECT_NE(complaint(options).find("bad:2: an entry of the upper triangle"), std::string::npos);
  options.matrices->stiffness = file("1 1 two\n");
  EXPECT_NE(complaint(options).find("bad:1: an entry 'row column value'"), std::string::npos);
}

TEST_F(MatrixDamageTest, AnInterfaceThatDoesNotHoldTheBodyIsTold) {
  ImportOptions options = reduction();
  options.normal = 5;
  std::string deck = read_file(options.deck);
  deck += "*NSET, NSET=POINT\n1\n";
  write_file(scratch.file("beam.inp"), deck);
  options.deck = scratch.file("beam.inp");
  options.interfaces = {"POINT"};
  EXPECT_NE(complaint(options).find("the interface nodes do not hold the body"), std::string::npos);
  options.interfaces.clear();
  EXPECT_NE(complaint(options).find("matrices need interface nodes"), std::string::npos);
}

}  // namespace
}  // namespace sbrtest
