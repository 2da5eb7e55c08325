// Files that change under an open body: cut short, emptied, replaced. Nothing crashes, and what cannot be read is told.
#include <unistd.h>

#include "faults/scenario.h"
#include "support/record_builder.h"

namespace sbrtest::faults {
namespace {

namespace fs = std::filesystem;

class InterruptedFileTest : public LibraryTest, public ::testing::WithParamInterface<std::uint32_t> {
 protected:
  SBR open() {
    full_record(GetParam()).write(path);
    return SBR_CreateFromSBR(path.c_str());
  }
  std::vector<Item> look(SBR body) {
    faults::Run run(place, log);
    look_at_modes(run, body);
    return run.items;
  }
  Place place;
  std::string path = place.input("open.sbr");
};

TEST_P(InterruptedFileTest, AFileThatIsCutWhileItIsOpenIsReportedAtTheModesThatItLacks) {
  const std::vector<Item> whole = look(open());
  SBR_Terminate();
  bool ever_told = false;
  const auto size = static_cast<off_t>(full_record(GetParam()).bytes().size());
  for (off_t cut = size - 1; cut >= 0; cut -= 1 + size / 40) {
    SBR body = open();
    ASSERT_NE(body, nullptr);
    ASSERT_EQ(truncate(path.c_str(), cut), 0);
    bool told = false;
    for (std::size_t i = 0; const Item &item : look(body)) {
      const Item &expected = whole[i++];
      told = told || !item.complaint.empty() || !item.good;
      if (!told) {
        EXPECT_EQ(item.gave, expected.gave) << item.name << " of " << cut << " bytes";
      }
    }
    ever_told = ever_told || told;
    faults::Run run(place, log);
    look_at_all(run, body);
    look_at_invariants(run, body);
    EXPECT_EQ(SBR_IsValid(body), 1);
    SBR_Terminate();
  }
  // A small file may stand whole in the buffer of its stream.
  EXPECT_TRUE(ever_told || size < 8192);
}

TEST_P(InterruptedFileTest, AFileThatIsReplacedWhileItIsOpenGoesOnAsItWas) {
  SBR body = open();
  const std::vector<Item> before = look(body);
  const std::string other = place.input("other.sbr");
  write_file(other, "something else altogether");
  fs::rename(other, path);
  SBR_CleanModesInMemory(body);
  const std::vector<Item> after = look(body);
  ASSERT_EQ(after.size(), before.size());
  for (std::size_t i = 0; i < after.size(); ++i) {
    EXPECT_EQ(after[i].gave, before[i].gave) << after[i].name;
    EXPECT_EQ(after[i].complaint, "");
  }
}

INSTANTIATE_TEST_SUITE_P(Words, InterruptedFileTest, ::testing::Values(31U, 0x3CU, 0x13CU, 0x33CU),
                         [](const auto &word) { return "word_" + std::to_string(word.param); });

}  // namespace
}  // namespace sbrtest::faults
