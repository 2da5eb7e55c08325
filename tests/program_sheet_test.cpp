// `sbr sheet` from the outside.
#include <cmath>
#include <regex>

#include "support/program.h"
#include "support/record_builder.h"

namespace sbrtest {
namespace {

class ProgramSheetTest : public ProgramTest {
 protected:
  // The page, without the live view where the text alone is of interest.
  std::string page(const std::string &arguments, const std::string &more = "--no-view") const {
    const Outcome run = sbr("sheet " + arguments + " -o sheet.html " + more, true);
    EXPECT_EQ(run.code, 0) << run.out;
    EXPECT_NE(run.out.find("sheet sheet.html\n"), std::string::npos) << run.out;
    return read_file(scratch.file("sheet.html"));
  }
  std::string write(const RecordBuilder &record, const std::string &name = "built.sbr") const {
    record.write(scratch.file(name));
    return name;
  }
  // What stands under a heading, with the markup taken out.
  static std::string section(const std::string &page, const std::string &heading) {
    const std::size_t begin = page.find("<h2>" + heading + "</h2>");
    if (begin == std::string::npos) return "no section " + heading;
    const std::string html = page.substr(begin, page.find("</section>", begin) - begin);
    return std::regex_replace(std::regex_replace(html, std::regex("<[^>]*>"), " "), std::regex("&nbsp;| +"), " ");
  }
  // Elements are closed in order, as a parser that is not ours sees it, and nothing refers to another file.
  void expect_whole() const {
    const Outcome run = shell("/usr/bin/python3 -B " SBRKIT_SOURCE_DIR "/tests/pictures/check_page.py sheet.html 2>&1");
    EXPECT_EQ(run.code, 0) << run.out;
  }
};

TEST_F(ProgramSheetTest, ASheetHasTheFiguresOfTheRecord) {
  const std::string html = page(sample("beam_13c"));
  expect_whole();
  const Json want = expected("beam_13c");
  EXPECT_NE(html.find("<h1>Box beam 1000 x 20 x 30, free</h1>"), std::string::npos);
  EXPECT_NE(section(html, "Record").find("mass MEGAGRAM, length MILLIMETER, time SECOND, force NEWTON"),
            std::string::npos);
  EXPECT_NE(section(html, "Record").find("1221"), std::string::npos);
  char mass[32];
  std::snprintf(mass, sizeof mass, "%.8g", want["mass"].get<double>());
  EXPECT_NE(section(html, "Mass properties").find(mass), std::string::npos) << section(html, "Mass properties");
  for (int m = 6; m < 10; ++m) {
    char hz[32];
    std::snprintf(hz, sizeof hz, "%.6g",
                  std::sqrt(want["eigenvalue"][static_cast<std::size_t>(m)].get<double>()) / (2.0 * 3.14159265358979));
    EXPECT_NE(section(html, "Modes").find(std::string(" ") + hz), std::string::npos) << hz;
    EXPECT_NE(html.find("mode " + std::to_string(m + 1) + ": " + hz + " Hz"), std::string::npos) << "in the chart";
  }
  EXPECT_NE(section(html, "Findings of sbr check").find("sound"), std::string::npos);
}

// A free body has all of its mass and inertia in its rigid-body modes, as far as their generalized masses are those of
// the nodal masses. These records have them from a consistent mass matrix: the sums over the nodes of m r x phi,
// squared, come to more than the inertia (worked out from the tables by NumPy: 1.30645, 1.00104, 1.00089
// and 1.00979, 1.00087, 1.00086).
TEST_F(ProgramSheetTest, EffectiveMassesOfAFreeBodyComeToItsMass) {
  const std::map<std::string, std::vector<std::string>> sums = {
      {"beam_13c", {"100.0", "100.0", "100.0", "130.6", "100.1", "100.1"}},
      {"conrod_13c", {"100.0", "100.0", "100.0", "101.0", "100.1", "100.1"}}};
  for (const auto &[name, wanted] : sums) {
    const std::string text = section(page(sample(name)), "Modal effective mass");
    std::smatch found;
    const std::string cell = "([0-9.]+) %\\s+";
    ASSERT_TRUE(std::regex_search(text, found, std::regex("all\\s+" + cell + cell + cell + cell + cell + cell)))
        << text;
    for (std::size_t c = 0; c < 6; ++c) EXPECT_EQ(found[c + 1], wanted[c]) << name << ' ' << c;
    EXPECT_NE(text.find("More than all of it"), std::string::npos) << text;
  }
}

TEST_F(ProgramSheetTest, AModeIsLikeItselfAndPicturesShowElasticModes) {
  const std::string html = page(sample("beam_13c"));
  for (int i = 1; i <= 10; ++i) {
    const std::string pair = std::to_string(i) + ", " + std::to_string(i);
    EXPECT_NE(html.find("fill=\"rgb(8,64,92)\"><title>" + pair + ": 1</title>"), std::string::npos) << pair;
  }
  const Outcome run =
      shell("/usr/bin/python3 -B " SBRKIT_SOURCE_DIR "/tests/pictures/check_page.py sheet.html --pictures 4");
  EXPECT_EQ(run.code, 0) << run.out;
}

TEST_F(ProgramSheetTest, TheLiveViewStandsInAPageOfItsOwnWithinThePage) {
  const Outcome run = sbr("sheet " + sample("beam_13c") + " -o sheet.html", true);
  ASSERT_EQ(run.code, 0) << run.out;
  const std::string html = read_file(scratch.file("sheet.html"));
  if (sbr("view beam_13c.sbr --no-open -o view.html").code != 0) {
    EXPECT_NE(run.out.find("warning: this sbr was built without the viewer"), std::string::npos);
    EXPECT_EQ(html.find("<iframe"), std::string::npos);
    return;
  }
  const std::size_t begin = html.find(" srcdoc=\"");
  ASSERT_NE(begin, std::string::npos);
  std::string inner = html.substr(begin + 9, html.find('"', begin + 9) - begin - 9);
  inner = std::regex_replace(std::regex_replace(inner, std::regex("&quot;"), "\""), std::regex("&amp;"), "&");
  EXPECT_EQ(inner, read_file(scratch.file("view.html"))) << "the page of sbr view, letter for letter";
}

TEST_F(ProgramSheetTest, TextsOfTheRecordAreNoMarkup) {
  RecordBuilder record = full_record(0x13C);
  record.header("<script>alert(1)</script>&\"'", "<b>", "<i>", "<u>", "<!--", "</style>", "<img src=x>");
  const std::string html = page(write(record, "<h1>.sbr").replace(0, 0, "'") + "'");
  expect_whole();
  for (const char *tag : {"<script", "<b>0", "<i>", "<u>", "<!--", "<img src=x", "<h1>."})
    EXPECT_EQ(html.find(tag), std::string::npos) << tag;
  EXPECT_NE(html.find("&lt;script&gt;alert(1)&lt;/script&gt;&amp;&quot;&#39;"), std::string::npos);
}

TEST_F(ProgramSheetTest, BodiesThatLackSomethingHaveASheetThatSaysSo) {
  RecordBuilder one(0x13C);
  std::string html = page(write(one.nodes({{1, {1, 2, 3}}})));
  expect_whole();
  EXPECT_NE(html.find("The record has no modes."), std::string::npos);
  EXPECT_NE(html.find("The record has no mass data."), std::string::npos);
  EXPECT_NE(html.find("it has no elastic modes"), std::string::npos);

  RecordBuilder points(0x13C);
  points.nodes({{1, {0, 0, 0}}, {2, {1, 0, 0}}, {3, {0, 1, 0}}})
      .eigenvalues({{1, 4, 2}, {2, std::nan(""), std::nan("")}});
  std::vector<double> bad(18, 1.0);
  bad[4] = bad[7] = std::nan("");
  points.modes(7, {1, 2, 3}, {{1, std::vector<double>(18, 0.5)}, {2, bad}});
  html = page(write(points));
  expect_whole();
  EXPECT_NE(html.find("&ndash;"), std::string::npos);
  EXPECT_EQ(html.find("nan"), std::string::npos) << html.substr(html.find("nan") - 60, 120);

  RecordBuilder nowhere(0x13C);
  html = page(write(nowhere.nodes({{1, {0, 0, 0}}, {2, {std::nan(""), 0, 0}}}).faces({{0, 1}})));
  expect_whole();
  EXPECT_NE(html.find("No pictures: node 2 has a coordinate that is no finite number"), std::string::npos);
}

TEST_F(ProgramSheetTest, ManyModesAreCutAndThatIsSaid) {
  RecordBuilder record(0x13C);
  std::vector<BuiltEigenvalue> eigenvalues;
  std::vector<BuiltMode> modes;
  for (int m = 1; m <= 55; ++m) {
    eigenvalues.push_back({m, 1.0 * m * m, 0.5 * m});
    std::vector<double> shape(18, 0.0);
    shape[static_cast<std::size_t>(m % 18)] = m;
    modes.push_back({m, shape});
  }
  record.nodes({{1, {0, 0, 0}}, {2, {1, 0, 0}}, {3, {0, 1, 0}}}).faces({{0, 1, 2}});
  const std::string html = page(write(record.eigenvalues(eigenvalues).modes(7, {1, 2, 3}, modes)));
  EXPECT_NE(section(html, "Modes").find("The first 40 of 55 modes"), std::string::npos);
  EXPECT_NE(section(html, "Auto-MAC").find("The first 40 of 55 modes"), std::string::npos);
  EXPECT_NE(html.find("mode 55: 27.5 Hz"), std::string::npos) << "the chart has all";
}

TEST_F(ProgramSheetTest, TwoRecordsAreComparedModeByMode) {
  const std::string beam = sample("beam_13c");
  ASSERT_EQ(sbr("transform " + beam + " moved.sbr --translate 10,0,0").code, 0);
  const std::string html = page("--compare " + beam + " moved.sbr");
  expect_whole();
  EXPECT_NE(html.find("<h1>beam_13c.sbr and moved.sbr</h1>"), std::string::npos);
  const std::string summary = json("diff " + beam + " moved.sbr --json || true")["summary"];
  EXPECT_NE(section(html, "Differences").find(summary.substr(0, summary.find(';'))), std::string::npos) << summary;
  EXPECT_TRUE(std::regex_search(section(html, "Modes matched by shape"),
                                std::regex("10\\s+10\\s+435\\.681\\s+435\\.681\\s+0\\.0 %\\s+1\\s")))
      << section(html, "Modes matched by shape");
  EXPECT_NE(html.find("<title>7, 7: 1</title>"), std::string::npos) << "the cross-MAC";
}

TEST_F(ProgramSheetTest, OnPaperItIsOnePage) {
  const Outcome run = sbr("sheet " + sample("beam_13c") + " -o sheet.pdf", true);
  ASSERT_EQ(run.code, 0) << run.out << "\nChromium has to be installed (scripts/install-packages.sh)";
  const std::string bytes = read_file(scratch.file("sheet.pdf"));
  EXPECT_EQ(bytes.substr(0, 5), "%PDF-");
  const std::regex leaf("/Type */Page[^s]");
  EXPECT_EQ(std::distance(std::sregex_iterator(bytes.begin(), bytes.end(), leaf), std::sregex_iterator()), 1);
}

TEST_F(ProgramSheetTest, WithoutABrowserAPdfIsRefusedAndNothingIsReplaced) {
  const std::string beam = sample("beam_13c");
  write_file(scratch.file("sheet.pdf"), "what was there");
  const Outcome none = shell("PATH=/nowhere CHROMIUM= " SBR_PROGRAM " sheet " + beam + " -o sheet.pdf 2>&1");
  EXPECT_EQ(none.code, 2);
  EXPECT_NE(none.out.find("-o BODY.html"), std::string::npos) << none.out;
  const Outcome failing = shell("CHROMIUM=/bin/false " SBR_PROGRAM " sheet " + beam + " -o sheet.pdf 2>&1");
  EXPECT_EQ(failing.code, 4) << failing.out;
  EXPECT_EQ(read_file(scratch.file("sheet.pdf")), "what was there");
  EXPECT_EQ(files(), (std::vector<std::string>{"beam_13c.sbr", "sheet.pdf"}));
}

// A browser that never comes to an end, and has started another program: the lock stays as long as either lives.
TEST_F(ProgramSheetTest, ASignalEndsTheBrowserAndLeavesNothing) {
  const std::string beam = sample("beam_13c");
  write_file(
      scratch.file("browser"),
      "#!/bin/sh\nexec 9> lock; flock 9\n"
      "for word; do case $word in --user-data-dir=*) mkdir -p ${word#*=}/deep; echo > ${word#*=}/deep/file; esac; "
      "done\nsleep 600 &\necho > started; wait\n");
  for (const auto &[signal, code] : {std::pair{"TERM", "143"}, {"HUP", "129"}}) {
    const Outcome run = shell(std::string("mkdir -p temporary; rm -f started; mkfifo started; chmod +x browser; "
                                          "TMP=$PWD/temporary CHROMIUM=./browser " SBR_PROGRAM " sheet ") +
                              beam + " -o sheet.pdf & read line < started; find temporary -name file | wc -l; kill -" +
                              signal + " $!; wait $!; echo $?; flock -w 60 lock echo ended; ls -A temporary");
    EXPECT_EQ(run.out, std::string("1\n") + code + "\nended\n");
    EXPECT_FALSE(exists("sheet.pdf"));
  }
}

TEST_F(ProgramSheetTest, WrongUseIsTold) {
  const std::string beam = sample("beam_13c");
  EXPECT_EQ(sbr("sheet " + beam).code, 2);
  EXPECT_EQ(sbr("sheet " + beam + " -o " + beam).code, 2);
  EXPECT_EQ(sbr("sheet --compare " + beam + " -o sheet.html").code, 2);
  EXPECT_EQ(sbr("sheet " + beam + " " + beam + " -o sheet.html").code, 2);
  EXPECT_EQ(sbr("sheet absent.sbr -o sheet.html").code, 3);
  EXPECT_EQ(shell("trap '' XFSZ; ulimit -f 20; " SBR_PROGRAM " sheet " + beam + " -o sheet.html 2>&1").code, 4);
  EXPECT_EQ(files(), std::vector<std::string>{beam});
}

}  // namespace
}  // namespace sbrtest
