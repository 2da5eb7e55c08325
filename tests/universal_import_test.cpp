// `sbr import unv` from the outside: meshes that gmsh wrote with modes of known form behind them, measured points with
// real and complex modes, gmsh meshes as geometry, and bad files.
#include <gmock/gmock.h>

#include <complex>

#include "support/program.h"

namespace sbrtest {
namespace {

using Complex = std::complex<double>;

struct Point {
  int id;
  double x, y, z;
};

std::string number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%13.5E", value);
  return text;
}

std::string whole(int value) {
  char text[32];
  std::snprintf(text, sizeof text, "%10d", value);
  return text;
}

std::string dataset(int id, const std::string &body) {
  char head[32];
  std::snprintf(head, sizeof head, "    -1\n%6d\n", id);
  return head + body + "    -1\n";
}

// Dataset 55 of a normal mode; each value is printed in 6E13.5.
std::string real_mode(int mode, double hz, double mass, const std::vector<Point> &points,
                      const std::function<std::array<double, 3>(const Point &)> &shape) {
  std::string body = "one\ntwo\nthree\nfour\nfive\n" + whole(1) + whole(2) + whole(2) + whole(8) + whole(2) + whole(3) +
                     "\n" + whole(2) + whole(4) + whole(1) + whole(mode) + "\n" + number(hz) + number(mass) +
                     number(0) + number(0) + "\n";
  for (const Point &point : points) {
    const auto u = shape(point);
    body += whole(point.id) + "\n" + number(u[0]) + number(u[1]) + number(u[2]) + "\n";
  }
  return dataset(55, body);
}

std::string complex_mode(int mode, Complex eigenvalue, Complex modal_a, const std::vector<Point> &points,
                         const std::function<std::array<Complex, 3>(const Point &)> &shape) {
  std::string body = "one\ntwo\nthree\nfour\nfive\n" + whole(1) + whole(3) + whole(2) + whole(8) + whole(5) + whole(3) +
                     "\n" + whole(2) + whole(6) + whole(1) + whole(mode) + "\n" + number(eigenvalue.real()) +
                     number(eigenvalue.imag()) + number(modal_a.real()) + number(modal_a.imag()) + number(0) +
                     number(0) + "\n";
  for (const Point &point : points) {
    body += whole(point.id) + "\n";
    for (const Complex &u : shape(point)) body += number(u.real()) + number(u.imag());
    body += "\n";
  }
  return dataset(55, body);
}

// Dataset 2414 at nodes: a shape (meaning 8) or a stress (meaning 2); wide lines hold reals of 25 columns.
std::string data_2414(int mode, double hz, double mass, bool stress, bool wide, const std::vector<Point> &points,
                      const std::function<std::array<double, 6>(const Point &)> &six) {
  std::string body = whole(mode) + "\nset\n" + whole(1) + "\none\ntwo\nthree\nfour\nfive\n" + whole(1) + whole(2) +
                     whole(stress ? 4 : 3) + whole(stress ? 2 : 8) + whole(wide ? 4 : 2) + whole(6) + "\n";
  for (int i = 0; i < 8; ++i) body += whole(i == 5 ? mode : 0);
  body += "\n" + whole(0) + whole(0) + "\n" + number(0) + number(hz) + number(0) + number(mass) + number(0) +
          number(0) + "\n" + number(0) + number(0) + number(0) + number(0) + number(0) + number(0) + "\n";
  for (const Point &point : points) {
    body += whole(point.id) + "\n";
    char text[32];
    const auto values = six(point);
    for (std::size_t k = 0; k < 6; ++k) {
      std::snprintf(text, sizeof text, wide ? "%25.16E" : "%13.5E", values[k]);
      body += text + std::string(k == 5 || (wide && k == 2) ? "\n" : "");
    }
  }
  return dataset(2414, body);
}

std::string nodes_15(const std::vector<Point> &points) {
  std::string body;
  for (const Point &p : points)
    body += whole(p.id) + whole(0) + whole(0) + whole(11) + number(p.x) + number(p.y) + number(p.z) + "\n";
  return dataset(15, body);
}

// The nodes of dataset 2411, read with the stream operators.
std::vector<Point> points_of(const std::string &text) {
  std::istringstream lines(text);
  std::string line;
  while (std::getline(lines, line) && line.find("2411") == std::string::npos) {
  }
  std::vector<Point> points;
  Point point{};
  int axes = 0;
  while (std::getline(lines, line) && line != "    -1") {
    std::istringstream(line) >> point.id >> axes;
    std::getline(lines, line);
    std::replace(line.begin(), line.end(), 'D', 'e');
    std::istringstream(line) >> point.x >> point.y >> point.z;
    points.push_back(point);
  }
  return points;
}

const std::string kUnitsSi =
    dataset(164, whole(1) +
                     "SI - mks (Newton)            2\n"
                     "  1.00000000000000000D+00  1.00000000000000000D+00  1.00000000000000000D+00\n"
                     "  2.73149999999999977D+02\n");
const std::string kUnitsMm =
    dataset(164, whole(10) +
                     "mm (newton)                  2\n"
                     "  1.00000000000000000D+03  1.00000000000000000D+00  1.00000000000000000D+00\n"
                     "  2.73149999999999977D+02\n");

std::array<double, 3> along_x(const Point &) { return {1, 0, 0}; }
std::array<double, 3> bending(const Point &p) { return {0, 0, p.x * p.x}; }

class UniversalImportTest : public ProgramTest {
 protected:
  std::string refusal(const std::string &text, const std::string &options = "", int code = 3) const {
    write_file(scratch.file("bad.unv"), text);
    const Outcome run = sbr("import unv bad.unv -o bad.sbr " + options, true);
    EXPECT_EQ(run.code, code) << run.out;
    EXPECT_FALSE(std::filesystem::exists(scratch.file("bad.sbr")));
    return run.out;
  }
  std::vector<Point> bar = {{1, 0, 0, 0}, {2, 1, 0, 0}, {3, 2, 0, 0}, {4, 0, 1, 0}, {5, 1, 1, 0}, {6, 2, 1, 0.5}};
};

class UniversalBox : public UniversalImportTest, public ::testing::WithParamInterface<std::string> {
 protected:
  std::string mesh = read_file(SBRKIT_TEST_DATA "/sources/box_" + GetParam() + ".unv");
  std::vector<Point> points = points_of(mesh);
  void expect_box(const Json &box) const {
    EXPECT_NEAR(box["volume"].get<double>(), 0.008, 1e-15) << "mid-edge nodes in their places";
    EXPECT_NEAR(box["mass"].get<double>(), 8.0, 1e-12);
    EXPECT_NEAR(box["center_of_mass"][1].get<double>(), 0.1, 1e-12);
    EXPECT_NEAR(box["inertia"][0].get<double>(), 8.0 / 12 * 0.05, 1e-12);
    EXPECT_EQ(box["nodes"], points.size());
  }
};
INSTANTIATE_TEST_SUITE_P(Types, UniversalBox, ::testing::Values("brick", "wedge", "tetrahedron"),
                         [](const auto &type) { return type.param; });

TEST_P(UniversalBox, MeshesOfAnotherProgramKeepVolumeMassAndModes) {
  ASSERT_GT(points.size(), 20U);
  write_file(scratch.file("box.unv"),
             kUnitsSi + mesh + real_mode(1, 0.0, 8.0, points, along_x) + real_mode(2, 123.45, 2.5, points, bending));
  const Json box = json("import unv box.unv -o box.sbr --density 1000 --no-ortho --json");
  expect_box(box);
  const Json modes = json("modes --json box.sbr");
  EXPECT_NEAR(modes[1]["hz"].get<double>(), 123.45, 1e-9);
  EXPECT_EQ(modes[1]["generalized_mass"], 2.5);
  const Json shape = json("mode box.sbr 2 --json")["nodes"];
  ASSERT_EQ(shape.size(), points.size());
  for (const Point &p : points) {
    const auto at = std::find_if(shape.begin(), shape.end(), [&](const Json &n) { return n["id"] == p.id; });
    ASSERT_NE(at, shape.end());
    EXPECT_NEAR((*at)["values"][2].get<double>(), p.x * p.x, 1e-6);
  }
}

TEST_P(UniversalBox, AMeshOfGmshGivesElementsToPoints) {
  std::vector<Point> moved = points;
  for (Point &p : moved) p.id = 5000 - p.id;  // the numbers of the mesh do not count
  write_file(scratch.file("test.unv"), kUnitsSi + nodes_15(moved) + real_mode(1, 0.0, 8.0, moved, along_x));
  for (const char *version : {"2", "4", "2_binary", "4_binary"}) {
    const std::string msh = SBRKIT_TEST_DATA "/sources/box_" + GetParam() + "_" + version + ".msh";
    const Json box =
        json("import unv test.unv -o test.sbr --mesh '" + msh + "' --density 1000 --interface left --json");
    expect_box(box);
    EXPECT_EQ(box["interface_nodes"],
              std::count_if(points.begin(), points.end(), [](const Point &p) { return p.x < 1e-9; }));
  }
}

// Stress stands as xx, xy, yy, xz, yz, zz in the file, and as xx, yy, zz, xy, xz, yz in the record.
TEST_P(UniversalBox, ShapesAndStressOfDataset2414AreTaken) {
  const auto turn = [](const Point &p) { return std::array<double, 6>{0, 0, p.x * p.x, 0, -2 * p.x, 0}; };
  const auto stress = [](const Point &p) {
    return std::array<double, 6>{1 + p.x, 12 + p.y, 2 + p.z, 13 - p.x, 23 - p.y, 3 - p.z};
  };
  for (const bool wide : {false, true}) {
    write_file(scratch.file("box.unv"), kUnitsSi + mesh + data_2414(1, 77.5, 2.5, false, wide, points, turn) +
                                            data_2414(1, 77.5, 2.5, true, wide, points, stress));
    expect_box(json("import unv box.unv -o box.sbr --density 1000 --no-ortho --stress all --json"));
    const Json modes = json("modes --json box.sbr");
    EXPECT_NEAR(modes[0]["hz"].get<double>(), 77.5, 1e-9);
    EXPECT_EQ(modes[0]["generalized_mass"], 2.5);
    const double digits = wide ? 1e-12 : 2e-4;
    const auto compare = [&](const std::string &kind, const std::function<std::array<double, 6>(const Point &)> &six) {
      const Json rows = json("mode box.sbr 1 --json --kind " + kind)["nodes"];
      ASSERT_EQ(rows.size(), points.size());
      for (const Point &p : points) {
        const auto at = std::find_if(rows.begin(), rows.end(), [&](const Json &n) { return n["id"] == p.id; });
        ASSERT_NE(at, rows.end());
        for (std::size_t k = 0; k < 6; ++k)
          EXPECT_NEAR((*at)["values"][k].get<double>(), six(p)[k], digits) << kind << k;
      }
    };
    compare("shape", turn);
    compare("stress", [&](const Point &p) {
      const auto s = stress(p);
      return std::array<double, 6>{s[0], s[2], s[5], s[1], s[3], s[4]};
    });
  }
}

// What does not fit is told: the stress of another mode, of too few nodes, or with another count of values.
TEST_F(UniversalImportTest, StressThatDoesNotFitIsRefusedWhenItIsAskedFor) {
  const auto six = [](const Point &p) { return std::array<double, 6>{p.x, p.y, p.z, 1, 2, 3}; };
  const std::string shape = data_2414(1, 10, 1, false, false, bar, six);
  const std::string mesh = kUnitsMm + nodes_15(bar);
  const std::vector<Point> few(bar.begin(), bar.end() - 1);
  EXPECT_THAT(refusal(mesh + shape + data_2414(2, 10, 1, true, false, bar, six), "--stress all"),
              ::testing::HasSubstr("the stress of mode 2 does not stand where its shape does"));
  EXPECT_THAT(refusal(mesh + shape + data_2414(1, 10, 1, true, false, few, six), "--stress all"),
              ::testing::HasSubstr("has no values at node 6"));
  std::string five = data_2414(1, 10, 1, true, false, bar, six);
  const std::string kind = whole(4) + whole(2) + whole(2) + whole(6);
  five.replace(five.find(kind), kind.size(), whole(4) + whole(2) + whole(2) + whole(5));
  EXPECT_THAT(refusal(mesh + shape + five, "--stress all"), ::testing::HasSubstr("5 values a node, 6 expected"));
}

TEST_F(UniversalImportTest, PointsAloneBecomeARecordWithoutMasses) {
  write_file(scratch.file("test.unv"), dataset(151, "A test of a bar\nsecond line\n") + kUnitsMm + nodes_15(bar) +
                                           real_mode(1, 10, 0.25, bar, bending));
  const Json test = json("import unv test.unv -o test.sbr --no-ortho --json");
  EXPECT_EQ(test["title"], "A test of a bar");
  EXPECT_TRUE(test["mass"].is_null());
  EXPECT_EQ(test["units"], Json::array({"MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON"}));
  EXPECT_EQ(test["nodes"], 6);
  EXPECT_EQ(test["modes"][0]["rigid"], false);
  EXPECT_EQ(json("modes --json test.sbr")[0]["generalized_mass"], 0.25);
  EXPECT_EQ(json("mode test.sbr 1 --node 3 --json")["nodes"][0]["values"][2], 4.0);
}

// Points have no faces, and none are asked to be stripped: by the import, and when the record is written again.
TEST_F(UniversalImportTest, ABodyWithoutFacesIsWrittenAlsoWhenFacesAreToBeStripped) {
  write_file(scratch.file("test.unv"), kUnitsMm + nodes_15(bar) + real_mode(1, 10, 0.25, bar, bending));
  EXPECT_EQ(json("import unv test.unv -o test.sbr --no-ortho --json")["faces"], 0);
  const Outcome again = sbr("write test.sbr again.sbr --strip-faces --no-ortho", true);
  EXPECT_EQ(again.code, 0) << again.out;
  EXPECT_EQ(again.out.find("allocate"), std::string::npos) << again.out;
  EXPECT_EQ(sbr("diff test.sbr again.sbr").code, 0);
}

// A real shape times any factor of modulus 1, with the modal A that belongs to it, is the real shape again.
TEST_F(UniversalImportTest, ComplexModesAreRefusedOrRealized) {
  const double omega = 2 * 3.14159265358979324 * 50;
  const double damping = 0.02;
  const Complex eigenvalue = omega * Complex(-damping, std::sqrt(1 - damping * damping));
  for (const double angle : {0.0, 0.4, 1.7, -2.9}) {
    const Complex factor = std::polar(1.0, angle);
    const Complex modal_a = 2.0 * Complex(0, eigenvalue.imag()) * 0.75 * factor * factor;
    const std::string text = kUnitsSi + nodes_15(bar) + complex_mode(1, eigenvalue, modal_a, bar, [&](const Point &p) {
                               return std::array<Complex, 3>{0.0, p.y * factor, p.x * p.x * factor};
                             });
    EXPECT_NE(refusal(text).find("mode 1 is complex"), std::string::npos);
    const Json modes = json("import unv bad.unv -o good.sbr --realize --no-ortho --json")["modes"];
    std::filesystem::remove(scratch.file("bad.sbr"));
    EXPECT_NEAR(modes[0]["hz"].get<double>(), 50, 1e-3);
    EXPECT_NEAR(json("modes --json good.sbr")[0]["generalized_mass"].get<double>(), 0.75, 1e-4);
    const Json values = json("mode good.sbr 1 --node 6 --json")["nodes"][0]["values"];
    EXPECT_NEAR(std::fabs(values[2].get<double>()), 4.0, 1e-4);
    EXPECT_NEAR(values[1].get<double>() / values[2].get<double>(), 0.25, 1e-4);
  }
}

TEST_F(UniversalImportTest, AShapeThatIsFarFromRealIsToldOf) {
  const std::string text = kUnitsSi + nodes_15(bar) + complex_mode(1, {-1, 100}, {0, 200}, bar, [](const Point &p) {
                             return std::array<Complex, 3>{Complex(0, 0.8 * p.y), 0.0, p.x};
                           });
  write_file(scratch.file("test.unv"), text);
  EXPECT_NE(sbr("import unv test.unv -o test.sbr --realize", true).out.find("phase collinearity"), std::string::npos);
}

TEST_F(UniversalImportTest, UnitsOfTheFileCount) {
  const std::string tail = nodes_15(bar) + real_mode(1, 10, 1, bar, bending);
  EXPECT_NE(refusal(kUnitsMm + tail, "--units SI").find("not those of --units"), std::string::npos);
  write_file(scratch.file("test.unv"), tail);
  EXPECT_NE(sbr("import unv test.unv -o test.sbr", true).out.find("SI is taken"), std::string::npos);
  EXPECT_EQ(json("import unv test.unv -o test.sbr --units mm-t-s-N --json")["units"][0], "MEGAGRAM");
  std::string odd = kUnitsMm;
  odd.replace(odd.find("1.00000000000000000D+03"), 23, "1.23400000000000000D+03");
  EXPECT_NE(refusal(odd + tail).find("bad.unv:3: units with the factors"), std::string::npos);
}

TEST_F(UniversalImportTest, BadFilesAreToldWithTheirLines) {
  const std::string good = kUnitsSi + nodes_15(bar) + real_mode(1, 10, 1, bar, bending);
  const auto with = [&](const std::string &from, const std::string &to) {
    std::string text = good;
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    return text.replace(at, from.size(), to);
  };
  EXPECT_NE(refusal("hello\n").find("bad.unv:1: not a universal file"), std::string::npos);
  EXPECT_NE(refusal("").find("the file is empty"), std::string::npos);
  EXPECT_NE(refusal(good.substr(0, good.size() - 7)).find("the file ends inside a dataset"), std::string::npos);
  EXPECT_NE(refusal(with("  1.00000E+00  0.00000E+00  0.00000E+00\n", "  1.00000E+00          nan  0.00000E+00\n"))
                .find("bad.unv:"),
            std::string::npos);
  EXPECT_NE(
      refusal(nodes_15({{1, 0, 0, 0}, {1, 1, 0, 0}}) + real_mode(1, 1, 1, bar, bending)).find("node 1 comes twice"),
      std::string::npos);
  std::vector<Point> fewer(bar.begin(), bar.end() - 1);
  EXPECT_NE(refusal(kUnitsSi + nodes_15(bar) + real_mode(1, 1, 1, fewer, bending)).find("no values at node 6"),
            std::string::npos);
  EXPECT_EQ(sbr("import unv bad.unv -o ok.sbr --missing zero").code, 0);
  EXPECT_NE(
      refusal(kUnitsSi + nodes_15(fewer) + real_mode(1, 1, 1, bar, bending)).find("node 6, which the file does not"),
      std::string::npos);
  EXPECT_NE(refusal(kUnitsSi + nodes_15(bar)).find("the file has no modes"), std::string::npos);
  EXPECT_NE(refusal(good, "--density 1", 2).find("needs elements"), std::string::npos);
  EXPECT_NE(refusal(good + dataset(2412, whole(1) + whole(301) + whole(1) + whole(1) + whole(7) + whole(4) + "\n"))
                .find("type 301 is not supported"),
            std::string::npos);
  EXPECT_NE(
      refusal(good + dataset(2412, whole(1) + whole(111) + whole(1) + whole(1) + whole(7) + whole(2000000000) + "\n"))
          .find("has 2000000000 nodes"),
      std::string::npos);
  std::string local = good;
  local.replace(local.find(whole(2) + whole(0) + whole(0)), 30, whole(2) + whole(0) + whole(9));
  EXPECT_NE(refusal(local).find("node 2 refers to the local axes 9"), std::string::npos);
}

TEST_F(UniversalImportTest, LinesCutOrChangedAnywhereDoNotCrash) {
  const std::string good = kUnitsSi + nodes_15(bar) + real_mode(1, 10, 1, bar, bending);
  std::mt19937 random(11);
  for (int i = 0; i < 60; ++i) {
    std::string text = good;
    if (i % 2 == 0) text.resize(random() % text.size());
    for (int k = 0; k < 4 && !text.empty(); ++k) text[random() % text.size()] = "0123456789 -+.Ee\n"[random() % 17];
    write_file(scratch.file("bad.unv"), text);
    const Outcome run = sbr("import unv bad.unv -o out.sbr", true);
    EXPECT_TRUE(run.code == 0 || run.code == 2 || run.code == 3) << run.code << run.out;
  }
}

// The same mesh as text and as bytes gives the same record, faces and groups included.
TEST_P(UniversalBox, TextAndBytesOfAMeshGiveTheSameRecord) {
  write_file(scratch.file("test.unv"), kUnitsSi + nodes_15(points) + real_mode(1, 0.0, 8.0, points, along_x));
  for (const std::string version : {"2", "4"}) {
    const std::string msh = SBRKIT_TEST_DATA "/sources/box_" + GetParam() + "_" + version;
    const std::string text = "import unv test.unv --density 1000 --interface left --all-faces --mesh '";
    (void)json(text + msh + ".msh' -o text.sbr --json");
    write_file(scratch.file("packed.msh"), read_file(msh + "_binary.msh"));
    ASSERT_EQ(shell("gzip -f packed.msh").code, 0);
    for (const std::string &file : {msh + "_binary.msh", std::string("packed.msh.gz")}) {
      (void)json(text + file + "' -o bytes.sbr --json");
      EXPECT_EQ(sbr("diff text.sbr bytes.sbr", true).code, 0) << file;
    }
  }
}

TEST_F(UniversalImportTest, BytesOfAMeshThatAreNotAllThereAreTold) {
  const std::vector<Point> points = points_of(read_file(SBRKIT_TEST_DATA "/sources/box_brick.unv"));
  write_file(scratch.file("test.unv"), kUnitsSi + nodes_15(points) + real_mode(1, 0.0, 8.0, points, along_x));
  for (const std::string version : {"2", "4"}) {
    const std::string whole_file = read_file(SBRKIT_TEST_DATA "/sources/box_brick_" + version + "_binary.msh");
    const auto told = [&](const std::string &bytes) {
      write_file(scratch.file("bad.msh"), bytes);
      const Outcome run = sbr("import unv test.unv -o bad.sbr --mesh bad.msh", true);
      EXPECT_EQ(run.code, 3) << run.out;
      EXPECT_FALSE(std::filesystem::exists(scratch.file("bad.sbr")));
      return run.out;
    };
    for (std::size_t cut = 40; cut + 16 < whole_file.size(); cut += whole_file.size() / 23)
      EXPECT_THAT(told(whole_file.substr(0, cut)), ::testing::StartsWith("sbr: bad.msh: ")) << cut;
    const auto changed = [&](const std::string &where, std::size_t behind, const std::string &bytes) {
      std::string text = whole_file;
      text.replace(text.find(where) + where.size() + behind, bytes.size(), bytes);
      return told(text);
    };
    EXPECT_THAT(changed("1 8\n", 0, std::string("\0\0\0\1", 4)), ::testing::HasSubstr("the order of another machine"));
    // Counts that the file cannot hold: as text in version 2, as bytes in version 4.
    for (const char *section : {"$Nodes\n", "$Elements\n"})
      EXPECT_THAT(changed(section, 0, std::string(version == "2" ? 1 : 8, '9')),
                  ::testing::StartsWith("sbr: bad.msh: byte"));
    EXPECT_THAT(changed("$EndNod", 0, "y"), ::testing::HasSubstr("$EndNodes expected"));
  }
}

TEST_F(UniversalImportTest, BadMeshesOfGmshAreTold) {
  const std::string msh = read_file(SBRKIT_TEST_DATA "/sources/box_brick_4.msh");
  const std::vector<Point> points = points_of(read_file(SBRKIT_TEST_DATA "/sources/box_brick.unv"));
  write_file(scratch.file("test.unv"), kUnitsSi + nodes_15(points) + real_mode(1, 0.0, 8.0, points, along_x));
  const auto told = [&](const std::string &from, const std::string &to) {
    std::string text = msh;
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    text.replace(at, from.size(), to);
    write_file(scratch.file("bad.msh"), text);
    const Outcome run = sbr("import unv test.unv -o bad.sbr --mesh bad.msh", true);
    EXPECT_EQ(run.code, 3) << run.out;
    return run.out;
  };
  EXPECT_NE(told("4.1 0 8", "4.1 1 8").find("the order of another machine"), std::string::npos);
  EXPECT_NE(told("4.1 0 8", "3.0 0 8").find("bad.msh:2: version 3.0"), std::string::npos);
  EXPECT_NE(told("$Nodes", "$Knots").find("bad.msh"), std::string::npos);
  EXPECT_NE(told("0.4 0.2 0\n", "0.4 0.21 0\n").find("has no node there"), std::string::npos);
  EXPECT_NE(told("$EndElements", "").find("bad.msh"), std::string::npos);
  const std::size_t at = msh.find("$Elements\n") + 10;
  const std::string counts = msh.substr(at, msh.find('\n', at) - at);
  EXPECT_NE(told(counts, "2000000000 3 1 3").find("too short"), std::string::npos);
  EXPECT_FALSE(std::filesystem::exists(scratch.file("bad.sbr")));
}

}  // namespace
}  // namespace sbrtest
