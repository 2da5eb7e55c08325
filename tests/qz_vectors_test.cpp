// The stages of QZ against recorded results, bit for bit: each stage from the arrays of the stage before, and the four
// in a chain.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrtest {
namespace {

using Values = std::vector<double>;

Values numbers(const nlohmann::json &texts) {
  Values values;
  for (const auto &text : texts) values.push_back(std::strtod(text.get<std::string>().c_str(), nullptr));
  return values;
}

const nlohmann::json &problems() {
  static const nlohmann::json file = [] {
    std::ifstream in(SBRKIT_TEST_DATA "/qz/vectors.json");
    return nlohmann::json::parse(in);
  }();
  return file.at("problems");
}

// The arrays of a problem, in matrices whose leading dimension exceeds the order by `spare`. The spare rows hold a
// value that must stay.
struct Problem {
  static constexpr double kSpare = -77.25;
  int n = 0;
  int nm = 0;
  Values a, b, z, alfr, alfi, beta;
  int ierr = -1;

  Problem(int order, int spare) : n(order), nm(order + spare) {
    a = b = z = Values(static_cast<std::size_t>(nm) * n, kSpare);
    alfr = alfi = beta = Values(static_cast<std::size_t>(n), 0.0);
  }
  void put(Values &matrix, const Values &packed) const {
    for (int j = 0; j < n; ++j)
      for (int i = 0; i < n; ++i)
        matrix[static_cast<std::size_t>(j * nm + i)] = packed[static_cast<std::size_t>(j * n + i)];
  }
  void reduce() {
    const int yes = 1;
    SBR_QZHESS(&nm, &n, a.data(), b.data(), &yes, z.data());
  }
  void iterate() {
    const int yes = 1;
    const double eps1 = 0.0;
    SBR_QZITT(&nm, &n, a.data(), b.data(), &eps1, &yes, z.data(), &ierr);
  }
  void find_values() {
    const int yes = 1;
    SBR_QZVALL(&nm, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), &yes, z.data());
  }
  void find_vectors() { SBR_QZVECC(&nm, &n, a.data(), b.data(), alfr.data(), alfi.data(), beta.data(), z.data()); }
};

::testing::AssertionResult same_bits(double found, double expected) {
  if (std::bit_cast<std::uint64_t>(found) == std::bit_cast<std::uint64_t>(expected)) {
    return ::testing::AssertionSuccess();
  }
  if (std::isnan(found) && std::isnan(expected)) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << std::hexfloat << found << " instead of " << expected;
}

void expect_matrix(const Problem &p, const Values &matrix, const nlohmann::json &texts, const std::string &what) {
  const Values expected = numbers(texts);
  for (int j = 0; j < p.n; ++j) {
    for (int i = 0; i < p.n; ++i) {
      EXPECT_TRUE(
          same_bits(matrix[static_cast<std::size_t>(j * p.nm + i)], expected[static_cast<std::size_t>(j * p.n + i)]))
          << what << " at row " << i + 1 << ", column " << j + 1;
    }
    for (int i = p.n; i < p.nm; ++i) {
      EXPECT_EQ(matrix[static_cast<std::size_t>(j * p.nm + i)], Problem::kSpare) << what << ": spare row touched";
    }
  }
}

void expect_values(const Values &found, const nlohmann::json &texts, const std::string &what) {
  const Values expected = numbers(texts);
  for (std::size_t i = 0; i < expected.size(); ++i)
    EXPECT_TRUE(same_bits(found[i], expected[i])) << what << " " << i + 1;
}

void expect_stage(const Problem &p, const nlohmann::json &stage, const std::string &name) {
  SCOPED_TRACE(name);
  expect_matrix(p, p.a, stage.at("a"), "a");
  expect_matrix(p, p.b, stage.at("b"), "b");
  expect_matrix(p, p.z, stage.at("z"), "z");
  if (stage.contains("ierr")) {
    EXPECT_EQ(p.ierr, stage.at("ierr").get<int>());
  }
  if (stage.contains("alfr")) {
    expect_values(p.alfr, stage.at("alfr"), "alfr");
    expect_values(p.alfi, stage.at("alfi"), "alfi");
    expect_values(p.beta, stage.at("beta"), "beta");
  }
}

// A problem that holds what a stage left.
Problem after(const nlohmann::json &record, const nlohmann::json &stage, int spare) {
  Problem p(record.at("n").get<int>(), spare);
  p.put(p.a, numbers(stage.at("a")));
  p.put(p.b, numbers(stage.at("b")));
  if (stage.contains("z")) p.put(p.z, numbers(stage.at("z")));
  if (stage.contains("alfr")) {
    p.alfr = numbers(stage.at("alfr"));
    p.alfi = numbers(stage.at("alfi"));
    p.beta = numbers(stage.at("beta"));
  }
  return p;
}

class QzVectors : public ::testing::TestWithParam<int> {};

TEST_P(QzVectors, EachStageGivesTheRecordedBits) {
  ASSERT_GE(problems().size(), 30u);
  for (const auto &record : problems()) {
    SCOPED_TRACE(record.at("name").get<std::string>());
    Problem reduced = after(record, record, GetParam());
    reduced.reduce();
    expect_stage(reduced, record.at("qzhes"), "reduction");
    Problem iterated = after(record, record.at("qzhes"), GetParam());
    iterated.iterate();
    expect_stage(iterated, record.at("qzit"), "iteration");
    Problem solved = after(record, record.at("qzit"), GetParam());
    solved.find_values();
    expect_stage(solved, record.at("qzval"), "eigenvalues");
    Problem finished = after(record, record.at("qzval"), GetParam());
    finished.find_vectors();
    expect_stage(finished, record.at("qzvec"), "eigenvectors");
  }
}

TEST_P(QzVectors, TheChainOfStagesGivesTheRecordedBits) {
  for (const auto &record : problems()) {
    SCOPED_TRACE(record.at("name").get<std::string>());
    Problem p = after(record, record, GetParam());
    p.reduce();
    p.iterate();
    p.find_values();
    p.find_vectors();
    expect_matrix(p, p.a, record.at("qzvec").at("a"), "a");
    expect_matrix(p, p.b, record.at("qzvec").at("b"), "b");
    expect_matrix(p, p.z, record.at("qzvec").at("z"), "z");
    expect_values(p.alfr, record.at("qzval").at("alfr"), "alfr");
    expect_values(p.alfi, record.at("qzval").at("alfi"), "alfi");
    expect_values(p.beta, record.at("qzval").at("beta"), "beta");
  }
}

INSTANTIATE_TEST_SUITE_P(SpareRows, QzVectors, ::testing::Values(0, 3));

}  // namespace
}  // namespace sbrtest
