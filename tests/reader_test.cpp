// Opening records: sharing by name, recognizing the encoding, header, units, nodes, mass, faces.
#include "read/reader.h"

#include <sys/stat.h>
#include <unistd.h>

#include "body/registry.h"
#include "support/body_state.h"
#include "support/body_view.h"
#include "support/record_test.h"

namespace sbrtest {
namespace {

using ReaderTest = RecordTest;

const Message kNotValid = error("Not a valid SBR format.");

// ---- sharing -------------------------------------------------------------------------------------------------------

TEST_F(ReaderTest, OneNameGivesOneHandleThatIsReleasedByTheSecondDereference) {
  SBR body = open(two_nodes());
  EXPECT_EQ(SBR_CreateFromSBR(path.c_str()), body);
  EXPECT_EQ(state::references(body), 2);
  SBR_DeReference(body);
  EXPECT_EQ(SBR_IsValid(body), 1);
  SBR_DeReference(body);
  EXPECT_EQ(SBR_IsValid(body), 0);
}

TEST_F(ReaderTest, ASharedBodyIsNotReadAgain) {
  SBR body = open(two_nodes());
  std::remove(path.c_str());
  EXPECT_EQ(SBR_CreateFromSBR(path.c_str()), body);
}

TEST_F(ReaderTest, AnotherFormOfThePathGivesASecondHandle) {
  SBR body = open(two_nodes());
  const std::string other = scratch.path().string() + "/./" + path.substr(path.rfind('/') + 1);
  SBR second = SBR_CreateFromSBR(other.c_str());
  EXPECT_NE(second, nullptr);
  EXPECT_NE(second, body);
}

TEST_F(ReaderTest, ASurfaceMeshBodyIsNotSharedAsAPlainOne) {
  SBR body = open(two_nodes());
  state::is_surface_mesh(body) = 1;
  SBR plain = SBR_CreateFromSBR(path.c_str());
  EXPECT_NE(plain, body);
  EXPECT_EQ(sbr::share_body(path.c_str(), 1), body);
  EXPECT_EQ(sbr::share_body(path.c_str(), 0), plain);
  EXPECT_EQ(state::references(body), 2);
}

TEST_F(ReaderTest, ABodyUnderConstructionIsNeverShared) {
  SBR_Create(1, 1);
  EXPECT_EQ(sbr::share_body("", 0), nullptr);
  EXPECT_EQ(sbr::share_body(nullptr, 0), nullptr);
}

TEST_F(ReaderTest, ABodyFromAFileHasNoRoomOfItsOwn) {
  SBR body = open(full_record(0x13C));
  EXPECT_EQ(state::node_capacity(body), 0);
  EXPECT_EQ(state::mode_capacity(body), 0);
  EXPECT_EQ(state::references(body), 1);
}

// ---- files that are no records -------------------------------------------------------------------------------------

TEST_F(ReaderTest, AMissingFileIsRefusedWithoutAMessage) {
  EXPECT_EQ(SBR_CreateFromSBR(scratch.file("absent").c_str()), nullptr);
  EXPECT_EQ(SBR_CreateFromSBR(nullptr), nullptr);
  EXPECT_TRUE(log.all().empty());
  EXPECT_EQ(sbr::registered_bodies(), 0);
}

TEST_F(ReaderTest, AnUnreadableFileIsRefusedWithoutAMessage) {
  if (geteuid() == 0) {
    // Nothing is unreadable to the superuser; a path through a file is as good.
    open(two_nodes());
    SBR_Terminate();
    EXPECT_EQ(SBR_CreateFromSBR((path + "/below").c_str()), nullptr);
  } else {
    write_file(scratch.file("secret"), two_nodes().bytes());
    chmod(scratch.file("secret").c_str(), 0);
    EXPECT_EQ(SBR_CreateFromSBR(scratch.file("secret").c_str()), nullptr);
  }
  EXPECT_TRUE(log.all().empty());
}

TEST_F(ReaderTest, AnEmptyOrTooShortFileIsNoRecord) {
  expect_refused("", {kNotValid});
  expect_refused("ab", {kNotValid});
  EXPECT_EQ(sbr::registered_bodies(), 0);
}

TEST_F(ReaderTest, ADirectoryIsNoRecord) {
  EXPECT_EQ(SBR_CreateFromSBR(scratch.path().c_str()), nullptr);
  EXPECT_EQ(log.take(), std::vector<Message>{kNotValid});
}

TEST_F(ReaderTest, AFailedReadTakesTheBodyOffTheRegistryAndClosesTheFile) {
  const auto open_files = [] {
    int count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
    return count;
  };
  const int before = open_files();
  for (const std::uint32_t word : {0x3C, 0x13C}) {
    RecordBuilder record(word);
    record.block(3).integers({0, 3});
    EXPECT_EQ(open(record), nullptr);
  }
  EXPECT_EQ(sbr::registered_bodies(), 0);
  EXPECT_EQ(open_files(), before);
}

// ---- the version word ----------------------------------------------------------------------------------------------

TEST_F(ReaderTest, EveryVersionAndEncodingIsRecognized) {
  for (const std::uint32_t word : kAllWords) {
    const RecordBuilder record = full_record(word);
    SBR body = expect_opened(record);
    EXPECT_EQ(SBR_Version(body), record.code());
    EXPECT_EQ(state::version_word(body), word);
    for (const sbr::StreamChannel *channel :
         {&state::record(body), &state::mode_channel(body, sbr::Kind::shape),
          &state::mode_channel(body, sbr::Kind::stress), &state::mode_channel(body, sbr::Kind::strain)}) {
      EXPECT_EQ(channel->xdr_encoded, record.xdr());
      EXPECT_EQ(channel->double_precision, !record.single());
      EXPECT_EQ(channel->is_temporary(), false);
      EXPECT_EQ(channel->stream, state::record_stream(body));
      EXPECT_EQ(channel->xdr, state::record(body).xdr);
    }
    EXPECT_EQ(SBR_IsCoarsened(body), word == 0x73C ? 1 : 0);
  }
}

TEST_F(ReaderTest, OfAnOldWordOnlyTheCodeIsKept) {
  SBR body = expect_opened(RecordBuilder(0xABCDEF28, false, false).nodes({{1, {0, 0, 0}}}));
  EXPECT_EQ(state::version_word(body), 40U);
}

TEST_F(ReaderTest, OfACurrentWordAllBitsAreKept) {
  SBR body = expect_opened(RecordBuilder(0xABCDE03D, false, false).nodes({{1, {0, 0, 0}}}));
  EXPECT_EQ(state::version_word(body), 0xABCDE03DU);
}

TEST_F(ReaderTest, ANativeFileWithTheXdrFlagIsNoRecord) {
  expect_refused(RecordBuilder(0x13C, false, false), {kNotValid});
}

TEST_F(ReaderTest, AnXdrFileWithoutTheXdrFlagIsNoRecord) {
  expect_refused(RecordBuilder(0x3C, true, false), {kNotValid});
}

TEST_F(ReaderTest, CodesOfTheOtherEncodingAndUnknownCodesAreNoRecords) {
  for (const std::uint32_t word : {0, 1, 9, 11, 21, 31, 41, 51, 59})
    expect_refused(RecordBuilder(word, false, false), {kNotValid});
  for (const std::uint32_t word : {1, 9, 10, 20, 30, 40, 50, 59})
    expect_refused(RecordBuilder(word, true, false), {kNotValid});
}

TEST_F(ReaderTest, AFileThatEndsInItsContentSummaryIsRefused) {
  for (const std::uint32_t word : {0x3C, 0x13C, 10, 31}) {
    const RecordBuilder record(word);
    expect_refused(record.bytes().substr(0, record.offset(3) - 1), {error("Problem reading SBR table of contents.")});
    expect_refused(record.bytes().substr(0, 5), {error("Problem reading SBR table of contents.")});
  }
}

TEST_F(ReaderTest, ARecordWithoutBlocksIsAnEmptyBodyInSiUnits) {
  for (const std::uint32_t word : kAllWords) {
    SBR body = expect_opened(RecordBuilder(word));
    EXPECT_EQ(SBR_NodeCount(body), 0);
    EXPECT_EQ(SBR_ModeCount(body), 0);
    EXPECT_EQ(units_of(body).mass, "KILOGRAM");
    EXPECT_EQ(units_of(body).length, "METER");
    EXPECT_EQ(units_of(body).time, "SECOND");
    EXPECT_EQ(units_of(body).force, "NEWTON");
  }
}

// ---- the call itself -----------------------------------------------------------------------------------------------

TEST_F(ReaderTest, ReadingWithoutAHandleOrAStreamFails) {
  EXPECT_EQ(SBR_ReadSBR(nullptr, nullptr, "name"), 0);
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_ReadSBR(body, nullptr, "name"), 0);
  EXPECT_TRUE(log.all().empty());
}

TEST_F(ReaderTest, AHandleIsFilledFromAnOpenStream) {
  write_file(scratch.file("direct"), full_record(0x13C).bytes());
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_ReadSBR(body, std::fopen(scratch.file("direct").c_str(), "rb"), scratch.file("direct").c_str()), 1);
  EXPECT_EQ(SBR_NodeCount(body), 3);
  EXPECT_EQ(SBR_CreateFromSBR(scratch.file("direct").c_str()), body);
}

TEST_F(ReaderTest, AStreamWithoutANameIsReadAllTheSameWithAWarning) {
  write_file(scratch.file("direct"), two_nodes().bytes());
  SBR body = SBR_Create(0, 0);
  EXPECT_EQ(SBR_ReadSBR(body, std::fopen(scratch.file("direct").c_str(), "rb"), nullptr), 1);
  EXPECT_FALSE(state::record(body).path);
  const std::vector<Message> messages = log.take();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].severity, Severity::warning);
  EXPECT_TRUE(is_no_memory(error(messages[0].text), "sbrread"));
}

TEST_F(ReaderTest, AHandleCanBeReadASecondTimeFromAnotherFile) {
  SBR body = read_bytes(full_record(0x13C).bytes());
  EXPECT_EQ(result, 1);
  write_file(scratch.file("second"), two_nodes().bytes());
  EXPECT_EQ(SBR_ReadSBR(body, std::fopen(scratch.file("second").c_str(), "rb"), scratch.file("second").c_str()), 1);
  EXPECT_EQ(SBR_NodeCount(body), 2);
  EXPECT_EQ(SBR_NodeIndex(body, 20), 1);
}

// ---- header and units ----------------------------------------------------------------------------------------------

TEST_F(ReaderTest, HeaderTextsLoseTheirTrailingBlanks) {
  for (const char fill : {' ', '\0'}) {
    RecordBuilder record(0x13C);
    record.header("A title", "2024-01-02", "part.inp", "solid", "one", "two", "three", fill);
    SBR body = expect_opened(record);
    EXPECT_EQ(header_of(body).title, "A title");
    EXPECT_EQ(header_of(body).date, "2024-01-02");
    EXPECT_EQ(header_of(body).input_file_name, "part.inp");
    EXPECT_EQ(header_of(body).comment1, "one");
    EXPECT_EQ(header_of(body).comment2, "two");
    EXPECT_EQ(header_of(body).comment3, "three");
    EXPECT_EQ(header_of(body).input_file_type, std::string("solid").append(11, fill));
  }
}

TEST_F(ReaderTest, AFullHeaderTextLosesItsLastCharacterExceptTheInputFileType) {
  RecordBuilder record(0x3C);
  record.header(std::string(128, 't'), std::string(32, 'd'), std::string(128, 'n'), std::string(16, 'y'),
                std::string(80, '1'), std::string(80, '2'), std::string(80, '3'));
  SBR body = expect_opened(record);
  EXPECT_EQ(header_of(body).title, std::string(127, 't'));
  EXPECT_EQ(header_of(body).date, std::string(31, 'd'));
  EXPECT_EQ(header_of(body).input_file_name, std::string(127, 'n'));
  EXPECT_EQ(header_of(body).input_file_type, std::string(16, 'y'));
  EXPECT_EQ(header_of(body).comment1, std::string(79, '1'));
  EXPECT_EQ(header_of(body).comment2, std::string(79, '2'));
  EXPECT_EQ(header_of(body).comment3, std::string(79, '3'));
}

TEST_F(ReaderTest, UnitsAreReadAndStripped) {
  RecordBuilder record(0x13C);
  record.units("POUND_MASS", "INCH", "MILLISECOND", "POUND_FORCE", ' ');
  SBR body = expect_opened(record);
  EXPECT_EQ(units_of(body).mass, "POUND_MASS");
  EXPECT_EQ(units_of(body).length, "INCH");
  EXPECT_EQ(units_of(body).time, "MILLISECOND");
  EXPECT_EQ(units_of(body).force, "POUND_FORCE");
}

TEST_F(ReaderTest, AnUnknownUnitIsKeptAsItStands) {
  RecordBuilder record(0x3C);
  record.units("STONE", "METER", "SECOND", "NEWTON", ' ');
  SBR body = expect_opened(record);
  EXPECT_EQ(units_of(body).mass, "STONE");
  EXPECT_EQ(units_of(body).force, "NEWTON");
}

TEST_F(ReaderTest, ABrokenUnitsBlockLeavesTheLaterLabelsEmptyAndDoesNotStopTheReader) {
  RecordBuilder record(0x3C);
  record.block(10).text("KILOGRAM", 16).text("METER", 16).raw("SEC");
  SBR body = expect_opened(record);
  EXPECT_EQ(units_of(body).mass, "KILOGRAM");
  EXPECT_EQ(units_of(body).length, "METER");
  EXPECT_STREQ(state::units(body).force_units, "");
}

TEST_F(ReaderTest, GlobalPropertiesAreMassCenterAndInertiaByRows) {
  for (const std::uint32_t word : {10, 0x13C, 0x33C}) {
    SBR body = expect_opened(full_record(word));
    EXPECT_EQ(state::global(body).mass, 4.0);
    EXPECT_EQ(std::vector<double>(state::global(body).center, state::global(body).center + 3),
              (std::vector<double>{1, 2, 3}));
    EXPECT_EQ(std::vector<double>(state::global(body).inertia, state::global(body).inertia + 9),
              (std::vector<double>{5, 0.5, 0.25, 0.5, 6, 0.125, 0.25, 0.125, 7}));
  }
}

TEST_F(ReaderTest, CutGlobalPropertiesAreRefused) {
  RecordBuilder record = two_nodes();
  record.global(1, {}, {});
  expect_refused_when_cut(record, 5, 12 * 8, {error("Problem reading Global Body Properties")});
}

// ---- nodes ---------------------------------------------------------------------------------------------------------

TEST_F(ReaderTest, NodesComeInTheOrderOfTheFile) {
  for (const std::uint32_t word : kAllWords) {
    RecordBuilder record(word);
    record.nodes({{30, {1, 2, 3}}, {-5, {4, 5, 6}}, {7, {0.5, 0.25, -8}}});
    SBR body = expect_opened(record);
    ASSERT_EQ(SBR_NodeCount(body), 3);
    EXPECT_EQ(SBR_NodeID(body, 1), -5);
    EXPECT_EQ(SBR_NodeIndex(body, 7), 2);
    double xyz[3];
    SBR_NodeCoordinates(body, 2, xyz);
    EXPECT_EQ(xyz[0], 0.5);
    EXPECT_EQ(xyz[1], 0.25);
    EXPECT_EQ(xyz[2], -8.0);
    EXPECT_EQ(SBR_NodalMass(body, 2), 0.0);
    double tensor[9];
    EXPECT_EQ(SBR_NodalInertia(body, 2, tensor), 0);
    EXPECT_EQ(SBR_ModeNodeCount(body, 0), 3);
  }
}

TEST_F(ReaderTest, ANodeBlockOfNoNodesIsOutOfMemory) {
  RecordBuilder record(0x3C);
  record.nodes({});
  expect_refused(record, {error("Out of memory while reading Nodal Coordinate block")});
}

TEST_F(ReaderTest, ADimensionOtherThanThreeIsReportedAndThreeCoordinatesAreRead) {
  RecordBuilder record(0x3C);
  record.nodes({{1, {1, 2, 3}}, {2, {4, 5, 6}}}, 2);
  SBR body = expect_opened(record, {error("Node location should only be specified with 3 coordinates, not 2")});
  double xyz[3];
  SBR_NodeCoordinates(body, 1, xyz);
  EXPECT_EQ(xyz[2], 6.0);
}

TEST_F(ReaderTest, ACutNodeBlockIsRefused) {
  const Message problem = error("Problem reading Node Coordinates Data");
  const Message sizing = error("Problem in nodal coords block");
  expect_refused_when_cut(two_nodes(), 3, 3, {sizing, problem});
  expect_refused_when_cut(two_nodes(), 3, 6, {sizing, problem});
  expect_refused_when_cut(two_nodes(), 3, 8 + 27, {problem});
  expect_refused_when_cut(two_nodes(), 3, 8 + 55, {problem});
}

TEST_F(ReaderTest, ANodeCountBeyondTheFileIsAFailedRead) {
  RecordBuilder record(0x3C);
  record.block(3).integers({std::numeric_limits<int>::max(), 2, 1, 0, 0});
  expect_refused(record, {error("Node location should only be specified with 3 coordinates, not 2"),
                          error("Problem reading Node Coordinates Data")});
}

// ---- nodal mass ----------------------------------------------------------------------------------------------------

TEST_F(ReaderTest, NodalMassesAreFoundByTheirNodes) {
  RecordBuilder record = two_nodes(0x13C);
  record.masses({{20, {2.5}}, {10, {1.5}}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodalMass(body, 0), 1.5);
  EXPECT_EQ(SBR_NodalMass(body, 1), 2.5);
}

TEST_F(ReaderTest, ReaderKeepsTheAverageOfSeveralMassValues) {
  RecordBuilder record = two_nodes();
  record.masses({{20, {1, 2, 6}}}, 3);
  SBR body = expect_opened(record, {warning("Each node must possess a single scalar mass"),
                                    warning("Generating scalar by averaging 3 values")});
  EXPECT_EQ(SBR_NodalMass(body, 1), 3.0);
}

TEST_F(ReaderTest, TheMassOfAnUnknownNodeIsDroppedSilently) {
  RecordBuilder record = two_nodes();
  record.masses({{99, {5}}, {10, {1}}});
  SBR body = expect_opened(record);
  EXPECT_EQ(SBR_NodalMass(body, 0), 1.0);
}

TEST_F(ReaderTest, ASecondMassOfANodeReplacesTheFirstWithAWarning) {
  RecordBuilder record = two_nodes();
  record.masses({{10, {1}}, {10, {4}}, {20, {0}}, {20, {2}}});
  SBR body = expect_opened(record, {warning("Redefining mass of Node 10")});
  EXPECT_EQ(SBR_NodalMass(body, 0), 4.0);
  EXPECT_EQ(SBR_NodalMass(body, 1), 2.0);
}

TEST_F(ReaderTest, ACutMassBlockIsRefused) {
  RecordBuilder record = two_nodes();
  record.masses({{10, {1}}, {20, {4}}});
  expect_refused_when_cut(record, 8, 7,
                          {error("Problem in nodal mass block"), error("Problem reading Nodal Mass information")});
  expect_refused_when_cut(record, 8, 8 + 23, {error("Problem reading Nodal Mass information")});
  RecordBuilder several = two_nodes();
  several.masses({{10, {1, 2}}}, 2);
  expect_refused_when_cut(
      several, 8, 8 + 19,
      {warning("Each node must possess a single scalar mass"), warning("Generating scalar by averaging 2 values"),
       error("Problem reading Nodal Mass information")});
}

// ---- nodal inertia -------------------------------------------------------------------------------------------------

TEST_F(ReaderTest, NodalInertiasFillTheTensorOfTheirNode) {
  for (const std::uint32_t word : kAllWords) {
    RecordBuilder record = two_nodes(word);
    record.inertias({{20, 4, 4, 1}, {20, 4, 5, 2}, {20, 4, 6, 3}, {20, 5, 5, 4}, {20, 5, 6, 5}, {20, 6, 6, 6}});
    SBR body = expect_opened(record);
    double tensor[9];
    ASSERT_EQ(SBR_NodalInertia(body, 1, tensor), 1);
    EXPECT_EQ(std::vector<double>(tensor, tensor + 9), (std::vector<double>{1, 2, 3, 2, 4, 5, 3, 5, 6}));
    EXPECT_EQ(SBR_NodalInertia(body, 0, tensor), 0);
  }
}

TEST_F(ReaderTest, EntriesBelowTheDiagonalFillTheSamePlaces) {
  RecordBuilder record = two_nodes();
  record.inertias({{10, 5, 4, 2}, {10, 6, 4, 3}, {10, 6, 5, 5}});
  SBR body = expect_opened(record);
  double tensor[9];
  ASSERT_EQ(SBR_NodalInertia(body, 0, tensor), 1);
  EXPECT_EQ(std::vector<double>(tensor, tensor + 9), (std::vector<double>{0, 2, 3, 2, 0, 5, 3, 5, 0}));
}

TEST_F(ReaderTest, ADifferentSecondInertiaValueIsStoredWithAWarning) {
  RecordBuilder record = two_nodes();
  record.inertias({{10, 4, 6, 3}, {10, 6, 4, 3}, {10, 6, 4, 7}, {10, 5, 5, 0}, {10, 5, 5, 1}});
  SBR body = expect_opened(record, {warning("Redefining mass of Nodal inertia 10")});
  double tensor[9];
  SBR_NodalInertia(body, 0, tensor);
  EXPECT_EQ(tensor[2], 7.0);
  EXPECT_EQ(tensor[4], 1.0);
}

TEST_F(ReaderTest, AnInertiaThatIsNotANumberCountsAsDefined) {
  RecordBuilder record = two_nodes();
  record.inertias({{10, 4, 4, std::numeric_limits<double>::quiet_NaN()}, {10, 4, 4, 2}});
  SBR body = expect_opened(record, {warning("Redefining mass of Nodal inertia 10")});
  double tensor[9];
  SBR_NodalInertia(body, 0, tensor);
  EXPECT_EQ(tensor[0], 2.0);
}

TEST_F(ReaderTest, ARowOrColumnOutsideFourToSixIsRefused) {
  const Message problem = error("Problem reading Nodal Inertia information");
  for (const std::uint32_t word : {0x3C, 0x13C}) {
    for (const int index : {3, 7, -1}) {
      const std::string told =
          " index of nodal inertia entries should be 4, 5, or 6.  " + std::to_string(index) + " encoutered\n";
      RecordBuilder row = two_nodes(word);
      row.inertias({{10, index, 4, 1}});
      expect_refused(row, {error("Row" + told), problem});
      RecordBuilder column = two_nodes(word);
      column.inertias({{10, 4, index, 1}});
      expect_refused(column, {error("Column" + told), problem});
    }
  }
}

TEST_F(ReaderTest, ABadRowIsToldEvenWhenTheFileEndsBehindIt) {
  RecordBuilder record = two_nodes();
  record.inertias({{10, 9, 4, 1}});
  expect_refused_when_cut(record, 9, 4 + 5,
                          {error("Row index of nodal inertia entries should be 4, 5, or 6.  9 encoutered\n"),
                           error("Problem reading Nodal Inertia information")});
}

TEST_F(ReaderTest, TheInertiaOfAnUnknownNodeIsSkippedWithAWarning) {
  RecordBuilder record = two_nodes();
  record.inertias({{99, 4, 4, 1}, {20, 4, 4, 2}});
  SBR body = expect_opened(record, {warning("Ignoring 1 nodal inertia entries of nodes that the body does not have")});
  double tensor[9];
  ASSERT_EQ(SBR_NodalInertia(body, 1, tensor), 1);
  EXPECT_EQ(tensor[0], 2.0);
}

TEST_F(ReaderTest, ACutInertiaBlockIsRefused) {
  RecordBuilder record = two_nodes();
  record.inertias({{10, 4, 4, 1}, {20, 4, 4, 1}});
  const Message problem = error("Problem reading Nodal Inertia information");
  expect_refused_when_cut(record, 9, 2, {error("Problem in nodal inertia block"), problem});
  expect_refused_when_cut(record, 9, 4 + 5, {problem});
  expect_refused_when_cut(record, 9, 4 + 27, {problem});
}

TEST_F(ReaderTest, ABlockWithoutInertiaEntriesIsAccepted) {
  RecordBuilder record = two_nodes();
  record.inertias({});
  expect_opened(record);
}

// ---- faces and interface nodes -------------------------------------------------------------------------------------

TEST_F(ReaderTest, FacesAreKeptAsTheFileHasThem) {
  for (const std::uint32_t word : {30, 41, 0x3C, 0x33C}) {
    RecordBuilder record = two_nodes(word);
    record.faces({{0, 1, 0}, {1, 0}}, 4711);
    SBR body = expect_opened(record);
    EXPECT_EQ(face_count(body), 2);
    EXPECT_EQ(state::faces_reserved_word(body), 4711);
    EXPECT_EQ(face_words(body), (std::vector<int>{3, 0, 1, 0, 2, 1, 0}));
  }
}

TEST_F(ReaderTest, OldFacesBecomeTheSameListWithNodeIndices) {
  for (const std::uint32_t word : {10, 20}) {
    RecordBuilder record(word);
    record.nodes({{5, {0, 0, 0}}, {6, {0, 0, 0}}, {7, {0, 0, 0}}});
    record.old_faces({{7, 6, 5}, {5, 7}, {6, 99, 7}});
    SBR body = expect_opened(record);
    EXPECT_EQ(face_count(body), 3);
    EXPECT_EQ(face_words(body), (std::vector<int>{2, 0, 2, 3, 2, 1, 0, 3, 1, -1, 2}));
  }
}

TEST_F(ReaderTest, OldFacesAreReadInAnyVersionWithoutTheCurrentBlock) {
  RecordBuilder record = two_nodes(0x13C);
  record.old_faces({{10, 20}});
  EXPECT_EQ(face_words(expect_opened(record)), (std::vector<int>{2, 0, 1}));
  record.faces({{1, 0, 1}});
  EXPECT_EQ(face_words(expect_opened(record)), (std::vector<int>{3, 1, 0, 1}));
}

TEST_F(ReaderTest, AnEmptyFaceListIsOutOfMemory) {
  RecordBuilder record = two_nodes();
  record.faces({});
  expect_refused(record, {error("Out of memory while reading Element Faces Block")});
  RecordBuilder old = two_nodes();
  old.old_faces({});
  expect_refused(old, {error("Out of memory while reading Element Topology Block")});
}

TEST_F(ReaderTest, CutFacesAreRefused) {
  RecordBuilder record = two_nodes();
  record.faces({{0, 1, 0}});
  const Message problem = error("Problem reading Element Faces");
  expect_refused_when_cut(record, 13, 2, {error("Problem in element face block"), problem});
  expect_refused_when_cut(record, 13, 12, {problem});
  expect_refused_when_cut(record, 13, 31, {problem});
  RecordBuilder old = two_nodes();
  old.old_faces({{10, 20}, {10, 20, 10}});
  const Message old_problem = error("Problem when reading old style element block");
  const Message sizing = error("Problem in old style element topology block");
  expect_refused_when_cut(old, 4, 6, {sizing, old_problem});
  expect_refused_when_cut(old, 4, 8 + 100, {sizing, old_problem});
  expect_refused_when_cut(old, 4, old.block(4).size() - 1, {old_problem});
}

TEST_F(ReaderTest, CorruptOldGroupsAreRefused) {
  for (const std::vector<int> &words : std::vector<std::vector<int>>{
           {1, 1, 0, -1, 3}, {1, 1, 0, 1, -3}, {1, 1, 0, 1 << 30, 1 << 30}, {1, 1 << 30, 0, 0, 0}}) {
    RecordBuilder record = two_nodes();
    record.block(4).integers(words);
    EXPECT_EQ(open(record), nullptr);
    EXPECT_EQ(log.take().back(), error("Problem when reading old style element block"));
  }
}

TEST_F(ReaderTest, InterfaceNodesAreNodeIndices) {
  RecordBuilder record = two_nodes(0x13C);
  record.interface_nodes({1, 0});
  SBR body = expect_opened(record);
  EXPECT_EQ(interface_nodes_of(body), (std::vector<int>{1, 0}));
}

TEST_F(ReaderTest, NoInterfaceNodesAreOutOfMemoryAndAProblem) {
  RecordBuilder record = two_nodes();
  record.interface_nodes({});
  expect_refused(record, {error("Out of memory while reading Interface Nodes block"),
                          error("Problem when reading Interface Nodes")});
}

TEST_F(ReaderTest, CutInterfaceNodesAreRefused) {
  RecordBuilder record = two_nodes();
  record.interface_nodes({0, 1});
  const Message problem = error("Problem when reading Interface Nodes");
  expect_refused_when_cut(record, 16, 3, {error("Problem in interface node block"), problem});
  expect_refused_when_cut(record, 16, 11, {problem});
}

}  // namespace
}  // namespace sbrtest
