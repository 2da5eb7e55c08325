// The data of a page, read back by a decoder of its own and compared with what the body answers.
#include <zlib.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "page/encode.h"
#include "page/fields.h"
#include "page/markup.h"
#include "page/page.h"
#include "support/meshes.h"
#include "support/messages.h"
#include "support/modal_body.h"
#include "support/samples.h"

namespace sbrtest {
namespace {

using Json = nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

Bytes from_base64(const std::string &text) {
  static const std::string kDigits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  Bytes bytes;
  std::uint32_t group = 0;
  int count = 0;
  for (const char c : text) {
    if (c == '=') break;
    group = group << 6U | static_cast<std::uint32_t>(kDigits.find(c));
    if (++count % 4 != 0) continue;
    for (int shift = 16; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(group >> shift));
    group = 0;
  }
  if (count % 4 == 2) bytes.push_back(static_cast<std::uint8_t>(group >> 4U));
  if (count % 4 == 3) {
    bytes.push_back(static_cast<std::uint8_t>(group >> 10U));
    bytes.push_back(static_cast<std::uint8_t>(group >> 2U));
  }
  return bytes;
}

Bytes inflated(const Bytes &deflated) {
  Bytes bytes(1 << 24);
  uLongf length = bytes.size();
  EXPECT_EQ(uncompress(bytes.data(), &length, deflated.data(), deflated.size()), Z_OK);
  bytes.resize(length);
  return bytes;
}

// The page data of bodies. NOLINTNEXTLINE(bugprone-exception-escape): JSON checks itself when it is moved.
struct Page {
  Json about;
  std::map<std::string, std::string> sections;
  std::vector<sbrview::Shown> outcome;
  std::string text;

  [[nodiscard]] Bytes bytes(const std::string &name) const { return inflated(from_base64(sections.at(name))); }

  [[nodiscard]] std::vector<int> ints(const std::string &name) const {
    const Bytes planes = bytes(name);
    const std::size_t n = planes.size() / 4;
    std::vector<int> values;
    std::uint32_t before = 0;
    for (std::size_t i = 0; i < n; ++i) {
      std::uint32_t word = 0;
      for (std::size_t p = 0; p < 4; ++p) word |= static_cast<std::uint32_t>(planes[p * n + i]) << (8 * p);
      before += (word & 1U) != 0 ? ~(word >> 1U) : word >> 1U;
      values.push_back(static_cast<int>(before));
    }
    return values;
  }

  [[nodiscard]] std::vector<float> floats(const std::string &name) const {
    const Bytes planes = bytes(name);
    const std::size_t n = planes.size() / 4;
    std::vector<float> values(n);
    for (std::size_t i = 0; i < n; ++i) {
      std::uint32_t word = 0;
      for (std::size_t p = 0; p < 4; ++p) word |= static_cast<std::uint32_t>(planes[p * n + i]) << (8 * p);
      std::memcpy(&values[i], &word, 4);
    }
    return values;
  }

  // Column c of a field, in steps.
  [[nodiscard]] std::vector<int> steps(const std::string &name, std::size_t rows, std::size_t column) const {
    const Bytes planes = bytes(name);
    const std::size_t n = planes.size() / 2;
    std::vector<int> values;
    std::uint16_t before = 0;
    for (std::size_t i = column * rows; i < (column + 1) * rows; ++i) {
      const auto word = static_cast<std::uint16_t>(planes[i] | planes[n + i] << 8);
      before = static_cast<std::uint16_t>(before + ((word & 1U) != 0 ? ~(word >> 1U) : word >> 1U));
      values.push_back(static_cast<std::int16_t>(before));
    }
    return values;
  }
};

class ViewerPageTest : public LibraryTest {
 protected:
  static Page page_of(const sbrview::Request &request) {
    Page page;
    page.outcome = sbrview::write_data(request, [&](std::string_view piece) { page.text += piece; });
    const std::string opening = "<script type=\"text/plain\" data-sbr=\"";
    for (std::size_t at = 0; (at = page.text.find(opening, at)) != std::string::npos;) {
      const std::size_t name = at + opening.size();
      const std::size_t content = page.text.find("\">", name) + 2;
      at = page.text.find("</script>", content);
      page.sections[page.text.substr(name, content - 2 - name)] = page.text.substr(content, at - content);
    }
    const std::string begin = "<script type=\"application/json\" id=\"sbr-description\">";
    const std::size_t at = page.text.find(begin) + begin.size();
    page.about = Json::parse(page.text.substr(at, page.text.find("</script>", at) - at));
    return page;
  }
  static Page page_of(SBR body, int most_nodes = 100000) {
    sbrview::Request request;
    request.bodies.push_back({body, "body.sbr", std::nullopt});
    request.most_nodes = most_nodes;
    return page_of(request);
  }
  SBR open(const std::string &name) {
    const std::string path = scratch.file(name + ".sbr");
    write_file(path, read_gzip(kSamples + name + ".sbr.gz"));
    return SBR_CreateFromSBR(path.c_str());
  }
  static bool has_note(const Json &body, const std::string &words) {
    for (const auto &note : body["notes"])
      if (note.get<std::string>().find(words) != std::string::npos) return true;
    return false;
  }
  ScratchDirectory scratch;
};

TEST_F(ViewerPageTest, NodesHaveTheIdsPlacesAndMassesOfTheRecord) {
  SBR body = open("conrod_13c");
  const Page page = page_of(body);
  const Json &g = page.about["bodies"][0]["geometry"];
  const auto ids = page.ints(g["ids"]);
  const auto places = page.floats(g["places"]);
  const auto masses = page.floats(g["masses"]);
  const double half = g["halfSize"];
  ASSERT_EQ(ids.size(), g["nodes"].get<std::size_t>());
  ASSERT_EQ(places.size(), 3 * ids.size());
  for (std::size_t i = 0; i < ids.size(); ++i) {
    double mass = 0.0;
    double xyz[3] = {};
    ASSERT_EQ(SBR_NodalMassAndGeometry(body, SBR_NodeIndex(body, ids[i]), &mass, xyz), 1);
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(places[c * ids.size() + i] * half + g["center"][c].get<double>(), xyz[c], 1e-7 * half);
    EXPECT_NEAR(masses[i] * g["heaviest"].get<double>(), mass, 1e-7 * mass);
  }
}

TEST_F(ViewerPageTest, EveryValueOfEveryModeIsWithinHalfAStep) {
  for (const char *name : {"beam_13c", "beam_33c", "beam_010", "conrod_33c"}) {
    SBR body = open(name);
    ASSERT_NE(body, nullptr);
    const Page page = page_of(body);
    const Json &about = page.about["bodies"][0];
    const auto ids = page.ints(about["geometry"]["ids"]);
    ASSERT_EQ(about["modes"].size(), static_cast<std::size_t>(SBR_ModeCount(body)));
    const char *const kinds[] = {"shape", "stress", "strain"};
    int compared = 0;
    for (const Json &mode : about["modes"]) {
      for (int kind = 0; kind < 3; ++kind) {
        if (!mode.contains(kinds[kind])) continue;
        const Json &field = mode[kinds[kind]];
        const Json &about_kind = about["kinds"][kinds[kind]];
        std::vector<int> rows(ids.size());
        for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<int>(i);
        if (about_kind.contains("places")) rows = page.ints(about_kind["places"]);
        std::size_t column = 0;
        for (int part = 0; part < 2; ++part) {
          const double scale = field["scale"][static_cast<std::size_t>(part)];
          const double step = scale / about_kind["steps"][static_cast<std::size_t>(part)].get<double>();
          const bool kept = field["kept"][static_cast<std::size_t>(part)];
          for (int c = 0; c < 3; ++c) {
            const auto steps =
                kept ? page.steps(field["section"], rows.size(), column++) : std::vector<int>(rows.size());
            for (std::size_t i = 0; i < rows.size(); ++i) {
              double want[3] = {};
              const int id = ids[static_cast<std::size_t>(rows[i])];
              ASSERT_EQ(SBR_ModeByNode(body, mode["number"], kind, id, want, part), 1);
              EXPECT_NEAR(steps[i] * step, want[c], 0.500001 * step) << name << " node " << id;
              ++compared;
            }
          }
        }
      }
    }
    EXPECT_GT(compared, 10000) << name;
  }
}

TEST_F(ViewerPageTest, ManyValuesAreRoundedMoreCoarselyTranslationsLast) {
  const auto steps = [](std::int64_t a, std::int64_t b, std::int64_t c) {
    const sbrview::Steps found = sbrview::choose_steps(a, b, c);
    return std::pair(found.translations, found.others);
  };
  EXPECT_EQ(steps(1000, 0, 2000), std::pair(32767, 32767));
  EXPECT_EQ(steps(9000000, 0, 0), std::pair(32767, 32767)) << "100,000 nodes, 30 modes";
  EXPECT_EQ(steps(9000000, 0, 18000000), std::pair(32767, 511)) << "with stress";
  EXPECT_EQ(steps(9000000, 9000000, 18000000), std::pair(32767, 127)) << "and rotations";
  EXPECT_EQ(steps(900000000, 0, 0), std::pair(2047, 127)) << "no finer than it may be, no coarser than this";
}

TEST_F(ViewerPageTest, ModesHaveTheirFrequenciesMassesAndStatistics) {
  SBR body = open("beam_13c");
  const Page page = page_of(body);
  const Json &modes = page.about["bodies"][0]["modes"];
  EXPECT_EQ(page.about["bodies"][0]["rigidModes"], 6);
  for (const Json &mode : modes) {
    double hz = 0.0;
    double mass = 0.0;
    int id = 0;
    double most = 0.0;
    SBR_Eigenvalue(body, mode["number"], nullptr, &hz, nullptr, &mass, nullptr);
    SBR_GetMaxModeDisplacement(body, mode["number"], &id, &most);
    EXPECT_EQ(mode["frequency"], hz);
    EXPECT_EQ(mode["generalizedMass"], mass);
    EXPECT_EQ(mode["statistics"]["displacement"]["node"], id);
    EXPECT_EQ(mode["statistics"]["displacement"]["value"], most);
  }
}

TEST_F(ViewerPageTest, InnerFacesAreLeftOutAndOuterOnesStay) {
  const Page page = page_of(make_body(brick_block(3, 3, 3)));
  const Json &g = page.about["bodies"][0]["geometry"];
  EXPECT_EQ(g["faces"], 54);
  EXPECT_EQ(g["innerFaces"], 6 * 27 - 54);
  EXPECT_EQ(g["nodes"], 56) << "the eight nodes inside are not needed";
  const auto ids = page.ints(g["ids"]);
  const auto words = page.ints(g["faceList"]);
  ASSERT_EQ(words.size(), 5U * 54);
  for (std::size_t at = 0; at < words.size(); at += 5) {
    EXPECT_EQ(words[at], 4);
    for (std::size_t k = 1; k < 5; ++k) EXPECT_LT(static_cast<std::size_t>(words[at + k]), ids.size());
  }
}

TEST_F(ViewerPageTest, AShellWithFacesOnBothSidesKeepsThem) {
  Surface grid = flat_grid(2, 2);
  const auto front = grid.faces;
  for (auto face : front) {
    std::reverse(face.begin(), face.end());
    grid.faces.push_back(face);
  }
  const Page page = page_of(make_body(grid));
  EXPECT_EQ(page.about["bodies"][0]["geometry"]["faces"], 8);
  EXPECT_TRUE(has_note(page.about["bodies"][0], "from each side"));
}

TEST_F(ViewerPageTest, ALargerSurfaceIsCoarsenedByTheLibraryAndThePageSaysSo) {
  SBR body = make_body(flat_grid(80, 80));
  const Page page = page_of(body, 1500);
  const Json &about = page.about["bodies"][0];
  EXPECT_TRUE(about["geometry"]["coarsened"]);
  EXPECT_EQ(about["geometry"]["surfaceNodes"], 81 * 81);
  EXPECT_LE(about["geometry"]["nodes"], 1500);
  EXPECT_GT(about["geometry"]["nodes"], 100);
  EXPECT_TRUE(has_note(about, "coarsened for display"));
  // What is left covers the same area.
  const auto words = page.ints(about["geometry"]["faceList"]);
  const auto places = page.floats(about["geometry"]["places"]);
  const std::size_t n = about["geometry"]["nodes"];
  double area = 0.0;
  for (std::size_t at = 0; at < words.size(); at += static_cast<std::size_t>(words[at]) + 1)
    for (int k = 0; k < words[at]; ++k) {
      const auto a = static_cast<std::size_t>(words[at + 1 + static_cast<std::size_t>(k)]);
      const auto b = static_cast<std::size_t>(words[at + 1 + static_cast<std::size_t>((k + 1) % words[at])]);
      area += 0.5 * (places[a] * places[n + b] - places[b] * places[n + a]);
    }
  const double half = about["geometry"]["halfSize"];
  EXPECT_NEAR(std::fabs(area) * half * half, 6400.0, 1.0);
}

TEST_F(ViewerPageTest, ABodyWithoutFacesIsDrawnAsPoints) {
  SBR body = make_modal_body(50, 2);
  const Json about = page_of(body).about["bodies"][0];
  EXPECT_EQ(about["geometry"]["nodes"], 50);
  EXPECT_EQ(about["geometry"]["faces"], 0);
  EXPECT_TRUE(has_note(about, "no faces"));
  const Json few = page_of(body, 10).about["bodies"][0];
  EXPECT_EQ(few["geometry"]["nodes"], 10);
  EXPECT_TRUE(has_note(few, "One node in 5"));
}

TEST_F(ViewerPageTest, BodiesOfOneNodeOrNoneOrWithoutModesMakePages) {
  const Json one = page_of(make_modal_body(1, 1)).about["bodies"][0];
  EXPECT_EQ(one["geometry"]["nodes"], 1);
  EXPECT_FALSE(one["geometry"]["hasExtent"]);
  EXPECT_EQ(one["geometry"]["halfSize"], 1.0);
  const Json none = page_of(SBR_Create(0, 0)).about["bodies"][0];
  EXPECT_EQ(none["geometry"]["nodes"], 0);
  EXPECT_TRUE(none["modes"].empty());
  const Json still = page_of(make_body(flat_grid(2, 2))).about["bodies"][0];
  EXPECT_EQ(still["geometry"]["nodes"], 9);
  EXPECT_TRUE(still["modes"].empty());
}

TEST_F(ViewerPageTest, ABodyWithAllNodesInOnePlaceHasNoExtent) {
  SBR body = SBR_Create(3, 1);
  for (int id = 1; id <= 3; ++id) SBR_SetNodeCoordinates(body, id, 7.0, 8.0, 9.0);
  SBR_SetFace(body, 3, 1, 2, 3);
  const Page page = page_of(body);
  const Json &g = page.about["bodies"][0]["geometry"];
  EXPECT_FALSE(g["hasExtent"]);
  EXPECT_EQ(g["center"], Json::array({7.0, 8.0, 9.0}));
  for (const float place : page.floats(g["places"])) EXPECT_EQ(place, 0.0F);
}

TEST_F(ViewerPageTest, PlacesAtTheEndsOfTheNumbersAreFinite) {
  constexpr double kEnd = std::numeric_limits<double>::max();
  SBR body = SBR_Create(3, 1);
  SBR_SetNodeCoordinates(body, 1, -kEnd, -kEnd, -kEnd);
  SBR_SetNodeCoordinates(body, 2, kEnd, kEnd, kEnd);
  SBR_SetNodeCoordinates(body, 3, kEnd, 0.0, -kEnd);
  const Page page = page_of(body);
  const Json &g = page.about["bodies"][0]["geometry"];
  const auto ids = page.ints(g["ids"]);
  const auto places = page.floats(g["places"]);
  ASSERT_EQ(ids.size(), 3U);
  const double half = g["halfSize"];
  const std::array<std::array<double, 3>, 3> wanted = {{{-1, -1, -1}, {1, 1, 1}, {1, 0, -1}}};
  for (std::size_t i = 0; i < ids.size(); ++i)
    for (std::size_t c = 0; c < 3; ++c)
      EXPECT_NEAR(places[c * 3 + i] * (half / kEnd), wanted[static_cast<std::size_t>(ids[i] - 1)][c], 1e-6);
}

TEST_F(ViewerPageTest, NodesWhosePlaceIsNoNumberGoWithTheirFaces) {
  SBR body = make_body(flat_grid(3, 3));
  SBR_SetNodeCoordinates(body, mesh_id(0), std::nan(""), 0.0, 0.0);
  SBR_SetNodeCoordinates(body, mesh_id(15), std::numeric_limits<double>::infinity(), 0.0, 0.0);
  const Json about = page_of(body).about["bodies"][0];
  EXPECT_EQ(about["geometry"]["faces"], 7);
  EXPECT_EQ(about["geometry"]["nodes"], 14);
  EXPECT_TRUE(has_note(about, "2 nodes are left out"));
  EXPECT_TRUE(has_note(about, "2 faces are left out"));
}

TEST_F(ViewerPageTest, ValuesThatAreNoNumbersAreMarkedAndTold) {
  SBR body = make_modal_body(4, 2);
  double six[6] = {std::nan(""), 1.0, std::numeric_limits<double>::infinity(), 0.0, 0.0, 0.0};
  SBR_SetModeVec(body, 1, 2, 0, six);
  const Page page = page_of(body);
  const Json &about = page.about["bodies"][0];
  const Json &field = about["modes"][0]["shape"];
  const auto ids = page.ints(about["geometry"]["ids"]);
  const auto row = static_cast<std::size_t>(std::find(ids.begin(), ids.end(), 2) - ids.begin());
  EXPECT_EQ(page.steps(field["section"], 4, 0)[row], sbrview::kNoNumber);
  EXPECT_NE(page.steps(field["section"], 4, 1)[row], sbrview::kNoNumber);
  EXPECT_EQ(page.steps(field["section"], 4, 2)[row], sbrview::kNoNumber);
  EXPECT_LE(field["scale"][0].get<double>(), 1.0) << "the infinite value does not count";
  EXPECT_TRUE(has_note(about, "are no numbers"));
}

TEST_F(ViewerPageTest, FacesThatNameNodesOfNoTableAreLeftOut) {
  SBR body = make_body(flat_grid(2, 2));
  set_face_words(body, 4, {4, 0, 1, 4, 3, 4, 1, 2, 99, 4, 3, -5, 4, 6, 900, 1, 2});
  const Json about = page_of(body).about["bodies"][0];
  EXPECT_EQ(about["geometry"]["faces"], 1);
  EXPECT_TRUE(has_note(about, "2 faces are left out") || has_note(about, "3 faces are left out"));
}

TEST_F(ViewerPageTest, MoreModesThanAPageHoldsAreLeftOutAndTold) {
  sbrview::Request request;
  request.bodies.push_back({make_modal_body(10, 20), "many.sbr", std::nullopt});
  request.most_values = 50;
  const Page page = page_of(request);
  EXPECT_EQ(page.about["bodies"][0]["modes"].size(), 5U);
  EXPECT_TRUE(has_note(page.about["bodies"][0], "first 5 of 20 modes"));
}

TEST_F(ViewerPageTest, NoTextOfARecordLeavesItsElement) {
  SBR body = make_modal_body(2, 1);
  char title[] = "</script><img src=x onerror=alert(1)>";
  char comment[] = "<!--<script>";
  char empty[] = "";
  SBR_SetHeader(body, title, empty, empty, comment, empty, empty);
  sbrview::Request request;
  request.bodies.push_back({body, "</title><b>.sbr", std::nullopt});
  const Page page = page_of(request);
  EXPECT_EQ(page.about["bodies"][0]["title"], title);
  EXPECT_EQ(page.about["bodies"][0]["comments"][0], comment);
  EXPECT_EQ(page.text.find("<img"), std::string::npos);
  EXPECT_EQ(page.text.find("<!--"), std::string::npos);
  EXPECT_EQ(page.text.find("</title>"), std::string::npos);
}

TEST_F(ViewerPageTest, TextsBecomeUtf8) {
  EXPECT_EQ(sbrview::readable("M\xc3\xbcller"), "M\xc3\xbcller");
  EXPECT_EQ(sbrview::readable("M\xfcller"), "M\xc3\xbcller") << "taken for Latin-1";
  EXPECT_EQ(sbrview::readable("a\tb\x01"), "a b ");
  EXPECT_EQ(sbrview::readable("\xe2\x82\xac \xe2\x82"), "\xe2\x82\xac \xc3\xa2\xc2\x82") << "cut short";
  EXPECT_EQ(sbrview::readable("\xed\xa0\x80"), "\xc3\xad\xc2\xa0\xc2\x80") << "no surrogates";
  EXPECT_EQ(sbrview::readable("\xf0\x9f\x99\x82"), "\xf0\x9f\x99\x82");
  EXPECT_EQ(sbrview::escaped("<a href='x'>\"&\""), "&lt;a href=&#39;x&#39;&gt;&quot;&amp;&quot;");
}

TEST_F(ViewerPageTest, UnitsComeWithTheirMultipliers) {
  sbrview::Request request;
  request.bodies.push_back({open("beam_13c"), "beam.sbr", std::nullopt});
  request.units.push_back({"in", {"SLINCH", "INCH", "SECOND", "POUND_FORCE"}});
  request.units.push_back({"odd", {"STONE", "INCH", "SECOND", "POUND_FORCE"}});
  const Json about = page_of(request).about;
  EXPECT_EQ(about["bodies"][0]["units"]["multipliers"], Json::array({1000.0, 1e-3, 1.0, 1.0}));
  EXPECT_EQ(about["unitSystems"][0]["multipliers"][1], 0.0254);
  EXPECT_TRUE(about["unitSystems"][1]["multipliers"][0].is_null());
}

TEST_F(ViewerPageTest, AMonitorPointStandsAtTheNodeThatMovesLikeIt) {
  SBR body = make_modal_body(6, 3);
  const double origin[3] = {};
  SBR_SetMonitorPointInfo(body, 1, 1, 123, 0, origin, "TIP", "the tip");
  SBR_SetMonitorPointInfo(body, 1, 1, 123, 0, origin, "NONE", "nowhere");
  SBR_SetMonitorPointInfo(body, 1, 1, 3, 0, origin, "ONE", "one component");
  std::vector<double> matrix(9);
  for (int axis = 0; axis < 3; ++axis)
    for (int mode = 0; mode < 3; ++mode) matrix[static_cast<std::size_t>(3 * axis + mode)] = mode_value(mode, 4, axis);
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 0, 1, matrix.data()), 0);
  std::vector<double> other = matrix;
  other[5] += 0.01;
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 1, 1, other.data()), 0);
  ASSERT_EQ(SBR_SetMonitorPointOperator(body, 2, 1, matrix.data() + 6), 0);
  const Page page = page_of(body);
  const Json &about = page.about["bodies"][0];
  const auto ids = page.ints(about["geometry"]["ids"]);
  EXPECT_EQ(ids[about["monitorPoints"][0]["node"].get<std::size_t>()], 5);
  EXPECT_FALSE(about["monitorPoints"][1].contains("node"));
  EXPECT_FALSE(about["monitorPoints"][2].contains("node"));
}

TEST_F(ViewerPageTest, AWholePageStandsForItselfAndNamesNoOther) {
  sbrview::Request request;
  request.bodies.push_back({make_modal_body(3, 1), "<i>.sbr", std::nullopt});
  std::string text;
  const auto write = [&] { sbrview::write_page(request, [&](std::string_view piece) { text += piece; }); };
  if (!sbrview::has_shell()) {
    EXPECT_THROW(write(), std::runtime_error);
    EXPECT_EQ(text, "");
    return;
  }
  write();
  EXPECT_EQ(text.rfind(sbrview::kFirstWords, 0), 0U);
  EXPECT_NE(text.find("default-src 'none'"), std::string::npos);
  EXPECT_NE(text.find("<title>&lt;i&gt;.sbr</title>"), std::string::npos);
  for (const char *outside : {"<link", "<script src", "@import", "url(http", "<img", "<iframe"})
    EXPECT_EQ(text.find(outside), std::string::npos) << outside;
}

}  // namespace
}  // namespace sbrtest
