// Blocks of values long enough for several pieces and threads: plain, packed, with other line ends, and with lines that
// leave the columns.
#include <zlib.h>

#include <cstdlib>
#include <map>

#include "calculix/results.h"
#include "support/files.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

using sbrtranslate::InputError;
using sbrtranslate::Place;
using sbrtranslate::ResultHandler;
using sbrtranslate::ResultSet;

constexpr int kNodes = 40000;

class Taken : public ResultHandler {
 public:
  explicit Taken(bool wants = true) : wants_(wants) {}
  void node(int, const sbrtranslate::Vec3 &, const Place &) override { ++nodes; }
  void element(int, int, std::span<const int>, const Place &) override {}
  void mesh_done(const Place &) override {}
  bool begin_set(const ResultSet &, const Place &place) override {
    heads.push_back(place.line);
    return wants_;
  }
  void value(int node, std::span<const double> values, const Place &place) override {
    ids.push_back(node);
    lines.push_back(place.line);
    all.insert(all.end(), values.begin(), values.end());
  }
  void end_set(const Place &place) override { ends.push_back(place.line); }
  int nodes = 0;
  std::vector<int> ids;
  std::vector<long> lines, heads, ends;
  std::vector<double> all;

 private:
  bool wants_;
};

// A file of two sets of one mode, and the texts of its values.
struct File {
  std::string text;
  std::vector<std::string> fields;
};

File make_file(const std::string &line_end, const std::map<int, std::string> &odd = {}) {
  File file;
  std::mt19937 random(3);
  std::uniform_real_distribution<double> mantissa(-9.9, 9.9);
  const auto line = [&](const std::string &text) { file.text += text + line_end; };
  line("    1C");
  line("    2C" + std::string(29, ' ') + "1" + std::string(37, ' ') + "1");
  line(" -1         1 0.00000E+00 0.00000E+00 0.00000E+00");
  line(" -3");
  for (const int values : {3, 6}) {
    char head[100];
    line("    1PMODE                         1");
    std::snprintf(head, sizeof head, "  100CL  101 1.00000E+00%12d                     2    1MODAL      1", kNodes);
    line(head);
    line(values == 3 ? " -4  DISP        4    1" : " -4  STRESS      6    1");
    for (int i = 0; i < values; ++i) line(" -5  V           1    2    1    0");
    if (values == 3) line(" -5  ALL         1    2    0    0    1ALL");
    for (int node = 1; node <= kNodes; ++node) {
      char text[32];
      std::snprintf(text, sizeof text, " -1%10d", node);
      std::string row = text;
      for (int i = 0; i < values; ++i) {
        std::snprintf(text, sizeof text, "%12.5E",
                      mantissa(random) * std::pow(10.0, static_cast<int>(random() % 60) - 40));
        const auto other = odd.find(node);
        const bool replaced = other != odd.end() && i == 0;
        row += replaced ? other->second : text;
        file.fields.push_back(replaced ? other->second : text);
      }
      line(row);
    }
    line(" -3");
  }
  line(" 9999");
  return file;
}

class CalculixValuesTest : public LibraryTest {
 protected:
  Taken read(const std::string &text, bool wants = true) {
    write_file(scratch.file("job.frd"), text);
    Taken taken(wants);
    sbrtranslate::read_results(scratch.file("job.frd"), taken);
    return taken;
  }
  static void expect_same(const Taken &taken, const File &file) {
    ASSERT_EQ(taken.all.size(), file.fields.size());
    for (std::size_t i = 0; i < taken.all.size(); ++i)
      ASSERT_EQ(taken.all[i], std::strtod(file.fields[i].c_str(), nullptr)) << i;
    ASSERT_EQ(taken.ids.size(), 2U * kNodes);
    for (std::size_t i = 0; i < taken.ids.size(); ++i) {
      ASSERT_EQ(taken.ids[i], 1 + static_cast<int>(i) % kNodes);
      ASSERT_EQ(taken.lines[i], (i < kNodes ? 12 : 12 + kNodes + 10) + static_cast<long>(i) % kNodes);
    }
  }
  ScratchDirectory scratch;
};

TEST_F(CalculixValuesTest, EveryValueIsTheOneOfTheText) {
  const File file = make_file("\n");
  expect_same(read(file.text), file);
}

TEST_F(CalculixValuesTest, OtherLineEndsArePartOfTheLines) {
  const File file = make_file("\r\n");
  expect_same(read(file.text), file);
}

TEST_F(CalculixValuesTest, APackedFileGivesTheSame) {
  const File file = make_file("\n");
  gzFile packed = gzopen(scratch.file("job.frd.gz").c_str(), "wb1");
  gzwrite(packed, file.text.data(), static_cast<unsigned>(file.text.size()));
  gzclose(packed);
  Taken taken;
  sbrtranslate::read_results(scratch.file("job.frd.gz"), taken);
  expect_same(taken, file);
}

// Such numbers keep their columns, and are not of the usual form.
TEST_F(CalculixValuesTest, NumbersOfAnotherFormAreReadAsWell) {
  const File file = make_file("\n", {{1, "         0.5"}, {20011, " 1.2345E-003"}, {kNodes, " 1.23456e+05"}});
  expect_same(read(file.text), file);
}

TEST_F(CalculixValuesTest, ExponentsOfThreeDigitsMayPushTheColumns) {
  const File file = make_file("\n", {{30007, "-1.00000E-101"}});
  expect_same(read(file.text), file);
}

TEST_F(CalculixValuesTest, SetsThatAreNotWantedArePassedOverAndLinesCounted) {
  const Taken taken = read(make_file("\n").text, false);
  EXPECT_TRUE(taken.ids.empty());
  EXPECT_EQ(taken.heads, (std::vector<long>{6, 6 + kNodes + 8}));
  EXPECT_TRUE(taken.ends.empty());
}

TEST_F(CalculixValuesTest, DamageIsToldWithItsLine) {
  const File file = make_file("\n", {{25000, "         NaN"}});
  try {
    read(file.text);
    FAIL() << "not refused";
  } catch (const InputError &problem) {
    EXPECT_NE(std::string(problem.what()).find("job.frd:" + std::to_string(11 + 25000) + ": a number expected"),
              std::string::npos)
        << problem.what();
  }
  // A head that promises more lines than the file can have, or less than there are.
  for (const char *count : {"2000000000", "         1", "     39999"}) {
    std::string text = make_file("\n").text;
    const std::size_t at = text.find("     40000");
    text.replace(at, 10, count);
    EXPECT_EQ(read(text).ids.size(), 2U * kNodes) << count;
  }
  std::string text = make_file("\n").text;
  EXPECT_THROW(read(text.substr(0, text.size() / 2)), InputError);
}

}  // namespace
}  // namespace sbrtest
