// `sbr view` from the outside: the page as a file, and what becomes of it when something is wrong. What the page shows
// is tested in a browser (viewer/tests/browser).
#include "page/page.h"
#include "support/program.h"

namespace sbrtest {
namespace {

class ProgramViewTest : public ProgramTest {
 protected:
  void SetUp() override {
    if (!sbrview::has_shell()) GTEST_SKIP() << "built without SBRKIT_BUILD_VIEWER";
  }
  static Json about(const std::string &page) {
    const std::string begin = "<script type=\"application/json\" id=\"sbr-description\">";
    const std::size_t at = page.find(begin) + begin.size();
    return Json::parse(page.substr(at, page.find("</script>", at) - at));
  }
};

using ProgramWithoutViewerTest = ProgramTest;

TEST_F(ProgramWithoutViewerTest, SaysWhichBuildHasIt) {
  if (sbrview::has_shell()) GTEST_SKIP() << "built with SBRKIT_BUILD_VIEWER";
  const Outcome run = sbr("view " + sample("beam_13c") + " --no-open", true);
  EXPECT_EQ(run.code, 4);
  EXPECT_NE(run.out.find("SBRKIT_BUILD_VIEWER"), std::string::npos);
  EXPECT_EQ(files(), std::vector<std::string>{"beam_13c.sbr"});
}

TEST_F(ProgramViewTest, MakesOneFileAndLeavesTheRecordAsItWas) {
  const std::string name = sample("beam_13c");
  const std::string before = read_file(scratch.file(name));
  const Outcome run = sbr("view " + name + " -o page.html --no-open");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("334 nodes, 328 faces, 10 modes"), std::string::npos) << run.out;
  EXPECT_EQ(files(), (std::vector<std::string>{"beam_13c.sbr", "page.html"}));
  EXPECT_EQ(read_file(scratch.file(name)), before);
  const Json page = about(read_file(scratch.file("page.html")));
  EXPECT_EQ(page["bodies"][0]["file"], name);
  EXPECT_NEAR(page["bodies"][0]["mass"]["mass"].get<double>(), expected("beam_13c")["mass"].get<double>(), 1e-15);
  EXPECT_EQ(page["unitSystems"].size(), 8U);
}

TEST_F(ProgramViewTest, NamesThePageAfterTheRecordAndReplacesOnlyItsOwnPages) {
  const std::string name = sample("beam_13c");
  EXPECT_EQ(sbr("view " + name + " --no-open").code, 0);
  EXPECT_EQ(files(), (std::vector<std::string>{"beam_13c.html", "beam_13c.sbr"}));
  EXPECT_EQ(sbr("view " + name + " --no-open").code, 0) << "a page of its own may be made anew";
  write_file(scratch.file("beam_13c.html"), "somebody's own");
  const Outcome run = sbr("view " + name + " --no-open", true);
  EXPECT_EQ(run.code, 2);
  EXPECT_NE(run.out.find("-o"), std::string::npos);
  EXPECT_EQ(read_file(scratch.file("beam_13c.html")), "somebody's own");
}

TEST_F(ProgramViewTest, OpensTheBrowserThatTheUserNames) {
  const std::string name = sample("beam_13c");
  write_file(scratch.file("browser"), "#!/bin/sh\necho \"$1\" > \"" + scratch.file("opened") + "\"\n");
  const Outcome run = shell("chmod +x browser; BROWSER=./browser " SBR_PROGRAM " view " + name + " -o page.html 2>&1");
  EXPECT_EQ(run.code, 0);
  EXPECT_EQ(read_file(scratch.file("opened")), scratch.file("page.html") + "\n");
}

TEST_F(ProgramViewTest, APageWithoutABrowserIsStillAPage) {
  const std::string name = sample("beam_13c");
  const Outcome run = shell("BROWSER=./there-is-none " SBR_PROGRAM " view " + name + " -o page.html 2>&1");
  EXPECT_EQ(run.code, 0);
  EXPECT_NE(run.out.find("no browser could be started; open page.html"), std::string::npos) << run.out;
}

TEST_F(ProgramViewTest, TwoRecordsShareAPageWithTheirModesMatched) {
  const std::string first = sample("beam_13c");
  const std::string second = sample("beam_23c");
  ASSERT_EQ(sbr("view " + first + " " + second + " -o page.html --no-open").code, 0);
  const Json page = about(read_file(scratch.file("page.html")));
  ASSERT_EQ(page["bodies"].size(), 2U);
  ASSERT_EQ(page["match"].size(), 10U);
  for (const Json &match : page["match"]) EXPECT_GT(match["mac"].get<double>(), 0.999);
  EXPECT_EQ(sbr("view " + first + " " + first + " -o same.html --no-open").code, 0) << "one record twice";
}

TEST_F(ProgramViewTest, WhatCannotBeShownLeavesNoPage) {
  write_file(scratch.file("noise.sbr"), "no record");
  write_file(scratch.file("page.html"), "old");
  const std::string name = sample("beam_13c");
  std::string whole = read_file(scratch.file(name));
  write_file(scratch.file("short.sbr"), whole.substr(0, whole.size() / 2));
  EXPECT_EQ(sbr("view noise.sbr -o page.html --no-open").code, 3);
  EXPECT_EQ(sbr("view nothing.sbr -o page.html --no-open").code, 3);
  EXPECT_EQ(sbr("view short.sbr -o page.html --no-open").code, 3);
  EXPECT_EQ(sbr("view " + name + " nothing.sbr -o page.html --no-open").code, 3);
  EXPECT_EQ(sbr("view " + name + " -o " + name + " --no-open").code, 2);
  EXPECT_EQ(sbr("view " + name + " -o . --no-open").code, 2);
  EXPECT_EQ(sbr("view " + name + " -o page.html --no-open --max-nodes 0").code, 2);
  EXPECT_EQ(read_file(scratch.file("page.html")), "old");
  EXPECT_EQ(files(), (std::vector<std::string>{"beam_13c.sbr", "noise.sbr", "page.html", "short.sbr"}));
}

TEST_F(ProgramViewTest, FileNamesAreTextInThePage) {
  sample("beam_13c");
  ASSERT_EQ(shell("mv beam_13c.sbr '<img src=x onerror=alert(1)>.sbr'").code, 0);
  ASSERT_EQ(sbr("view '<img src=x onerror=alert(1)>.sbr' -o page.html --no-open").code, 0);
  const std::string page = read_file(scratch.file("page.html"));
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_EQ(about(page)["bodies"][0]["file"], "<img src=x onerror=alert(1)>.sbr");
}

TEST_F(ProgramViewTest, TheNumberOfNodesCanBeLimited) {
  const std::string name = sample("conrod_13c");
  const Outcome run = sbr("view " + name + " -o page.html --no-open --max-nodes 400");
  EXPECT_EQ(run.code, 0);
  const Json g = about(read_file(scratch.file("page.html")))["bodies"][0]["geometry"];
  EXPECT_TRUE(g["coarsened"]);
  EXPECT_LT(g["nodes"], 931);
  EXPECT_NE(run.out.find("coarsened for display"), std::string::npos);
}

}  // namespace
}  // namespace sbrtest
