// Encodings and precisions. The block decoding of long XDR runs is compared with the element calls of the XDR library.
#include "record/channel.h"

#include <rpc/rpc.h>

#include <cstring>
#include <functional>
#include <random>

#include "support/files.h"
#include "support/messages.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

// A file of given bytes, open for reading through a channel.
class OpenChannel {
 public:
  OpenChannel(const std::string &bytes, bool xdr, bool single) {
    write_file(scratch_.path() / "bytes", bytes);
    channel.own(std::fopen((scratch_.path() / "bytes").c_str(), "rb"));
    channel.double_precision = !single;
    if (xdr && !channel.bind_xdr(XDR_DECODE)) throw std::bad_alloc();
  }
  ~OpenChannel() { channel.close(); }
  OpenChannel(const OpenChannel &) = delete;
  OpenChannel &operator=(const OpenChannel &) = delete;
  sbr::StreamChannel channel;

 private:
  ScratchDirectory scratch_;
};

std::string random_bytes(std::size_t count, unsigned seed) {
  std::mt19937 random(seed);
  std::string bytes(count, '\0');
  for (char &byte : bytes) byte = static_cast<char>(random() & 0xFFU);
  return bytes;
}

// ---- texts and integers --------------------------------------------------------------------------------------------

TEST(Channel, ANativeTextTakesOneByteACharacterAndAnXdrTextFour) {
  char text[10];
  OpenChannel native(FieldBytes(false, false).text("ten charac", 10).integer(7).bytes(), false, false);
  EXPECT_TRUE(sbr::read_chars(native.channel, text, 10));
  EXPECT_EQ(FileTell_Win32(native.channel.stream), 10);
  OpenChannel xdr(FieldBytes(true, false).text("ten charac", 10).integer(7).bytes(), true, false);
  EXPECT_TRUE(sbr::read_chars(xdr.channel, text, 10));
  EXPECT_EQ(std::string(text, 10), "ten charac");
  EXPECT_EQ(FileTell_Win32(xdr.channel.stream), 40);
}

TEST(Channel, AByteAbove127IsSignExtendedInXdrAndComesBack) {
  ScratchDirectory scratch;
  const std::string path = scratch.file("chars");
  sbr::StreamChannel out;
  out.own(std::fopen(path.c_str(), "wb"));
  ASSERT_TRUE(out.bind_xdr(XDR_ENCODE));
  const char byte = '\x80';
  EXPECT_TRUE(sbr::write_chars(out, &byte, 1));
  out.close();
  EXPECT_EQ(read_file(path), std::string("\xFF\xFF\xFF\x80", 4));
  OpenChannel in(read_file(path), true, false);
  char back = 0;
  EXPECT_TRUE(sbr::read_chars(in.channel, &back, 1));
  EXPECT_EQ(back, '\x80');
}

TEST(Channel, OfAnXdrCharacterOnlyTheLowByteIsKept) {
  OpenChannel in(std::string("\x12\x34\x56\x41", 4), true, false);
  char text = 0;
  EXPECT_TRUE(sbr::read_chars(in.channel, &text, 1));
  EXPECT_EQ(text, 'A');
}

TEST(Channel, ANegativeCountReadsAndWritesNothing) {
  OpenChannel in(random_bytes(64, 1), false, false);
  double real = 1.0;
  char text = 'x';
  std::int32_t word = 3;
  EXPECT_FALSE(sbr::read_reals(in.channel, &real, -1));
  EXPECT_FALSE(sbr::read_chars(in.channel, &text, -1));
  EXPECT_FALSE(sbr::read_ints(in.channel, &word, -1));
  EXPECT_EQ(FileTell_Win32(in.channel.stream), 0);
}

TEST(Channel, AClosedChannelRefuses) {
  sbr::StreamChannel closed;
  std::int32_t word = 0;
  double real = 0;
  EXPECT_FALSE(sbr::read_int(closed, word));
  EXPECT_FALSE(sbr::read_reals(closed, &real, 1));
  EXPECT_FALSE(sbr::write_int(closed, 1));
  EXPECT_FALSE(sbr::write_reals(closed, &real, 1));
  EXPECT_EQ(sbr::bytes_left(closed), 0);
}

TEST(Channel, ASinglePrecisionFileGivesDoubles) {
  for (const bool xdr : {false, true}) {
    OpenChannel in(FieldBytes(xdr, true).reals({0.5, -3.25, 1e30}).bytes(), xdr, true);
    double values[3];
    EXPECT_TRUE(sbr::read_reals(in.channel, values, 3));
    EXPECT_EQ(values[0], 0.5);
    EXPECT_EQ(values[1], -3.25);
    EXPECT_EQ(values[2], static_cast<double>(1e30F));
  }
}

// ---- block decoding against the element calls ----------------------------------------------------------------------

struct Outcome {
  bool ok;
  std::string buffer;
  std::int64_t position;
  bool at_end;
  bool operator==(const Outcome &) const = default;
};

using Read = std::function<bool(sbr::StreamChannel &, char *, std::int64_t)>;

// Reads `count` elements of `size` bytes after skipping `start` bytes, into a buffer with a pattern in it.
Outcome read_elements(const std::string &bytes, std::int64_t start, std::int64_t count, std::size_t size,
                      const Read &read) {
  OpenChannel in(bytes, true, false);
  FileSeek_Win32(in.channel.stream, start, 0);
  std::string buffer(static_cast<std::size_t>(count) * size, '\x5A');
  const bool ok = read(in.channel, buffer.data(), count);
  return {ok, buffer, FileTell_Win32(in.channel.stream), std::feof(in.channel.stream) != 0};
}

struct ElementCase {
  const char *name;
  std::size_t size;
  Read ours;
  Read library;
};

Read element_calls(xdrproc_t procedure, u_int size) {
  return [=](sbr::StreamChannel &channel, char *buffer, std::int64_t count) {
    return xdr_vector(channel.xdr, buffer, static_cast<u_int>(count), size, procedure) != 0;
  };
}

std::vector<ElementCase> element_cases() {
  return {{"double", 8,
           [](auto &channel, char *buffer, std::int64_t n) {
             return sbr::read_reals(channel, reinterpret_cast<double *>(buffer), n);
           },
           element_calls(reinterpret_cast<xdrproc_t>(xdr_double), 8)},
          {"float", 4,
           [](auto &channel, char *buffer, std::int64_t n) {
             return sbr::read_floats(channel, reinterpret_cast<float *>(buffer), n);
           },
           element_calls(reinterpret_cast<xdrproc_t>(xdr_float), 4)},
          {"int", 4,
           [](auto &channel, char *buffer, std::int64_t n) {
             return sbr::read_ints(channel, reinterpret_cast<std::int32_t *>(buffer), n);
           },
           element_calls(reinterpret_cast<xdrproc_t>(xdr_int), 4)}};
}

TEST(Channel, BlockDecodingEqualsTheElementCallsOnRandomData) {
  for (const ElementCase &element : element_cases()) {
    for (const std::int64_t count : {0, 1, 2, 3, 1000, 4095, 4096, 4097, 8191, 8192, 8193, 20000}) {
      const std::string bytes = random_bytes(static_cast<std::size_t>(count) * element.size + 37, 42);
      for (const std::int64_t start : {0, 5}) {
        const Outcome ours = read_elements(bytes, start, count, element.size, element.ours);
        const Outcome library = read_elements(bytes, start, count, element.size, element.library);
        EXPECT_EQ(ours, library) << element.name << ' ' << count;
        EXPECT_TRUE(ours.ok);
      }
    }
  }
}

TEST(Channel, BlockDecodingEqualsTheElementCallsOnTruncatedFiles) {
  for (const ElementCase &element : element_cases()) {
    // Every length of a short file, and those around the block that long runs are decoded in.
    std::vector<std::size_t> lengths;
    for (std::size_t length = 0; length < 60; ++length) lengths.push_back(length);
    for (std::size_t length = 32750; length < 32790; ++length) lengths.push_back(length);
    for (const std::size_t length : lengths) {
      const std::string bytes = random_bytes(length, 7);
      const auto count = static_cast<std::int64_t>(length / element.size) + 3;
      const Outcome ours = read_elements(bytes, 0, count, element.size, element.ours);
      EXPECT_EQ(ours, read_elements(bytes, 0, count, element.size, element.library)) << element.name << ' ' << length;
      EXPECT_FALSE(ours.ok);
    }
  }
}

TEST(Channel, AFailedSinglePrecisionReadLeavesTheFloatsUnwidened) {
  for (const std::size_t count : {12U, 5000U, 40000U}) {
    const std::string bytes = random_bytes(4 * (count - 2) + 2, 3);
    OpenChannel ours(bytes, true, true);
    OpenChannel library(bytes, true, true);
    std::string first(8 * count, '\x5A');
    std::string second = first;
    EXPECT_FALSE(
        sbr::read_reals(ours.channel, reinterpret_cast<double *>(first.data()), static_cast<std::int64_t>(count)));
    EXPECT_EQ(xdr_vector(library.channel.xdr, second.data(), static_cast<u_int>(count), 4,
                         reinterpret_cast<xdrproc_t>(xdr_float)),
              0);
    EXPECT_TRUE(first == second) << count;
    EXPECT_EQ(FileTell_Win32(ours.channel.stream), FileTell_Win32(library.channel.stream));
  }
}

TEST(Channel, LongSinglePrecisionRunsGiveEveryValueWidened) {
  for (const bool xdr : {false, true}) {
    for (const int count : {1, 15, 16, 17, 2047, 2048, 16384, 16385, 50001}) {
      FieldBytes bytes(xdr, true);
      for (int i = 0; i < count; ++i) bytes.real(0.1 * i - 7);
      bytes.integer(99);
      OpenChannel in(bytes.bytes(), xdr, true);
      std::vector<double> values(static_cast<std::size_t>(count));
      std::int32_t behind = 0;
      ASSERT_TRUE(sbr::read_reals(in.channel, values.data(), count));
      EXPECT_TRUE(sbr::read_int(in.channel, behind));
      EXPECT_EQ(behind, 99);
      for (int i = 0; i < count; ++i)
        ASSERT_EQ(values[static_cast<std::size_t>(i)], static_cast<double>(static_cast<float>(0.1 * i - 7)));
    }
  }
}

// Serves what it has and then fails, although its size promises more.
TEST(Channel, ADeviceThatFailsInALongRunLeavesTheFloatsThatCame) {
  static std::size_t at;
  at = 0;
  const cookie_io_functions_t functions{[](void *, char *buffer, std::size_t size) -> ssize_t {
                                          if (at >= 80000) return -1;
                                          const std::size_t count = std::min<std::size_t>(size, 80000 - at);
                                          for (std::size_t i = 0; i < count; ++i, ++at)
                                            buffer[i] = at % 4 == 0 ? '\x3F' : '\x00';
                                          return static_cast<ssize_t>(count);
                                        },
                                        nullptr,
                                        [](void *, off64_t *offset, int origin) -> int {
                                          if (origin == SEEK_SET) at = static_cast<std::size_t>(*offset);
                                          *offset = origin == SEEK_END ? 1000000 : static_cast<off64_t>(at);
                                          return 0;
                                        },
                                        nullptr};
  sbr::StreamChannel channel;
  channel.own(fopencookie(nullptr, "rb", functions));
  ASSERT_NE(channel.stream, nullptr);
  channel.double_precision = 0;
  ASSERT_TRUE(channel.bind_xdr(XDR_DECODE));
  std::vector<double> values(40000, 7.0);
  EXPECT_FALSE(sbr::read_reals(channel, values.data(), 40000));
  float front[2];
  std::memcpy(front, values.data(), sizeof front);
  EXPECT_EQ(front[0], 0.5F);
  EXPECT_EQ(front[1], 0.5F);
  EXPECT_EQ(values[39999], 7.0);
  channel.close();
}

TEST(Channel, ScalarReadsGoOnWhereABlockReadStopped) {
  FieldBytes bytes(true, false);
  for (int i = 0; i < 5000; ++i) bytes.real(i);
  bytes.integer(77).text("xy", 2);
  OpenChannel in(bytes.bytes(), true, false);
  std::vector<double> values(5000);
  std::int32_t word = 0;
  char text[2];
  EXPECT_TRUE(sbr::read_reals(in.channel, values.data(), 5000));
  EXPECT_TRUE(sbr::read_int(in.channel, word));
  EXPECT_TRUE(sbr::read_chars(in.channel, text, 2));
  EXPECT_EQ(values[4999], 4999.0);
  EXPECT_EQ(word, 77);
  EXPECT_EQ(std::string(text, 2), "xy");
}

// ---- block encoding ------------------------------------------------------------------------------------------------

std::string written(bool single, const std::function<bool(sbr::StreamChannel &)> &write) {
  ScratchDirectory scratch;
  sbr::Array<float> floats;
  sbr::StreamChannel out;
  out.single_scratch = &floats;
  out.double_precision = !single;
  out.own(std::fopen(scratch.file("out").c_str(), "wb"));
  if (!out.bind_xdr(XDR_ENCODE)) throw std::bad_alloc();
  EXPECT_TRUE(write(out));
  out.close();
  return read_file(scratch.file("out"));
}

TEST(Channel, BlockEncodingEqualsTheElementCalls) {
  for (const std::int64_t count : {0, 1, 3, 4096, 4097, 9000}) {
    const std::string values = random_bytes(static_cast<std::size_t>(count) * 8, 11);
    auto *start = const_cast<char *>(values.data());
    const auto library = [&](xdrproc_t procedure, u_int size) {
      return written(false, [&](auto &out) {
        return xdr_vector(out.xdr, start, static_cast<u_int>(count), size, procedure) != 0;
      });
    };
    EXPECT_EQ(
        written(false, [&](auto &out) { return sbr::write_reals(out, reinterpret_cast<double *>(start), count); }),
        library(reinterpret_cast<xdrproc_t>(xdr_double), 8));
    EXPECT_EQ(
        written(false, [&](auto &out) { return sbr::write_ints(out, reinterpret_cast<std::int32_t *>(start), count); }),
        library(reinterpret_cast<xdrproc_t>(xdr_int), 4));
  }
}

TEST(Channel, SinglePrecisionWritingRoundsEveryValue) {
  const std::vector<double> values = {0.1, 1e300, -2.5, 1e-300};
  const std::string bytes = written(true, [&](auto &out) { return sbr::write_reals(out, values.data(), 4); });
  EXPECT_EQ(bytes, FieldBytes(true, true).reals(values).bytes());
}

TEST(Channel, AFullDeviceFailsTheBlockWriteAsItDoesTheElementCalls) {
  const std::vector<double> values(20000, 1.5);
  for (const bool ours : {true, false}) {
    sbr::StreamChannel out;
    out.own(std::fopen("/dev/full", "wb"));
    ASSERT_NE(out.stream, nullptr);
    ASSERT_TRUE(out.bind_xdr(XDR_ENCODE));
    auto *start = reinterpret_cast<char *>(const_cast<double *>(values.data()));
    const bool ok = ours ? sbr::write_reals(out, values.data(), 20000)
                         : xdr_vector(out.xdr, start, 20000, 8, reinterpret_cast<xdrproc_t>(xdr_double)) != 0;
    EXPECT_FALSE(ok);
    out.close();
  }
}

// ---- rows ----------------------------------------------------------------------------------------------------------

TEST(Channel, RowsComeFieldByFieldInEveryEncodingAndStopBehindTheRun) {
  constexpr int kRows = 3000;
  for (const bool xdr : {false, true}) {
    for (const bool single : {false, true}) {
      FieldBytes bytes(xdr, single);
      for (int i = 0; i < kRows; ++i) bytes.integer(i).character(-i % 100).reals({i + 0.5, -i * 2.0});
      const auto row = static_cast<std::int64_t>(bytes.size() / kRows);
      bytes.integer(4711);
      OpenChannel in(bytes.bytes(), xdr, single);
      sbr::RowReader rows(in.channel, row, kRows);
      for (int i = 0; i < kRows; ++i) {
        std::int32_t id = -1;
        char letter = 0;
        double reals[2];
        ASSERT_TRUE(rows.integer(id) && rows.chars(&letter, 1) && rows.reals(reals, 2));
        ASSERT_EQ(id, i);
        ASSERT_EQ(letter, static_cast<char>(-i % 100));
        ASSERT_EQ(reals[0], i + 0.5);
        ASSERT_EQ(reals[1], -i * 2.0);
      }
      std::int32_t behind = 0;
      EXPECT_FALSE(rows.integer(behind));
      EXPECT_TRUE(sbr::read_int(in.channel, behind));
      EXPECT_EQ(behind, 4711);
    }
  }
}

TEST(Channel, ATruncatedRunGivesTheFieldsThatAreWholeAndRefusesAllBehind) {
  FieldBytes bytes(true, false);
  bytes.integer(1).real(1.5).integer(2).raw("abc");
  OpenChannel in(bytes.bytes(), true, false);
  sbr::RowReader rows(in.channel, 12, 2);
  std::int32_t id = 0;
  double real = 0;
  char letter = 0;
  EXPECT_TRUE(rows.integer(id) && rows.reals(&real, 1) && rows.integer(id));
  EXPECT_EQ(id, 2);
  EXPECT_FALSE(rows.reals(&real, 1));
  EXPECT_FALSE(rows.chars(&letter, 1));
}

TEST(Channel, ARunOfNoRowsOrOfACorruptSizeHasNoFields) {
  OpenChannel in(random_bytes(64, 5), false, false);
  std::int32_t id = 0;
  sbr::RowReader none(in.channel, 12, 0);
  EXPECT_FALSE(none.integer(id));
  sbr::RowReader negative(in.channel, -12, 5);
  EXPECT_FALSE(negative.integer(id));
  EXPECT_EQ(FileTell_Win32(in.channel.stream), 0);
  sbr::RowReader huge(in.channel, std::numeric_limits<std::int64_t>::max(), 1000);
  EXPECT_TRUE(huge.integer(id));
}

// ---- public conversions --------------------------------------------------------------------------------------------

TEST(Channel, FloatsWidenInPlaceInOrder) {
  double buffer[5];
  const float floats[5] = {1.5F, -2.0F, 0.1F, 1e-40F, 3e38F};
  std::memcpy(buffer, floats, sizeof floats);
  EXPECT_EQ(float2double(buffer, reinterpret_cast<float *>(buffer), 5), buffer);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(buffer[i], static_cast<double>(floats[i]));
}

TEST(Channel, DoublesNarrowInPlaceInOrder) {
  double buffer[3] = {1.5, 0.1, -1e300};
  auto *floats = reinterpret_cast<float *>(buffer);
  EXPECT_EQ(double2float(floats, buffer, 3), floats);
  float narrow[3];
  std::memcpy(narrow, buffer, sizeof narrow);
  EXPECT_EQ(narrow[0], 1.5F);
  EXPECT_EQ(narrow[1], 0.1F);
  EXPECT_EQ(narrow[2], -std::numeric_limits<float>::infinity());
}

TEST(Channel, ConversionsOfNothingTouchNothing) {
  float single = 3.0F;
  double real = 4.0;
  EXPECT_EQ(double2float(&single, &real, 0), &single);
  EXPECT_EQ(double2float(&single, &real, -2), &single);
  EXPECT_EQ(float2double(&real, &single, 0), &real);
  EXPECT_EQ(float2double(&real, &single, -2), &real);
  EXPECT_EQ(single, 3.0F);
  EXPECT_EQ(real, 4.0);
}

// ---- fixed-width texts ---------------------------------------------------------------------------------------------

TEST(Channel, TerminatingStripsTrailingBlanksOnly) {
  char text[8] = {' ', 'a', ' ', 'b', ' ', ' ', ' ', ' '};
  terminate_string(text, 8);
  EXPECT_STREQ(text, " a b");
  EXPECT_EQ(text[7], '\0');
}

TEST(Channel, TerminatingAnAllBlankFieldEmptiesIt) {
  char text[4] = {' ', ' ', ' ', ' '};
  terminate_string(text, 4);
  EXPECT_EQ(std::string(text, 4), std::string(4, '\0'));
}

TEST(Channel, TerminatingAFullFieldCostsItsLastCharacter) {
  char text[4] = {'a', 'b', 'c', 'd'};
  terminate_string(text, 4);
  EXPECT_STREQ(text, "abc");
}

TEST(Channel, TerminatingAFieldOfOneOrNoCharacterIsSafe) {
  char text[2] = {'a', ' '};
  terminate_string(text, 1);
  EXPECT_EQ(text[0], '\0');
  EXPECT_EQ(text[1], ' ');
  terminate_string(text + 1, 0);
  terminate_string(nullptr, 5);
  EXPECT_EQ(text[1], ' ');
}

// ---- positions -----------------------------------------------------------------------------------------------------

class PositionTest : public ::testing::Test {
 protected:
  PositionTest() : in(random_bytes(100, 9), false, false) { FileSeek_Win32(in.channel.stream, 10, 0); }
  std::FILE *stream() { return in.channel.stream; }
  OpenChannel in;
};

TEST_F(PositionTest, SeekingCountsFromTheStartHereOrTheEnd) {
  EXPECT_EQ(FileSeek_Win32(stream(), 20, 0), 0);
  EXPECT_EQ(FileTell_Win32(stream()), 20);
  EXPECT_EQ(FileSeek_Win32(stream(), -5, 1), 0);
  EXPECT_EQ(FileTell_Win32(stream()), 15);
  EXPECT_EQ(FileSeek_Win32(stream(), -30, 2), 0);
  EXPECT_EQ(FileTell_Win32(stream()), 70);
}

TEST_F(PositionTest, AnUnknownOriginIsRefusedWithoutMoving) {
  EXPECT_EQ(FileSeek_Win32(stream(), 20, 3), 1);
  EXPECT_EQ(FileSeek_Win32(stream(), 20, -1), 1);
  EXPECT_EQ(FileTell_Win32(stream()), 10);
}

TEST_F(PositionTest, APositionBeforeTheStartIsRefused) {
  EXPECT_NE(FileSeek_Win32(stream(), -1, 0), 0);
  EXPECT_NE(FileSeek_Win32(stream(), -11, 1), 0);
  EXPECT_EQ(FileTell_Win32(stream()), 10);
}

TEST_F(PositionTest, PositionsBeyondTwoGigabytesWork) {
  const std::int64_t far = (std::int64_t{1} << 31) + 12345;
  EXPECT_EQ(FileSeek_Win32(stream(), far, 0), 0);
  EXPECT_EQ(FileTell_Win32(stream()), far);
  EXPECT_EQ(FileSeek_Win32(stream(), far, 1), 0);
  EXPECT_EQ(FileTell_Win32(stream()), 2 * far);
}

TEST_F(PositionTest, NoStreamHasNoPosition) {
  EXPECT_EQ(FileTell_Win32(nullptr), -1);
  EXPECT_NE(FileSeek_Win32(nullptr, 0, 0), 0);
}

TEST_F(PositionTest, BytesLeftCountsToTheEndAndLeavesThePosition) {
  EXPECT_EQ(sbr::bytes_left(in.channel), 90);
  EXPECT_EQ(sbr::file_bytes(in.channel), 100);
  EXPECT_EQ(FileTell_Win32(stream()), 10);
  FileSeek_Win32(stream(), 200, 0);
  EXPECT_EQ(sbr::bytes_left(in.channel), 0);
}

TEST(Channel, BytesLeftKnowsAPieceOfMemory) {
  char memory[30] = {};
  sbr::StreamChannel channel;
  channel.own(fmemopen(memory, sizeof memory, "rb"));
  ASSERT_NE(channel.stream, nullptr);
  FileSeek_Win32(channel.stream, 8, 0);
  EXPECT_EQ(sbr::bytes_left(channel), 22);
  EXPECT_EQ(FileTell_Win32(channel.stream), 8);
  channel.close();
}

}  // namespace
}  // namespace sbrtest
