#include <gmock/gmock.h>
#include <sys/stat.h>

#include <array>
#include <bit>
#include <cstring>

#include "database/check.h"
#include "support/files.h"
#include "support/messages.h"
#include "support/ordinary_user.h"

namespace sbrtest {
namespace {

using sbr::FileCheck;

// How a machine stores the words of a header.
struct Machine {
  int word_size;
  bool big_endian;
};

constexpr Machine kOwn{8, false};
constexpr Machine kBig64{8, true};
constexpr Machine kBig32{4, true};
constexpr Machine kLittle32{4, false};

// A header as a machine writes it. Places: stamp 16, set name 40, creation 64.
class Header {
 public:
  explicit Header(Machine machine) : machine_(machine) {
    number(3, 16).number(4, 4096).number(5, 3).number(6, 16).number(8, 40).number(10, 64);
    text(19, "*TIM").text(20, "E ST").text(21, "AMP*");
    number(22, 231231).number(23, 235958).number(24, 240102).number(25, 10203).number(26, 77);
    text(43, "MAST").text(44, "ER  ");
    number(67, 12).number(68, 34);
    text(72, "22.2").text(73, "    ");
    number(79, (machine.word_size == 8 ? 1 : 0) + (machine.big_endian ? 0 : 2));
  }

  Header &number(std::size_t index, std::int64_t value) {
    for (int i = 0; i < machine_.word_size; ++i) {
      const int place = machine_.big_endian ? machine_.word_size - 1 - i : i;
      bytes_[index * static_cast<std::size_t>(machine_.word_size) + static_cast<std::size_t>(place)] =
          static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> 8 * i);
    }
    return *this;
  }
  // Four characters at the start of a word.
  Header &text(std::size_t index, const char *characters) {
    std::memcpy(&bytes_[index * static_cast<std::size_t>(machine_.word_size)], characters, 4);
    return *this;
  }
  // A value in the upper half of a word, as some big-endian machines have it.
  Header &upper(std::size_t index, std::int32_t value) { return number(index, static_cast<std::int64_t>(value) << 32); }

  [[nodiscard]] FileCheck decode(std::int64_t limit = INT32_MAX) {
    report = sbr::FileReport{};
    return sbr::decode_header(bytes_, limit, 1024 * 1024, report);
  }
  [[nodiscard]] std::string bytes() const { return {reinterpret_cast<const char *>(bytes_.data()), bytes_.size()}; }

  sbr::FileReport report;

 private:
  Machine machine_;
  std::array<unsigned char, 1024> bytes_{};
};

// ---- the four forms ------------------------------------------------------------------------------------------------

TEST(FileCheckHeader, TheOwnFormIsUsable) { EXPECT_EQ(Header(kOwn).decode(), FileCheck::usable); }

TEST(FileCheckHeader, ForeignFormsAreRecognised) {
  for (const Machine machine : {kBig64, kBig32}) {
    Header header(machine);
    EXPECT_EQ(header.decode(), FileCheck::other_platform);
    EXPECT_EQ(header.report.file.word, machine.word_size == 8 ? 1 : 0);
    EXPECT_EQ(header.report.file.endian, 0);
    EXPECT_EQ(header.report.file.format, 0);
  }
}

TEST(FileCheckHeader, ThirtyTwoBitLittleEndianIsAFormOfThisPlatformsNumbers) {
  Header header(kLittle32);
  EXPECT_EQ(header.decode(), FileCheck::other_form_32);
  EXPECT_EQ(header.report.file.word, 0);
  EXPECT_EQ(header.report.file.endian, 1);
}

TEST(FileCheckHeader, ForeignFormsWithThisPlatformsFlagsAreToldByTheirWordSize) {
  EXPECT_EQ(Header(kBig64).number(79, 3).decode(), FileCheck::other_form_64);
  EXPECT_EQ(Header(kBig32).number(79, 2).decode(), FileCheck::other_form_32);
}

TEST(FileCheckHeader, OtherNumberFormatsAreOtherPlatforms) {
  for (const int format : {1, 2, 3}) {
    Header header(kLittle32);
    EXPECT_EQ(header.number(79, 2 + 4 * format).decode(), FileCheck::other_platform);
    EXPECT_EQ(header.report.file.format, format);
  }
}

TEST(FileCheckHeader, BigEndianValuesMayStandInTheUpperHalf) {
  Header header(kBig64);
  for (const auto &[index, value] : std::initializer_list<std::pair<std::size_t, std::int32_t>>{
           {3, 16}, {4, 4096}, {5, 3}, {6, 16}, {8, 40}, {10, 64}, {79, 1}})
    header.upper(index, value);
  EXPECT_EQ(header.decode(), FileCheck::other_platform);
  EXPECT_EQ(header.report.file.word, 1);
}

TEST(FileCheckHeader, BigEndianCharactersMayHaveBeenStoredAsNumbers) {
  EXPECT_EQ(Header(kBig32).text(19, "MIT*").text(20, "TS E").text(21, "*PMA").decode(), FileCheck::other_platform);
  EXPECT_EQ(
      Header(kBig64).text(19, "\0\0\0\0").number(19, 0x4D49542A).number(20, 0x54532045).number(21, 0x2A504D41).decode(),
      FileCheck::other_platform);
}

// ---- codes of the own form -----------------------------------------------------------------------------------------

TEST(FileCheckHeader, OffsetsMustStandInTheirRanges) {
  struct Case {
    std::size_t index;
    std::int64_t value;
  };
  for (const Case &wrong : {Case{3, 0}, Case{3, 125}, Case{5, 2}, Case{6, 15}, Case{6, 125}, Case{8, 0}, Case{8, 125},
                            Case{10, 15}, Case{10, 125}, Case{3, -1}, Case{6, INT64_MAX}})
    EXPECT_EQ(Header(kOwn).number(wrong.index, wrong.value).decode(), FileCheck::bad_offsets)
        << "word " << wrong.index << " = " << wrong.value;
}

TEST(FileCheckHeader, AMovedSignatureIsToldInTheOwnForm) {
  EXPECT_EQ(Header(kOwn).number(6, 17).decode(), FileCheck::bad_signature);
  EXPECT_EQ(Header(kOwn).text(21, "AMP ").decode(), FileCheck::bad_signature);
}

TEST(FileCheckHeader, OtherFlagsInTheOwnFormAreRefused) {
  for (const int flags : {0, 1, 2, 7, 15, -1})
    EXPECT_EQ(Header(kOwn).number(79, flags).decode(), FileCheck::bad_flags) << flags;
}

TEST(FileCheckHeader, TheRecordLengthKeepsToTheLimit) {
  EXPECT_EQ(Header(kOwn).number(4, 4096).decode(4096), FileCheck::usable);
  EXPECT_EQ(Header(kOwn).number(4, 4097).decode(4096), FileCheck::bad_record_length);
  EXPECT_EQ(Header(kOwn).number(4, 0).decode(), FileCheck::bad_record_length);
  EXPECT_EQ(Header(kOwn).number(4, -5).decode(), FileCheck::bad_record_length);
  EXPECT_EQ(Header(kOwn).number(4, INT32_MAX).decode(), FileCheck::usable);
  EXPECT_EQ(Header(kOwn).number(4, std::int64_t{INT32_MAX} + 1).decode(), FileCheck::bad_record_length);
}

TEST(FileCheckHeader, FlagsAreLookedAtBeforeTheRecordLength) {
  EXPECT_EQ(Header(kOwn).number(79, 1).number(4, 0).decode(), FileCheck::bad_flags);
}

TEST(FileCheckHeader, PlacesAtTheEndOfTheHeaderReadNothingBehindIt) {
  EXPECT_EQ(Header(kOwn).number(6, 124).decode(), FileCheck::bad_signature);  // the signature would end at word 129
  EXPECT_EQ(Header(kOwn).number(10, 124).decode(), FileCheck::bad_flags);     // the flags would stand at word 139
  EXPECT_EQ(Header(kOwn).number(8, 124).decode(), FileCheck::usable);
}

TEST(FileCheckHeader, AForeignFormThatFailsALaterRuleIsNoMatch) {
  for (const Machine machine : {kBig64, kBig32, kLittle32}) {
    EXPECT_EQ(Header(machine).text(20, "E st").decode(), FileCheck::bad_offsets);
    EXPECT_EQ(Header(machine).number(4, 0).decode(), FileCheck::bad_offsets);
    EXPECT_EQ(Header(machine).number(4, 4097).decode(4096), FileCheck::bad_offsets);
    EXPECT_EQ(Header(machine).number(5, 2).decode(), FileCheck::bad_offsets);
  }
}

TEST(FileCheckHeader, EveryDamagedByteLeavesACode) {
  const std::string good = Header(kOwn).bytes();
  for (std::size_t i = 0; i < good.size(); ++i)
    for (const char value : {'\x00', '\x7f', '\xff'}) {
      std::array<unsigned char, 1024> bytes{};
      std::memcpy(bytes.data(), good.data(), bytes.size());
      bytes[i] = static_cast<unsigned char>(value);
      sbr::FileReport report;
      const int code = static_cast<int>(sbr::decode_header(bytes, INT32_MAX, 1024, report));
      EXPECT_THAT(code, ::testing::AnyOf(0, 1, 10, 11, 12, 13, 14, 15)) << "byte " << i;
    }
}

// ---- the report ----------------------------------------------------------------------------------------------------

TEST(FileCheckHeader, TheReportTellsStampsNamesAndVersion) {
  for (const Machine machine : {kOwn, kBig64, kBig32, kLittle32}) {
    Header header(machine);
    (void)header.decode();
    const sbr::FileReport &report = header.report;
    EXPECT_EQ(report.stamps[0], (sbr::DecimalFields{23, 12, 31}));
    EXPECT_EQ(report.stamps[1], (sbr::DecimalFields{23, 59, 58}));
    EXPECT_EQ(report.stamps[2], (sbr::DecimalFields{24, 1, 2}));
    EXPECT_EQ(report.stamps[3], (sbr::DecimalFields{1, 2, 3}));
    EXPECT_EQ(report.stamp_detail, 77);
    EXPECT_EQ(report.machine, 12);
    EXPECT_EQ(report.machine_detail, 34);
    EXPECT_STREQ(report.set_name, "MASTER  ");
    EXPECT_TRUE(report.is_master);
    EXPECT_EQ(report.version_major, 2022);
    EXPECT_EQ(report.version_minor, 2);
    EXPECT_EQ(report.block_count, 1024 * 1024 / (4096 * machine.word_size));
  }
}

TEST(FileCheckHeader, AMajorVersionFromThirtyOnStands) {
  Header header(kOwn);
  header.text(72, "2019").text(73, ".1  ");
  (void)header.decode();
  EXPECT_EQ(header.report.version_major, 2019);
  EXPECT_EQ(header.report.version_minor, 1);
  header.text(72, "30  ");
  (void)header.decode();
  EXPECT_EQ(header.report.version_major, 30);
  EXPECT_EQ(header.report.version_minor, 0);
}

TEST(FileCheckHeader, AnotherSetNameIsNoMaster) {
  Header header(kOwn);
  header.text(43, "DBAL").text(44, "L   ");
  (void)header.decode();
  EXPECT_FALSE(header.report.is_master);
  EXPECT_STREQ(header.report.set_name, "DBALL   ");
}

// ---- files and messages --------------------------------------------------------------------------------------------

class FileCheckTest : public LibraryTest {
 protected:
  std::string write(const std::string &bytes) {
    write_file(file, bytes);
    return file;
  }

  ScratchDirectory directory;
  std::string file = directory.file("wing.MASTER");
};

std::string header_text(const std::string &reason) {
  return "The specified QS DB file exists.\nHowever, the timestamp header could not be validated.\nReason: " + reason;
}

std::string platform_text(const std::string &form) {
  return "The specified QS DB file is valid but its numeric format \nis not compatible with this platform.\n"
         "Current Platform: 64-bit/little-endian/IEEE \nQS DB file      : " +
         form + ".  ";
}

TEST_F(FileCheckTest, AGoodFileIsUsableWithoutAMessage) {
  EXPECT_EQ(DB_CheckDBset(write(Header(kOwn).bytes()).c_str()), 0);
  EXPECT_TRUE(log.take().empty());
}

TEST_F(FileCheckTest, AMissingFileIsReported) {
  EXPECT_EQ(DB_CheckDBset(file.c_str()), 2);
  EXPECT_EQ(log.take(), std::vector<Message>{error("The QS DB file " + file + " could not be found.")});
}

TEST_F(FileCheckTest, ADirectoryAndADeviceAreNoRegularFiles) {
  const std::string path = directory.path().string();
  EXPECT_EQ(DB_CheckDBset(path.c_str()), 4);
  EXPECT_EQ(DB_CheckDBset("/dev/null"), 4);
  EXPECT_EQ(log.take(), (std::vector<Message>{error("Specified QS DB file " + path + " not a normal/regular file."),
                                              error("Specified QS DB file /dev/null not a normal/regular file.")}));
}

TEST_F(FileCheckTest, APipeIsNotOpened) {
  ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
  EXPECT_EQ(DB_CheckDBset(file.c_str()), 4);
}

TEST_F(FileCheckTest, AShortFileIsReported) {
  for (const std::size_t size : {0UL, 1UL, 1023UL}) {
    EXPECT_EQ(DB_CheckDBset(write(std::string(size, 'x')).c_str()), 6);
    EXPECT_EQ(log.take(), std::vector<Message>{error("QS DB file " + file + " is too short.")});
  }
}

TEST_F(FileCheckTest, AnUnreadableFileIsReported) {
  write(Header(kOwn).bytes());
  chmod(file.c_str(), 0);
  chmod(directory.path().c_str(), 0711);
  {
    const OrdinaryUser user;
    EXPECT_EQ(DB_CheckDBset(file.c_str()), 5);
  }
  EXPECT_EQ(log.take(), std::vector<Message>{error("Unable to open the QS DB file " + file + ".")});
}

TEST_F(FileCheckTest, ADirectoryWithoutAccessIsAWarningAndUsable) {
  write(Header(kOwn).bytes());
  chmod(directory.path().c_str(), 0);
  {
    const OrdinaryUser user;
    EXPECT_EQ(DB_CheckDBset(file.c_str()), 0);
  }
  chmod(directory.path().c_str(), 0700);
  EXPECT_EQ(log.take(), std::vector<Message>{warning("QS DB file " + file + " could be read-only.")});
}

TEST_F(FileCheckTest, OtherFailuresOfTheSystemAreUnknownErrors) {
  const std::string path = directory.file(std::string(300, 'x'));
  EXPECT_EQ(DB_CheckDBset(path.c_str()), -1);
  EXPECT_EQ(log.take(),
            std::vector<Message>{error("An unknown error was encountered while opening QS DB file " + path + ".")});
  EXPECT_EQ(DB_CheckDBset(nullptr), -1);
  EXPECT_EQ(log.take(), std::vector<Message>{error("An unknown error was encountered while opening QS DB file .")});
}

TEST_F(FileCheckTest, APathLongerThanAnyBufferIsReportedCut) {
  const std::string path(100000, 'x');
  EXPECT_EQ(DB_CheckDBset(path.c_str()), -1);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_THAT(messages[0].text, ::testing::StartsWith("An unknown error was encountered while opening QS DB file x"));
}

TEST_F(FileCheckTest, EachHeaderFaultHasItsReason) {
  struct Case {
    int code;
    Header header;
    const char *reason;
  };
  for (const Case &fault :
       {Case{10, Header(kOwn).number(3, 0), "Timestamp signature offset is invalid."},
        Case{11, Header(kOwn).number(6, 17), "Timestamp signature is invalid."},
        Case{12, Header(kOwn).number(79, 1), "Floating point, endian word length invalid for this platform."},
        Case{13, Header(kOwn).number(4, std::int64_t{1} << 31), "DBset record length (BUFFSIZE) is out of range."}}) {
    EXPECT_EQ(DB_CheckDBset(write(fault.header.bytes()).c_str()), fault.code);
    EXPECT_EQ(log.take(), std::vector<Message>{error(header_text(fault.reason))});
  }
}

TEST_F(FileCheckTest, AFileOfAnotherPlatformIsDescribed) {
  EXPECT_EQ(DB_CheckDBset(write(Header(kBig64).bytes()).c_str()), 1);
  EXPECT_EQ(DB_CheckDBset(write(Header(kBig32).number(79, 8).bytes()).c_str()), 1);
  EXPECT_EQ(DB_CheckDBset(write(Header(kBig64).number(79, 5).bytes()).c_str()), 1);
  EXPECT_EQ(DB_CheckDBset(write(Header(kLittle32).number(79, 14).bytes()).c_str()), 1);
  EXPECT_EQ(log.take(),
            (std::vector<Message>{
                error(platform_text("64-bit/big-endian/IEEE")), error(platform_text("32-bit/big-endian/IBM")),
                error(platform_text("64-bit/big-endian/CRAY")), error(platform_text("32-bit/little-endian/VAX"))}));
}

TEST_F(FileCheckTest, AnotherFormOfThisPlatformsNumbersIsDescribed) {
  EXPECT_EQ(DB_CheckDBset(write(Header(kLittle32).bytes()).c_str()), 15);
  EXPECT_EQ(DB_CheckDBset(write(Header(kBig64).number(79, 3).bytes()).c_str()), 14);
  EXPECT_EQ(log.take(), (std::vector<Message>{error(platform_text("32-bit/little-endian/IEEE")),
                                              error(platform_text("64-bit/little-endian/IEEE"))}));
}

TEST_F(FileCheckTest, TheBoundLibraryGivesTheRecordLimit) {
  write(Header(kOwn).number(4, 1001).bytes());
  const ScopedEnvironment plugins("KTX_USER_PLUGIN_DIR", SBRKIT_TEST_PLUGINS "/partial");
  EXPECT_EQ(DB_CheckDBset(file.c_str()), 0);
  ASSERT_EQ(CDB_LoadLibrary(), 1);
  EXPECT_EQ(DB_CheckDBset(file.c_str()), 13);
  CDB_UnloadLibrary();
  EXPECT_EQ(DB_CheckDBset(file.c_str()), 0);
}

}  // namespace
}  // namespace sbrtest
