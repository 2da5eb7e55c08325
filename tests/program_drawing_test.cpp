// `sbr picture`: what it draws, and what it refuses. The points of a picture are read by Python's own tools.
#include "support/program.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

class ProgramDrawingTest : public ProgramTest {
 protected:
  ProgramDrawingTest() { sample("beam_33c"); }

  // "WIDTH HEIGHT COLOURS": the size of a picture, and how many different points it has. Every row is without a filter.
  [[nodiscard]] std::string measured(const std::string &name) const {
    write_file(scratch.file("read.py"), R"(
import struct, sys, zlib
data = open(sys.argv[1], "rb").read()
assert data[:8] == b"\x89PNG\r\n\x1a\n"
at, packed = 8, b""
while at < len(data):
    size, kind = struct.unpack(">I4s", data[at:at + 8])
    body = data[at + 8:at + 8 + size]
    assert zlib.crc32(kind + body) == struct.unpack(">I", data[at + 8 + size:at + 12 + size])[0]
    if kind == b"IHDR":
        width, height, depth, colour = struct.unpack(">IIBB", body[:10])
        assert (depth, colour) == (8, 2)
    if kind == b"IDAT":
        packed += body
    at += 12 + size
rows = zlib.decompress(packed)
assert len(rows) == height * (1 + 3 * width)
points = set()
for y in range(height):
    row = rows[y * (1 + 3 * width):(y + 1) * (1 + 3 * width)]
    assert row[0] == 0
    points.update(row[1 + 3 * x:4 + 3 * x] for x in range(width))
print(width, height, len(points))
)");
    const Outcome run = shell("/usr/bin/python3 -B read.py " + name + " 2>&1");
    EXPECT_EQ(run.code, 0) << run.out;
    return run.out;
  }
};

TEST_F(ProgramDrawingTest, AModeIsDrawnInManyColours) {
  ASSERT_EQ(sbr("picture beam_33c.sbr -o mode.png").code, 0);
  std::istringstream found(measured("mode.png"));
  int width = 0;
  int height = 0;
  int colours = 0;
  found >> width >> height >> colours;
  EXPECT_EQ(width, 960);
  EXPECT_EQ(height, 720);
  EXPECT_GT(colours, 50);
}

TEST_F(ProgramDrawingTest, ModesDifferAndTheFirstElasticOneIsDrawnUnlessTold) {
  const std::string first = sbr("modes beam_33c.sbr --json").out;
  ASSERT_EQ(sbr("picture beam_33c.sbr -o untold.png --width 200").code, 0);
  ASSERT_EQ(sbr("picture beam_33c.sbr -o 7.png --mode 7 --width 200").code, 0);
  ASSERT_EQ(sbr("picture beam_33c.sbr -o 8.png --mode 8 --width 200").code, 0);
  ASSERT_EQ(sbr("picture beam_33c.sbr -o rest.png --at-rest --width 200").code, 0);
  EXPECT_EQ(read_file(scratch.file("untold.png")), read_file(scratch.file("7.png"))) << first;
  EXPECT_NE(read_file(scratch.file("7.png")), read_file(scratch.file("8.png")));
  EXPECT_NE(read_file(scratch.file("7.png")), read_file(scratch.file("rest.png")));
}

TEST_F(ProgramDrawingTest, ThePictureHasTheSizeAskedFor) {
  ASSERT_EQ(sbr("picture beam_33c.sbr -o small.png --width 128 --height 100").code, 0);
  EXPECT_EQ(measured("small.png").rfind("128 100 ", 0), 0U);
  ASSERT_EQ(sbr("picture beam_33c.sbr -o least.png --width 16").code, 0);
  EXPECT_EQ(measured("least.png").rfind("16 16 ", 0), 0U);
}

TEST_F(ProgramDrawingTest, BodiesThatLackSomethingAreDrawn) {
  RecordBuilder one(0x13C);
  one.nodes({{5, {1, 2, 3}}}).write(scratch.file("one.sbr"));
  ASSERT_EQ(sbr("picture one.sbr -o one.png --width 64").code, 0);
  EXPECT_EQ(measured("one.png").rfind("64 48 2", 0), 0U) << "a point on the ground";
}

TEST_F(ProgramDrawingTest, WrongUseIsToldAndLeavesWhatWasThere) {
  write_file(scratch.file("kept.png"), "kept");
  Outcome run = sbr("picture beam_33c.sbr -o kept.png --mode 4711", true);
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.out.find("has no mode 4711; 'sbr modes' lists them"), std::string::npos) << run.out;
  run = sbr("picture beam_33c.sbr -o kept.png --width 9000", true);
  EXPECT_EQ(run.code, 2);
  run = sbr("picture beam_33c.sbr -o kept.png --mode 7 --at-rest", true);
  EXPECT_EQ(run.code, 2);
  EXPECT_EQ(read_file(scratch.file("kept.png")), "kept");
  run = sbr("picture beam_33c.sbr -o beam_33c.sbr", true);
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.out.find("is the record itself"), std::string::npos) << run.out;
  run = sbr("picture missing.sbr -o kept.png", true);
  EXPECT_NE(run.code, 0);
  EXPECT_EQ(read_file(scratch.file("kept.png")), "kept");
}

}  // namespace
}  // namespace sbrtest
