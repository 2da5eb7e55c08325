// sbr sheet: one page on a body that an engineer files, or on what two bodies have in common.
#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <functional>
#include <iostream>

#include "browser.h"
#include "check.h"
#include "diff.h"
#include "effectivemass.h"
#include "exportbody.h"
#include "givenarray.h"
#include "massproperties.h"
#include "output.h"
#include "page/page.h"
#include "sheetparts.h"
#include "sheetpicture.h"
#include "viewrequest.h"

namespace sbrtool {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostRows = 40;     // modes that tables and charts of pairs show
constexpr std::size_t kMostPictures = 6;  // small pictures
constexpr int kPictureWidth = 480;
constexpr int kPictureHeight = 300;

struct SheetOptions {
  std::vector<std::string> files;
  std::string output;
  bool compare = false;
  bool no_view = false;
};

// ---- one body ------------------------------------------------------------------------------------------------------

std::string name_of(const std::string &file) { return clean(fs::path(file).filename().string()); }

std::string header_texts(SBR body, const std::string &file) {
  char title[129] = {};
  char date[33] = {};
  char input[129] = {};
  char type[17] = {};
  char comments[3][81] = {};
  SBR_Header(body, title, date, input, type, comments[0], comments[1], comments[2]);
  const auto text = [](const char *given) {
    std::string shown = clean(given);
    shown.erase(shown.find_last_not_of(' ') + 1);
    return escaped(shown);
  };
  int faces = 0;
  SBR_FaceListSize(body, &faces, nullptr);
  int interfaces = 0;
  const Given<int> nodes = given_array(SBR_InterfaceNodes(body, &interfaces), interfaces);
  const UnitLabels units(body);
  return html_pairs(
      {{"File", escaped(name_of(file))},
       {"Title", text(title)},
       {"Date", text(date)},
       {"Made from", text(input) + (text(type).empty() ? "" : " (" + text(type) + ")")},
       {"Comments", text(comments[0]) + (text(comments[1]).empty() ? "" : "<br>" + text(comments[1])) +
                        (text(comments[2]).empty() ? "" : "<br>" + text(comments[2]))},
       {"Units", escaped(units.all())},
       {"Format", "version " + brief(SBR_Version(body) / 10.0) + ", " +
                      (SBR_Double_Prec(body) != 0 ? "double" : "single") + " precision"},
       {"Nodes", std::to_string(SBR_NodeCount(body)) + ", " + std::to_string(interfaces) + " of them interface nodes"},
       {"Faces", std::to_string(faces)},
       {"Modes", std::to_string(SBR_ModeCount(body)) + ", " + std::to_string(SBR_RigidBodyModeCount(body)) +
                     " of them rigid-body modes"},
       {"Stress, strain at",
        std::to_string(SBR_ModeNodeCount(body, 1)) + ", " + std::to_string(SBR_ModeNodeCount(body, 2)) + " nodes"}});
}

std::string mass_texts(SBR body) {
  if (!has_mass_data(body)) return "<p class=\"note\">The record has no mass data.</p>\n";
  const MassProperties mass = mass_properties(body);
  if (!mass.inertia.allFinite() || !mass.center.allFinite() || !std::isfinite(mass.mass))
    return "<p class=\"error\">The mass properties are no finite numbers.</p>\n";
  const UnitLabels units(body);
  const PrincipalAxes principal = principal_axes(mass);
  std::string html = html_pairs({{"Mass", brief(mass.mass, 8) + " " + escaped(units.mass)},
                                 {"Center of mass", brief(mass.center.x(), 7) + ", " + brief(mass.center.y(), 7) +
                                                        ", " + brief(mass.center.z(), 7) + " " + escaped(units.length)},
                                 {"From", escaped(mass.source)}});
  std::vector<std::vector<std::string>> rows;
  for (Eigen::Index i = 0; i < 3; ++i)
    rows.push_back({brief(principal.moments[i], 7), brief(principal.axes(i, 0), 4), brief(principal.axes(i, 1), 4),
                    brief(principal.axes(i, 2), 4)});
  return html + html_table({"Principal moment [" + escaped(units.mass_length2()) + "]", "x", "y", "z"}, rows);
}

// The largest value of a mode; no number where the record has none.
double largest(SBR body, int number, int kind, int (*get)(SBR, int, int *, double *)) {
  double value = std::nan("");
  if (SBR_ModeExist(body, kind) == 0 || SBR_ModeNodeCount(body, kind) < 1) return value;
  return get(body, number, nullptr, &value) != 0 ? value : std::nan("");
}

std::string cut_short(std::size_t modes) {
  return modes <= kMostRows ? ""
                            : "<p class=\"note\">The first " + std::to_string(kMostRows) + " of " +
                                  std::to_string(modes) + " modes; 'sbr modes' lists all.</p>\n";
}

std::string mode_table(SBR body, const std::vector<ModeFacts> &modes) {
  if (modes.empty()) return "<p class=\"note\">The record has no modes.</p>\n";
  const UnitLabels units(body);
  std::vector<std::vector<std::string>> rows;
  for (const ModeFacts &mode : modes) {
    if (rows.size() == kMostRows) break;
    rows.push_back({std::to_string(mode.number), figure(mode.hz), figure(mode.eigenvalue), figure(mode.mass),
                    figure(largest(body, mode.number, 0, SBR_GetMaxModeDisplacement), 5),
                    figure(largest(body, mode.number, 1, SBR_GetMaxVonMisesStress), 5)});
  }
  return html_table({"Mode", "Hz", "Eigenvalue", "Gen.&nbsp;mass", "Largest disp. [" + escaped(units.length) + "]",
                     "Von Mises [" + escaped(units.stress()) + "]"},
                    rows) +
         cut_short(modes.size());
}

// The sums of a sound body come to no more than all of it.
std::string more_than_all(const std::array<double, 6> &sums) {
  if (std::none_of(sums.begin(), sums.end(), [](double sum) { return sum > 1.005; })) return "";
  return "<p class=\"warning\">More than all of it: the generalized masses come from another mass matrix than the "
         "nodal "
         "masses.</p>\n";
}

std::string effective_table(SBR body) {
  const char *const nothing =
      "<p class=\"note\">Not known: it needs modes, nodal masses or invariants 3 and 4, and a mass."
      "</p>\n";
  if (!has_mass_data(body)) return nothing;
  const std::vector<EffectiveMass> masses = effective_masses(body, mass_properties(body));
  if (masses.empty()) return nothing;
  std::vector<std::vector<std::string>> rows;
  std::array<double, 6> sums{};
  for (const EffectiveMass &mode : masses) {
    std::vector<std::string> row = {std::to_string(mode.number)};
    for (std::size_t c = 0; c < 6; ++c) {
      row.push_back(percent(mode.parts[c]));
      sums[c] += mode.parts[c];
    }
    if (rows.size() < kMostRows) rows.push_back(row);
  }
  std::vector<std::string> total = {"<b>all</b>"};
  for (const double sum : sums) total.push_back("<b>" + percent(sum) + "</b>");
  rows.push_back(total);
  return html_table({"Mode", "x", "y", "z", "about x", "about y", "about z"}, rows) +
         "<p class=\"note\">Parts of the mass, and of the inertia about the center of mass.</p>\n" +
         more_than_all(sums) + cut_short(masses.size());
}

std::string mac_of(SBR a, SBR b, std::vector<ModeFacts> rows, std::vector<ModeFacts> columns) {
  const std::size_t modes = std::max(rows.size(), columns.size());
  MacTable table = mac_table(a, b);
  rows.resize(std::min(rows.size(), kMostRows));
  columns.resize(std::min(columns.size(), kMostRows));
  std::string html = mac_chart(table, rows, columns);
  if (!table.values.empty())
    html += "<p class=\"note\">From 0 (white) to 1 (dark), from the translations at " + std::to_string(table.nodes) +
            " common nodes.</p>\n";
  return html + cut_short(modes);
}

std::string findings(SBR body, const std::string &file) {
  std::vector<std::vector<std::string>> rows;
  int good = 0;
  int worst = 0;
  for (const Finding &one : findings_of(body, file, std::nullopt)) {
    worst = std::max(worst, static_cast<int>(one.level));
    if (one.level == Level::good) {
      ++good;
      continue;
    }
    if (one.level == Level::note) continue;
    rows.push_back({std::string("<span class=\"") + word_of(one.level) + "\">" + word_of(one.level) + "</span>",
                    escaped(one.subject) + ", " + escaped(one.what) + ": " +
                        (std::isfinite(one.figure) ? brief(one.figure, 4) : "no number") +
                        (one.place.empty() ? "" : " (" + escaped(one.place) + ")") + ". " + escaped(one.meaning)});
  }
  const char *verdict = worst == static_cast<int>(Level::error) ? "<span class=\"error\">not sound</span>"
                        : worst == static_cast<int>(Level::warning)
                            ? "<span class=\"warning\">sound, with warnings</span>"
                            : "<span class=\"ok\">sound</span>";
  return std::string("<p class=\"verdict\">") + verdict + "</p>\n" +
         (rows.empty() ? "" : html_table({"<", "<"}, rows)) + "<p class=\"note\">" + std::to_string(good) +
         " checks found nothing; 'sbr check' lists all figures.</p>\n";
}

// The first elastic modes. A body that cannot be drawn says why.
std::string pictures(SBR body, const std::vector<ModeFacts> &modes) {
  try {
    const Geometry geometry = geometry_of(body);
    const std::vector<int> places = nodes_of_kind(body, geometry, 0);
    const std::size_t first = first_elastic_mode(body);
    std::string html;
    if (places.empty() || first >= modes.size())
      return "<div class=\"pictures\">\n" +
             html_picture(picture_of(geometry, {}, kPictureWidth, kPictureHeight), kPictureWidth, kPictureHeight,
                          "the body: it has no elastic modes") +
             "</div>\n";
    for (std::size_t m = first; m < std::min(modes.size(), first + kMostPictures); ++m) {
      const std::vector<double> shape = part_of_mode(body, modes[m].number, 0, 0, places, geometry.nodes());
      html += html_picture(picture_of(geometry, shape, kPictureWidth, kPictureHeight), kPictureWidth, kPictureHeight,
                           "mode " + std::to_string(modes[m].number) +
                               (std::isfinite(modes[m].hz) ? ", " + brief(modes[m].hz) + " Hz" : ""));
    }
    return "<div class=\"pictures\">\n" + html + "</div>\n";
  } catch (const Failure &failure) {
    return "<p class=\"warning\">No pictures: " + escaped(failure.what()) + "</p>\n";
  }
}

std::string sheet_of(SBR body, const std::string &file) {
  const std::vector<ModeFacts> modes = facts_of_modes(body);
  // What is drawn stands before what is checked: checking may change the faces of the handle.
  std::string html = "<div class=\"columns\">\n" + html_section("Record", header_texts(body, file)) +
                     html_section("Mass properties", mass_texts(body)) + "</div>\n" +
                     html_section("First elastic modes", pictures(body, modes)) + "<div class=\"columns\">\n<div>" +
                     html_section("Modes", mode_table(body, modes), "long") +
                     html_section("Frequencies [Hz]", frequency_chart(modes)) + "</div>\n<div>" +
                     html_section("Modal effective mass", effective_table(body), "long") +
                     html_section("Auto-MAC", mac_of(body, body, modes, modes)) + "</div>\n</div>\n";
  return html + html_section("Findings of sbr check", findings(body, file), "long");
}

// ---- two bodies ----------------------------------------------------------------------------------------------------

std::string matched_modes(SBR a, SBR b, const DiffOutcome &outcome) {
  std::vector<std::vector<std::string>> rows;
  for (const MatchedMode &mode : outcome.match.modes) {
    if (rows.size() == kMostRows) break;
    const ModeFacts second = facts_of_mode(b, SBR_ModeNumber(b, mode.b));
    std::string partner;
    double hz = std::nan("");
    if (mode.alone()) {
      const ModeFacts first = facts_of_mode(a, SBR_ModeNumber(a, mode.parts[0].first));
      partner = std::to_string(first.number) + (mode.parts[0].second < 0.0 ? " (other sign)" : "");
      hz = first.hz;
    } else {
      partner = "a mixture of " + std::to_string(mode.parts.size());
    }
    rows.push_back({std::to_string(second.number), partner, figure(hz), figure(second.hz),
                    percent(hz == 0.0 ? std::nan("") : second.hz / hz - 1.0), figure(mode.mac, 4)});
  }
  if (rows.empty()) return "<p class=\"note\">No modes are alike.</p>\n";
  return html_table({"Mode of B", "<Mode of A", "Hz of A", "Hz of B", "Change", "MAC"}, rows) +
         cut_short(outcome.match.modes.size());
}

std::string differences(const DiffOutcome &outcome) {
  std::vector<std::vector<std::string>> rows;
  for (const Block &block : outcome.blocks)
    rows.push_back({escaped(block.name()),
                    std::string("<span class=\"") + (block.same() ? "ok" : "warning") + "\">" +
                        escaped(block.verdict()) + "</span>",
                    brief(block.tolerance(), 2), figure(block.largest(), 2), escaped(block.worst())});
  return "<p class=\"verdict\">" + escaped(summary_of(outcome)) + "</p>\n" +
         html_table({"<Block", "<Result", "Tolerance", "Largest difference", "<Worst place"}, rows);
}

std::string sheet_of_two(SBR a, SBR b, const std::vector<std::string> &files) {
  const Tolerances tolerances(false, SBR_Double_Prec(a) == 0 || SBR_Double_Prec(b) == 0);
  const DiffOutcome outcome = compare_records(a, b, tolerances);
  const std::vector<ModeFacts> first = facts_of_modes(a);
  const std::vector<ModeFacts> second = facts_of_modes(b);
  std::string unmatched;
  for (const std::string &line : outcome.match.unmatched)
    unmatched += "<p class=\"warning\">" + escaped(line) + "</p>\n";
  return "<div class=\"columns\">\n" + html_section("A", header_texts(a, files[0])) +
         html_section("B", header_texts(b, files[1])) + html_section("Mass properties of A", mass_texts(a)) +
         html_section("Mass properties of B", mass_texts(b)) + "</div>\n" +
         html_section("Differences", differences(outcome), "long") + "<div class=\"columns\">\n" +
         html_section("Modes matched by shape", matched_modes(a, b, outcome) + unmatched, "long") +
         html_section("Cross-MAC: A down, B across", mac_of(a, b, first, second)) + "</div>\n" +
         html_section("First elastic modes of A", pictures(a, first)) +
         html_section("First elastic modes of B", pictures(b, second));
}

// ---- the page ------------------------------------------------------------------------------------------------------

std::string head_of(const std::string &title) {
  return "<!doctype html>\n<html lang=\"en\" data-made-by=\"sbr sheet\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src 'unsafe-inline'; "
         "style-src 'unsafe-inline'; img-src data: blob:; media-src blob:; frame-src 'self'\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"referrer\" content=\"no-referrer\">\n<title>" +
         title + "</title>\n<style>" + kSheetStyle + "</style>\n</head>\n<body>\n<main>\n";
}

using Send = std::function<void(std::string_view)>;

// The view as a page within the page, so that the two do not meddle with each other.
void send_view(const std::vector<std::string> &files, const std::vector<Body> &bodies, const Send &send) {
  send("<section class=\"screen\"><h2>Live view</h2>\n<iframe title=\"Live view of the modes\" srcdoc=\"");
  sbrview::write_page(view_request(files, bodies, kUsualMostNodes), [&](std::string_view piece) {
    std::string quoted;
    for (const char c : piece) {
      if (c == '&')
        quoted += "&amp;";
      else if (c == '"')
        quoted += "&quot;";
      else
        quoted += c;
    }
    send(quoted);
  });
  send("\"></iframe></section>\n");
}

void send_sheet(const SheetOptions &options, const std::vector<Body> &bodies, bool live, const Send &send) {
  std::string title;
  for (const std::string &file : options.files) title += (title.empty() ? "" : " and ") + escaped(name_of(file));
  const std::string heading = bodies.size() == 2 ? title : escaped(title_of(bodies[0].get()));
  send(head_of(title));
  send("<header><h1>" + (heading.empty() ? title : heading) + "</h1><p>" +
       (bodies.size() == 2 ? "Comparison of two flexible bodies" : "Flexible body " + title) + "</p></header>\n");
  send(bodies.size() == 2 ? sheet_of_two(bodies[0].get(), bodies[1].get(), options.files)
                          : sheet_of(bodies[0].get(), options.files[0]));
  if (live) send_view(options.files, bodies, send);
  send("<footer>Made by sbr " SBR_PROGRAM_VERSION " from " + title + "</footer>\n</main>\n</body>\n</html>\n");
}

bool is_pdf(const fs::path &target) { return target.extension() == ".pdf" || target.extension() == ".PDF"; }

void require_good_names(const SheetOptions &options) {
  if (options.compare != (options.files.size() == 2))
    throw Failure(kUsage, options.compare ? "--compare takes two records"
                                          : "one record makes a sheet; --compare makes one of two");
  for (const std::string &file : options.files) require_other_file(file, options.output, "record");
}

void make_sheet(const SheetOptions &options) {
  require_good_names(options);
  const bool pdf = is_pdf(options.output);
  const std::string chromium = pdf ? find_chromium() : "";
  if (pdf && chromium.empty())
    throw Failure(kUsage,
                  "a PDF needs Chromium, which is not there: install it, or write a page with -o BODY.html and "
                  "print it from a browser");
  std::vector<Body> bodies;
  for (const std::string &file : options.files) bodies.push_back(open_record(file));
  const bool live = !pdf && !options.no_view && sbrview::has_shell();
  if (!live && !pdf && !options.no_view)
    std::cerr << "warning: this sbr was built without the viewer (SBRKIT_BUILD_VIEWER): the sheet has no live view\n";
  const int errors_before = reported_errors();
  OutputFile file(options.output);
  const auto put = [&](std::string_view piece) {
    if (std::fwrite(piece.data(), 1, piece.size(), file.stream()) != piece.size())
      throw Failure(kFailed, options.output + ": cannot be written: " + std::strerror(errno));
  };
  if (pdf) {
    std::string page;
    send_sheet(options, bodies, live, [&](std::string_view piece) { page += piece; });
    put(printed_as_pdf(chromium, page));
  } else {
    send_sheet(options, bodies, live, put);
  }
  if (reported_errors() != errors_before)
    throw Failure(kUnreadable,
                  "what the library reported above would make the sheet wrong: none was made; 'sbr check' "
                  "tells more of the record");
  file.commit();
  std::cout << "sheet " << options.output << '\n';
}

}  // namespace

void add_sheet_commands(CLI::App &app, int &exit_code) {
  (void)exit_code;
  const auto options = std::make_shared<SheetOptions>();
  CLI::App *command = app.add_subcommand("sheet", "Make a page on a record to be filed, or on two records compared");
  command->add_option("FILE", options->files, "The record; with --compare two of them")->required()->expected(1, 2);
  command->add_option("-o,--output", options->output, "The page: HTML, or PDF for a name that ends with .pdf")
      ->required()
      ->type_name("PAGE");
  command->add_flag("--compare", options->compare, "Compare two records");
  command->add_flag("--no-view", options->no_view, "Leave the live view out");
  command->callback([options] { make_sheet(*options); });
}

}  // namespace sbrtool
