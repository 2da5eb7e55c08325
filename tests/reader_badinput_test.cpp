// Damaged records: cut at every place, with counts that are not true, or no records at all. Whatever a file holds, the
// library answers, leaks nothing, ends soon, and takes no more than four times the file's size of memory.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <random>

#include "support/allocations.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

using nlohmann::json;

const std::string kSamples = SBRKIT_TEST_DATA "/samples/";

const json &figures() {
  static const json all = json::parse(read_file(kSamples + "expected.json"));
  return all;
}

std::vector<std::string> sample_names() {
  std::vector<std::string> names;
  for (const auto &[name, figure] : figures().items()) names.push_back(name);
  return names;
}

// Asks for everything once, the way a host would that trusts the counts it is given.
void use(SBR body) {
  char texts[7][256];
  SBR_Header(body, texts[0], texts[1], texts[2], texts[3], texts[4], texts[5], texts[6]);
  SBR_BodySize(body);
  const int nodes = SBR_NodeCount(body);
  double nine[9];
  for (const int index : {-1, 0, nodes / 2, nodes - 1, nodes}) {
    SBR_NodeIndex(body, SBR_NodeID(body, index));
    SBR_NodeCoordinates(body, index, nine);
    SBR_NodalMass(body, index);
    SBR_NodalInertia(body, index, nine);
  }
  const int modes = SBR_ModeCount(body);
  for (int kind = 0; kind < 3; ++kind) {
    std::vector<double> part(3 * static_cast<std::size_t>(std::max(SBR_ModeNodeCount(body, kind), 1)));
    for (const int index : {-1, 0, modes - 1}) {
      const int number = SBR_ModeNumber(body, index);
      SBR_Mode(body, number, kind, part.data(), 0);
      SBR_ModeByNode(body, number, kind, SBR_ModeNodeID(body, kind, 0), nine, 1);
    }
    SBR_Mode(body, 0, kind, part.data(), 1);
  }
  for (int index = 0; index < std::min(modes, 20); ++index) {
    const int number = SBR_ModeNumber(body, index);
    SBR_Eigenvalue(body, number, nine, nine + 1, nine + 2, nine + 3, nine + 4);
    int id = 0;
    SBR_GetMaxModeDisplacement(body, number, &id, nine);
    SBR_GetMaxVonMisesStress(body, number, &id, nine);
  }
  int count = 0;
  SBR_FreeMemory(SBR_InterfaceNodeIDs(body, &count));
  for (int i = 0; i < std::min(SBR_GetModalLoadCaseCount(body), 10); ++i)
    SBR_FreeMemory(SBR_GetModalLoad(body, i, &count));
  for (int i = 0; i < std::min(SBR_GetModalLoadNodalCaseCount(body), 10); ++i) {
    SBR_FreeMemory(SBR_GetModalLoadNodalNode(body, i));
    SBR_FreeMemory(SBR_GetModalLoadNodalLoad(body, i));
  }
  for (int block = 0; block < 36; ++block) SBR_size_of_block(body, block);
}

class BadInputTest : public LibraryTest {
 protected:
  // Opens the file as it stands and closes it again. True when it was accepted.
  bool try_open(std::int64_t size, bool use_it = true) {
    log.clear();
    set_peak_memory_back();
    const std::int64_t before = memory_in_use().bytes;
    SBR body = SBR_CreateFromSBR(path.c_str());
    EXPECT_LE(peak_memory() - before, 4 * size + 16384);
    ++opened;
    if (body == nullptr) {
      EXPECT_FALSE(log.all().empty());
      return false;
    }
    if (use_it) use(body);
    SBR_UnLink(body);
    return true;
  }
  bool try_bytes(const std::string &bytes) {
    write_file(path, bytes);
    return try_open(static_cast<std::int64_t>(bytes.size()));
  }
  // Puts a word at a place of the file, which holds `bytes`, tries it, and puts the old one back.
  void try_word(const std::string &bytes, std::size_t at, std::uint32_t value, bool xdr) {
    if (at + 4 > bytes.size()) return;
    patch(at, FieldBytes(xdr, false).integer(value).bytes());
    try_open(static_cast<std::int64_t>(bytes.size()));
    patch(at, bytes.substr(at, 4));
  }
  void patch(std::size_t at, const std::string &word) {
    const int file = ::open(path.c_str(), O_WRONLY);
    EXPECT_EQ(pwrite(file, word.data(), word.size(), static_cast<off_t>(at)), 4);
    close(file);
  }

  ScratchDirectory scratch;
  std::string path = scratch.file("record.sbr");
  int opened = 0;
};

// ---- cut records ---------------------------------------------------------------------------------------------------

class CutSampleTest : public BadInputTest, public ::testing::WithParamInterface<std::string> {};
class CorruptSampleTest : public BadInputTest, public ::testing::WithParamInterface<std::string> {};

std::string test_name(const ::testing::TestParamInfo<std::string> &info) { return info.param; }
INSTANTIATE_TEST_SUITE_P(Samples, CutSampleTest, ::testing::ValuesIn(sample_names()), test_name);
INSTANTIATE_TEST_SUITE_P(Samples, CorruptSampleTest, ::testing::ValuesIn(sample_names()), test_name);

TEST_P(CutSampleTest, EveryCutOfTheFirstFourKilobytesAndFiveHundredBeyondIsAnswered) {
  const std::string bytes = read_gzip(kSamples + GetParam() + ".sbr.gz");
  std::vector<std::size_t> cuts;
  for (std::size_t cut = 0; cut <= 4096; ++cut) cuts.push_back(cut);
  std::mt19937 random(1);
  std::uniform_int_distribution<std::size_t> place(4097, bytes.size() - 1);
  for (int i = 0; i < 500; ++i) cuts.push_back(place(random));
  // From the longest down, so that the file only has to be shortened.
  std::sort(cuts.rbegin(), cuts.rend());
  write_file(path, bytes);
  int accepted = 0;
  for (const std::size_t cut : cuts) {
    ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(cut)), 0);
    if (try_open(static_cast<std::int64_t>(cut), opened % 10 == 0)) ++accepted;
  }
  EXPECT_EQ(opened, 4597);
  // Only cuts in the data of the last vectors can go unnoticed.
  EXPECT_LT(accepted, 100);
}

// ---- false counts --------------------------------------------------------------------------------------------------

// The places of the words of a block that count something, from its start.
std::vector<std::size_t> count_words(int block, bool xdr) {
  const std::size_t character = xdr ? 4 : 1;
  switch (block) {
    case 3:
    case 7:
    case 8:
    case 11:
    case 12:
    case 14:
    case 17:
    case 26:
    case 27:
    case 28:
      return {0, 4};
    case 4: {
      std::vector<std::size_t> words = {0, 4};
      for (std::size_t group = 0; group < 12; ++group)
        for (std::size_t word = 1; word < 3; ++word) words.push_back(8 + 12 * group + 4 * word);
      return words;
    }
    case 13:
      return {0, 8, 12, 16};
    case 33:
      return {0, 4, 8 + 8 * character};
    case 34:
      return {0, 4};
    case 35:
      return {0, 4, 16 + 64 * character, 20 + 64 * character, 24 + 64 * character};
    default:
      return {0};
  }
}

TEST_P(CorruptSampleTest, EveryFalseCountIsAnswered) {
  const json &sample = figures().at(GetParam());
  const bool xdr = sample.at("xdr").get<bool>();
  const std::string bytes = read_gzip(kSamples + GetParam() + ".sbr.gz");
  write_file(path, bytes);
  std::mt19937 random(2);
  for (const auto &[index, place] : sample.at("blocks").items()) {
    const int block = std::stoi(index);
    if (block < 3 || block == 5 || block == 10 || block == 18 || block == 19 || block == 23) continue;
    for (const std::size_t word : count_words(block, xdr)) {
      const std::size_t at = place.at("offset").get<std::size_t>() + word;
      for (const std::uint32_t value : {0xFFFFFFFFU, 0U, 0x7FFFFFFFU, static_cast<std::uint32_t>(random()),
                                        static_cast<std::uint32_t>(random() % 100000)})
        try_word(bytes, at, value, xdr);
    }
  }
  EXPECT_GE(opened, 80);
}

TEST_F(BadInputTest, EveryWordOfASmallRecordMayHoldAnything) {
  std::mt19937 random(3);
  for (const std::uint32_t version : {10, 20, 31, 51, 0x3C, 0x13C}) {
    const RecordBuilder record = full_record(version);
    const std::string bytes = record.bytes();
    write_file(path, bytes);
    const std::size_t step = record.xdr() ? 12 : 4;
    for (std::size_t at = 0; at + 4 <= bytes.size(); at += step)
      for (const std::uint32_t value : {0xFFFFFFFFU, 0x7FFFFFFFU, static_cast<std::uint32_t>(random())})
        try_word(bytes, at, value, record.xdr());
    // All words of all blocks behind the summary.
    for (std::size_t at = record.offset(3); at + 4 <= bytes.size(); at += 4) try_word(bytes, at, 0, record.xdr());
  }
  EXPECT_GT(opened, 5000);
}

TEST_F(BadInputTest, EveryCutOfASmallRecordIsAnswered) {
  for (const std::uint32_t version : kAllWords) {
    const std::string bytes = full_record(version).bytes();
    write_file(path, bytes);
    for (std::size_t cut = bytes.size(); cut-- > 0;) {
      ASSERT_EQ(truncate(path.c_str(), static_cast<off_t>(cut)), 0);
      try_open(static_cast<std::int64_t>(cut));
    }
  }
  EXPECT_GT(opened, 40000);
}

// ---- no records ----------------------------------------------------------------------------------------------------

TEST_F(BadInputTest, RandomBytesAreAnswered) {
  std::mt19937 random(4);
  for (int i = 0; i < 300; ++i) {
    std::string bytes(random() % 20000, '\0');
    for (char &byte : bytes) byte = static_cast<char>(random() & 0xFFU);
    try_bytes(bytes);
    // The same with a word and a summary that let the reader go on.
    if (bytes.size() < 3000) continue;
    const bool xdr = i % 2 == 1;
    bytes.replace(0, 4, FieldBytes(xdr, false).integer(xdr ? 0x13C : 0x3C).bytes());
    const std::size_t summary = xdr ? 2180 : 548;
    bytes.replace(summary, xdr ? 400 : 100, FieldBytes(xdr, false).text(std::string(100, '\1'), 100).bytes());
    try_bytes(bytes);
  }
}

TEST_F(BadInputTest, ZerosBehindAValidWordAreAnEmptyBody) {
  std::string bytes(5000, '\0');
  bytes[0] = 0x3C;
  EXPECT_TRUE(try_bytes(bytes));
  EXPECT_TRUE(log.all().empty());
}

TEST_F(BadInputTest, OnlyBlocksWithoutCountsMayBeAnnouncedAndMissingSilently) {
  std::vector<int> silent;
  for (int block = 3; block < 36; ++block) {
    RecordBuilder record(0x3C);
    record.block(block);
    if (try_bytes(record.bytes()) && log.all().empty()) silent.push_back(block);
  }
  // Units fall back to none; invariants without a count are not looked at before somebody asks for them.
  EXPECT_EQ(silent, (std::vector<int>{10, 18, 19, 23}));
}

}  // namespace
}  // namespace sbrtest
