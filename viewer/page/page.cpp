#include "page.h"

#include <cmath>
#include <stdexcept>

#include "body.h"
#include "encode.h"
#include "markup.h"
#include "shell.h"

namespace sbrview {
namespace {

using Json = nlohmann::ordered_json;

// JSON that may stand inside of a script element: no text in it can end the element.
std::string embedded(const Json &json) {
  std::string text;
  for (const char c : json.dump(-1, ' ', true, Json::error_handler_t::replace)) {
    if (c == '<')
      text += "\\u003c";
    else
      text += c;
  }
  return text;
}

Json describe_match(const std::vector<MatchedModes> &match) {
  Json list = Json::array();
  for (const MatchedModes &mode : match) {
    Json parts = Json::array();
    for (const auto &[first, weight] : mode.parts) parts.push_back({first, weight});
    list.push_back(
        {{"second", mode.second}, {"parts", parts}, {"mac", std::isfinite(mode.mac) ? Json(mode.mac) : Json(nullptr)}});
  }
  return list;
}

std::string title_of(const Request &request) {
  std::string title;
  for (const ShownBody &body : request.bodies) title += (title.empty() ? "" : " and ") + readable(body.file);
  return escaped(title);
}

}  // namespace

bool has_shell() { return !view_script().empty(); }

std::string_view view_style() { return shell_style(); }
std::string_view view_script() { return shell_script(); }

std::vector<Shown> write_data(const Request &request, const Sink &sink) {
  std::vector<Shown> outcome(request.bodies.size());
  Json all = {{"format", 1}, {"maker", request.maker}};
  all["bodies"] = Json::array();
  for (std::size_t i = 0; i < request.bodies.size(); ++i) {
    std::string prefix("b");
    prefix.append(std::to_string(i)).append(1, '.');
    all["bodies"].push_back(write_body(request.bodies[i], request, prefix, sink, outcome[i]));
  }
  all["match"] = describe_match(request.match);
  all["unitSystems"] = Json::array();
  for (const NamedUnits &units : request.units) {
    Json system = describe_units(units.labels);
    system["name"] = units.name;
    all["unitSystems"].push_back(system);
  }
  sink("<script type=\"application/json\" id=\"sbr-description\">");
  sink(embedded(all));
  sink("</script>\n");
  return outcome;
}

std::vector<Shown> write_page(const Request &request, const Sink &sink) {
  if (!has_shell()) throw std::runtime_error("this program was built without the viewer (SBRKIT_BUILD_VIEWER)");
  sink(kFirstWords);
  sink(
      "<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src 'unsafe-inline'; "
      "style-src 'unsafe-inline'; img-src data: blob:; media-src blob:\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1, viewport-fit=cover\">\n"
      "<meta name=\"referrer\" content=\"no-referrer\">\n<title>");
  sink(title_of(request));
  sink("</title>\n<style>");
  sink(view_style());
  sink(
      "</style>\n</head>\n<body>\n<div id=\"sbr-view\"></div>\n"
      "<noscript>This page shows a flexible body and needs JavaScript for it.</noscript>\n");
  std::vector<Shown> outcome = write_data(request, sink);
  sink("<script>");
  sink(view_script());
  sink("</script>\n</body>\n</html>\n");
  return outcome;
}

}  // namespace sbrview
