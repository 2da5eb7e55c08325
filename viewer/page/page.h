// The page that shows bodies: one HTML file without any reference to another.
//
// A page is a shell (the program of the page and its styles, made from viewer/src and built into the library), and
// data: sections of packed numbers, and one description in JSON that says what they are. This library makes both from
// bodies through the public operations; it writes as it reads, so that memory is bounded by the nodes of a body.
//
// Where the build was made without the viewer (SBRKIT_BUILD_VIEWER), there is no shell: has_shell() says so, and
// write_page() throws.
#ifndef SBRKIT_VIEWER_PAGE_PAGE_H
#define SBRKIT_VIEWER_PAGE_PAGE_H

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sbrkit/sbrkit.h"

namespace sbrview {

// Mass properties in the units of the body, about the center of mass.
struct MassProperties {
  double mass = 0.0;
  std::array<double, 3> center{};
  std::array<double, 3> moments{};              // principal ones, ascending
  std::array<std::array<double, 3>, 3> axes{};  // of unit length, one for each moment
  std::string source;                           // where they come from, in words
};

// A body to show. The handle stays the caller's; its face list is stripped and may be coarsened (surface.h).
struct ShownBody {
  SBR body = nullptr;
  std::string file;  // the name that readers know it by
  std::optional<MassProperties> mass;
};

// A unit system that the page offers.
struct NamedUnits {
  std::string name;
  std::array<std::string, 4> labels;  // mass, length, time, force
};

// A mode of the second body as a mixture of modes of the first, by mode index.
struct MatchedModes {
  int second = 0;
  std::vector<std::pair<int, double>> parts;
  double mac = 0.0;
};

struct Request {
  std::vector<ShownBody> bodies;  // one, or two side by side
  std::vector<MatchedModes> match;
  std::vector<NamedUnits> units;
  int most_nodes = 100000;             // a larger surface is coarsened
  std::int64_t most_values = 6000000;  // nodes times modes of a body; modes beyond are left out, and the page says so
  std::string maker;                   // program and version
};

// What became of one body.
struct Shown {
  int nodes = 0;
  int faces = 0;
  int modes = 0;
  std::vector<std::string> notes;  // as the page shows them
};

// Takes a piece of the page. What it throws comes out of write_page().
using Sink = std::function<void(std::string_view piece)>;

// Whether pages can be made: whether the library was built with its shell.
bool has_shell();

// Writes the page. Throws std::runtime_error when a page cannot be made, std::bad_alloc when memory is short.
std::vector<Shown> write_page(const Request &request, const Sink &sink);

// For pages of other kinds: the parts of a page. The data goes in front of the script, which puts the view into the
// element with the id "sbr-view". The script holds no "</script".
std::string_view view_style();
std::string_view view_script();
std::vector<Shown> write_data(const Request &request, const Sink &sink);

// The first words of every page, by which one can be told from other files.
inline constexpr std::string_view kFirstWords = "<!doctype html>\n<html lang=\"en\" data-made-by=\"sbr view\">\n";

}  // namespace sbrview

#endif
