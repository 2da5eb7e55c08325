// `sbr export` from the outside: the tables as other programs read them.
#include <cmath>
#include <cstring>
#include <sstream>

#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramExportTest : public ProgramTest {
 protected:
  using Rows = std::vector<std::vector<std::string>>;
  Rows csv(const std::string &name) const {
    Rows rows;
    std::istringstream lines(read_file(scratch.file(name)));
    for (std::string line; std::getline(lines, line);) {
      rows.emplace_back();
      std::istringstream words(line);
      for (std::string word; std::getline(words, word, ',');) rows.back().push_back(word);
    }
    return rows;
  }
};

TEST_F(ProgramExportTest, CommaSeparatedValuesHaveUnitsInTheirHeadAndTheFiguresOfTheRecord) {
  const Json want = expected("beam_13c");
  ASSERT_EQ(sbr("export " + sample("beam_13c") + " --csv out").code, 0);
  const Rows nodes = csv("out/nodes.csv");
  ASSERT_EQ(nodes.size(), 1222U);
  EXPECT_EQ(nodes[0],
            (std::vector<std::string>{"id", "x [MILLIMETER]", "y [MILLIMETER]", "z [MILLIMETER]", "mass [MEGAGRAM]"}));
  EXPECT_EQ(nodes[1][0], want["nodes"][0]["id"].dump());
  for (std::size_t c = 0; c < 3; ++c) EXPECT_EQ(std::stod(nodes[1][c + 1]), want["nodes"][0]["xyz"][c].get<double>());
  double mass = 0.0;
  for (std::size_t i = 1; i < nodes.size(); ++i) mass += std::stod(nodes[i][4]);
  EXPECT_NEAR(mass, want["mass"].get<double>(), 1e-15);
  const Rows modes = csv("out/modes.csv");
  ASSERT_EQ(modes.size(), 11U);
  EXPECT_EQ(modes[0][2], "frequency [1/SECOND]");
  for (std::size_t m = 0; m < 10; ++m)
    EXPECT_DOUBLE_EQ(std::stod(modes[m + 1][1]), want["eigenvalue"][m].get<double>());
  const Rows shapes = csv("out/shapes.csv");
  ASSERT_EQ(shapes.size(), 1 + 10U * 1221U);
  const auto &row = shapes[1 + 6 * 1221];
  EXPECT_EQ(row[0], "7");
  for (std::size_t c = 0; c < 6; ++c)
    EXPECT_EQ(std::stod(row[c + 2]), want["nodes"][0]["shape"]["7"][c].get<double>()) << "as exact as in the record";
  const Rows third = csv("out/invariant_3.csv");
  for (std::size_t m = 0; m < 10; ++m)
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(std::stod(third[m + 1][c + 1]), want["invariant3_component_major"][10 * c + m].get<double>(), 1e-13);
  EXPECT_EQ(csv("out/stress.csv")[0][2], "xx [NEWTON/MILLIMETER^2]");
  EXPECT_EQ(csv("out/invariant_9.csv").size(), 101U);
  EXPECT_EQ(csv("out/faces.csv").size(), 1 + 960U * 4U);
}

// A stored archive of arrays, read by its documented bytes.
TEST_F(ProgramExportTest, PackedArraysAreWhatNumPyWrites) {
  ASSERT_EQ(sbr("export " + sample("beam_13c") + " --npz out").code, 0);
  const std::string bytes = read_file(scratch.file("out/modes.npz"));
  const auto number = [&](std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes.data() + at, count);
    return value;
  };
  ASSERT_EQ(number(0, 4), 0x04034B50U);
  EXPECT_EQ(number(8, 2), 0U) << "stored";
  EXPECT_EQ(bytes.substr(30, 9), "modes.npy");
  const std::size_t array = 39;
  EXPECT_EQ(bytes.substr(array, 8), std::string("\x93NUMPY\x01\x00", 8));
  const std::size_t header = number(array + 8, 2);
  EXPECT_EQ((10 + header) % 64, 0U);
  EXPECT_EQ(bytes.substr(array + 10, 41), "{'descr': [('number', '<i8'), ('eigenvalu");
  EXPECT_NE(bytes.substr(array + 10, header).find("'shape': (10,), }"), std::string::npos);
  EXPECT_EQ(number(18, 4), 10 + header + 10 * 48);
  const std::size_t row = array + 10 + header + 6 * 48;
  EXPECT_EQ(number(row, 8), 7U);
  double eigenvalue = 0.0;
  std::memcpy(&eigenvalue, bytes.data() + row + 8, 8);
  EXPECT_EQ(eigenvalue, expected("beam_13c")["eigenvalue"][6].get<double>());
  const Outcome zip = shell(
      "python3 -c \"import zipfile, glob; [print(zipfile.ZipFile(f).testzip()) for f in "
      "glob.glob('out/*.npz')]\" | sort -u");
  EXPECT_EQ(zip.out, "None\n") << "every sum is right";
}

// A Python of one's own may stand before the one that the packages are for.
TEST_F(ProgramExportTest, NumPyReadsThem) {
  std::string python;
  for (const char *one : {"/usr/bin/python3", "python3"})
    if (shell(one + std::string(" -c 'import numpy' 2>/dev/null")).code == 0) python = one;
  if (python.empty()) GTEST_SKIP() << "no NumPy here";
  ASSERT_EQ(sbr("export " + sample("beam_13c") + " --npz out").code, 0);
  const Outcome run = shell(python +
                            " -c \"import numpy; t = numpy.load('out/nodes.npz'); n = t['nodes']; "
                            "print(n.shape, n['id'].dtype, round(float(n['mass'].sum()), 9), list(t['units']))\"");
  EXPECT_EQ(run.out, "(1221,) int64 0.00471 ['', 'MILLIMETER', 'MILLIMETER', 'MILLIMETER', 'MEGAGRAM']\n");
  const Outcome shapes = shell(python +
                               " -c \"import numpy; s = numpy.load('out/shapes.npz')['shapes']; "
                               "print(s['dx'].reshape(10, 1221).shape, s['mode'][-1])\"");
  EXPECT_EQ(shapes.out, "(10, 1221) 10\n");
}

TEST_F(ProgramExportTest, JsonTablesHaveTheSameColumns) {
  ASSERT_EQ(sbr("export " + sample("conrod_13c") + " --json out --csv out").code, 0);
  for (const char *name :
       {"nodes", "modes", "stress", "generalized_damping", "invariant_5", "modal_loads", "interface_nodes"}) {
    const Json table = Json::parse(read_file(scratch.file(std::string("out/") + name + ".json")));
    const Rows rows = csv(std::string("out/") + name + ".csv");
    EXPECT_EQ(table["table"], name);
    ASSERT_EQ(table["rows"].size() + 1, rows.size()) << name;
    for (std::size_t c = 0; c < rows[0].size(); ++c) {
      EXPECT_EQ(table["columns"][c]["name"], rows[0][c].substr(0, rows[0][c].find(' '))) << name;
      EXPECT_EQ(table["rows"].back()[c].get<double>(), std::stod(rows.back()[c])) << name;
    }
  }
}

TEST_F(ProgramExportTest, AFailedExportLeavesWhatWasThere) {
  const std::string beam = sample("beam_13c");
  std::filesystem::create_directory(scratch.path() / "out");
  write_file(scratch.file("out/nodes.csv"), "what was there");
  const Outcome run = shell("trap '' XFSZ; ulimit -f 200; " SBR_PROGRAM " export " + beam + " --csv out 2>&1");
  EXPECT_EQ(run.code, 4) << run.out;
  EXPECT_EQ(read_file(scratch.file("out/nodes.csv")), "what was there");
  EXPECT_EQ(shell("ls -A out").out, "nodes.csv\n");
  EXPECT_EQ(sbr("export " + beam).code, 2);
  EXPECT_EQ(sbr("export " + beam + " --csv " + beam).code, 2);
}

}  // namespace
}  // namespace sbrtest
