// Sketch files: face lists written by hand.
#include "support/body_state.h"
#include "support/files.h"
#include "support/meshes.h"
#include "support/messages.h"

namespace sbrtest {
namespace {

class SketchTest : public LibraryTest {
 protected:
  SketchTest() {
    body = make_body(flat_grid(2, 1));  // IDs 10 to 60
    log.clear();
  }
  void sketch(const std::string &text) {
    path = directory.file("faces.txt");
    write_file(path, text);
    SBR_SketchGrid(body, path.c_str());
  }
  Message announcement(int count) const {
    return info("Using sketch file " + path + " to replace 2 faces with " + std::to_string(count));
  }
  void expect_refused(const std::string &text, int count, const std::string &complaint) {
    sketch(text);
    EXPECT_EQ(log.take(), (std::vector<Message>{announcement(count), warning(complaint)})) << text;
    EXPECT_EQ(faces_of(body), flat_grid(2, 1).faces);
    EXPECT_EQ(SBR_IsCoarsened(body), 0);
  }

  ScratchDirectory directory;
  std::string path;
  SBR body = nullptr;
};

TEST_F(SketchTest, ReplacesTheFacesByNodeIds) {
  state::set_block(body, sbr::kElementFaces, false);
  sketch("2\n4 10 20 50 40\n3 20 30 50\n");
  EXPECT_EQ(log.take(), (std::vector<Message>{announcement(2)}));
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 4, 3}, {1, 2, 4}}));
  EXPECT_EQ(face_words(body).size(), 9U);
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
  EXPECT_EQ(SBR_Exists(body, 13), 1);
}

TEST_F(SketchTest, WhiteSpaceIsFree) {
  sketch("\r\n 1\t\n\n5 10\n+20\r\n30 60 50");
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 2, 5, 4}}));
}

TEST_F(SketchTest, WhatFollowsTheLastFaceIsNotRead) {
  sketch("1 3 10 20 40 and so on");
  EXPECT_EQ(log.take(), (std::vector<Message>{announcement(1)}));
  EXPECT_EQ(faces_of(body), (Faces{{0, 1, 3}}));
}

TEST_F(SketchTest, ThousandsOfFacesGrowTheList) {
  std::string text = "2000\n";
  for (int i = 0; i < 2000; ++i) text += "3 10 20 40\n";
  sketch(text);
  EXPECT_EQ(faces_of(body), Faces(2000, {0, 1, 3}));
}

TEST_F(SketchTest, ACountBelowOneGivesAnEmptyList) {
  sketch("0");
  EXPECT_EQ(log.take(), (std::vector<Message>{announcement(0)}));
  EXPECT_TRUE(faces_of(body).empty());
  EXPECT_EQ(SBR_IsCoarsened(body), 1);
}

TEST_F(SketchTest, ANegativeCountGivesAnEmptyList) {
  sketch("-3 3 10 20 40");
  EXPECT_EQ(log.take(), (std::vector<Message>{announcement(-3)}));
  EXPECT_TRUE(faces_of(body).empty());
}

TEST_F(SketchTest, AnUnknownNodeIsNamedWithItsFace) {
  expect_refused("3\n3 10 20 40\n3 10 77 40\n3 10 20 40\n", 3,
                 "Incorrect definition of face 2.  No node 77. Aborting.");
}

TEST_F(SketchTest, ATruncatedFileNamesItsFace) {
  expect_refused("3\n3 10 20 40\n", 3, "Incorrect definition of face 2.  Aborting.");
  expect_refused("2\n3 10 20", 2, "Incorrect definition of face 1.  Aborting.");
}

TEST_F(SketchTest, TextInPlaceOfANumberNamesItsFace) {
  expect_refused("1\nfour 10 20 40", 1, "Incorrect definition of face 1.  Aborting.");
  expect_refused("1\n3 10 x20 40", 1, "Incorrect definition of face 1.  Aborting.");
}

TEST_F(SketchTest, AbsurdCountsAreRefused) {
  expect_refused("2147483647\n", 2147483647, "Incorrect definition of face 1.  Aborting.");
  expect_refused("1\n2147483647 10 20", 1, "Incorrect definition of face 1.  Aborting.");
  expect_refused("1\n-4 10 20", 1, "Incorrect definition of face 1.  Aborting.");
  expect_refused("1\n99999999999 10 20", 1, "Incorrect definition of face 1.  Aborting.");
  expect_refused("1\n3 10 4294967306 40", 1, "Incorrect definition of face 1.  Aborting.");
}

TEST_F(SketchTest, BinaryFilesAreRefused) {
  expect_refused(std::string("2\n\0\xff\x80", 5), 2, "Incorrect definition of face 1.  Aborting.");
  sketch(std::string("\0\1\2\3", 4));
  EXPECT_EQ(log.take(), (std::vector<Message>{warning("Sketch file " + path + " does not start with a face count")}));
}

TEST_F(SketchTest, AFileWithoutAFaceCountIsRefused) {
  for (const char *text : {"", "  \n", "faces: 3", "-", "99999999999"}) {
    sketch(text);
    EXPECT_EQ(log.take(), (std::vector<Message>{warning("Sketch file " + path + " does not start with a face count")}));
    EXPECT_EQ(faces_of(body), flat_grid(2, 1).faces);
  }
}

TEST_F(SketchTest, AFileThatDoesNotOpenIsNamed) {
  SBR_SketchGrid(body, "/no/such/file");
  EXPECT_EQ(log.take(), (std::vector<Message>{warning("Failed to open sketch file /no/such/file")}));
}

TEST_F(SketchTest, ANullPathShowsTheUsage) {
  SBR_SketchGrid(body, nullptr);
  EXPECT_EQ(log.take(), (std::vector<Message>{warning("Failed to apply sketch file.  Usage: sketch(filename)")}));
}

TEST_F(SketchTest, ANullHandleIsReported) {
  SBR_SketchGrid(nullptr, "faces.txt");
  EXPECT_EQ(log.take(), (std::vector<Message>{error("The database has not been initialized.")}));
}

}  // namespace
}  // namespace sbrtest
