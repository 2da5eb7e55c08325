#include "sheetparts.h"

#include <algorithm>
#include <cmath>

namespace sbrtool {

const char *const kSheetStyle = R"(
:root { color-scheme: light; }
* { box-sizing: border-box; }
body { margin: 0; background: #e8ecf1; color: #161b22; font: 13px/1.4 Inter, system-ui, "Segoe UI", Roboto,
  "Helvetica Neue", "Noto Sans", "Liberation Sans", sans-serif; }
main { max-width: 1080px; margin: 0 auto; padding: 28px 32px; background: #fff; }
header { border-bottom: 2px solid #0b6e8f; padding-bottom: 10px; margin-bottom: 14px; }
h1 { font-size: 21px; margin: 0; overflow-wrap: anywhere; }
header p { margin: 2px 0 0; color: #566170; overflow-wrap: anywhere; }
.columns { display: grid; grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 0 28px; align-items: start; }
section { margin-bottom: 16px; break-inside: avoid; min-width: 0; }
section.long { break-inside: auto; }
h2 { font-size: 13px; margin: 0 0 5px; color: #0b5a75; text-transform: uppercase; letter-spacing: .04em; }
h3 { font-size: 13px; margin: 0 0 4px; }
table { border-collapse: collapse; width: 100%; font-variant-numeric: tabular-nums; }
th, td { padding: 2px 7px; text-align: right; border-bottom: 1px solid #e3e8ee; vertical-align: top; }
th { font-weight: 600; color: #566170; border-bottom-color: #b6c1cd; overflow-wrap: anywhere; }
th.text, td.text { text-align: left; overflow-wrap: anywhere; }
tr:last-child td { border-bottom: 0; }
td:first-child, th:first-child { padding-left: 0; }
td:last-child, th:last-child { padding-right: 0; }
dl { display: grid; grid-template-columns: max-content minmax(0, 1fr); gap: 2px 14px; margin: 0; }
dt { color: #566170; }
dd { margin: 0; overflow-wrap: anywhere; font-variant-numeric: tabular-nums; }
p { margin: 4px 0; }
.note { color: #566170; font-size: 12px; }
.error { color: #a3170f; font-weight: 650; }
.warning { color: #8a5200; font-weight: 650; }
.ok { color: #1c6b32; }
.verdict { font-weight: 650; }
.pictures { display: grid; grid-template-columns: repeat(3, minmax(0, 1fr)); gap: 10px; }
figure { margin: 0; break-inside: avoid; }
figure img { width: 100%; height: auto; display: block; border: 1px solid #e3e8ee; border-radius: 4px; }
figcaption { font-size: 12px; color: #566170; padding-top: 2px; text-align: center; }
svg { width: 100%; height: auto; display: block; }
svg text { font: 11px Inter, system-ui, "Segoe UI", Roboto, "Liberation Sans", sans-serif; fill: #566170; }
iframe { width: 100%; height: 640px; border: 1px solid #cfd7e0; border-radius: 6px; }
footer { color: #566170; font-size: 12px; border-top: 1px solid #e3e8ee; padding-top: 6px; }
@media (max-width: 720px) { section { overflow-x: auto; } .columns, .pictures { grid-template-columns: minmax(0, 1fr); } main { padding: 16px; } }
@page { size: A4; margin: 11mm; }
@media print {
  body { background: #fff; font-size: 8.6px; -webkit-print-color-adjust: exact; print-color-adjust: exact; }
  main { max-width: none; padding: 0; }
  h1 { font-size: 14px; } h2, h3 { font-size: 9px; } .note, figcaption, footer { font-size: 7.8px; }
  th, td { padding: .5px 4px; } section { margin-bottom: 7px; } header { margin-bottom: 8px; padding-bottom: 5px; }
  .columns { grid-template-columns: repeat(2, minmax(0, 1fr)); gap: 0 18px; }
  .pictures { grid-template-columns: repeat(6, minmax(0, 1fr)); gap: 6px; }
  .screen { display: none; }
}
)";

// ---- HTML ----------------------------------------------------------------------------------------------------------

std::string html_table(const std::vector<std::string> &headings, const std::vector<std::vector<std::string>> &rows) {
  std::string html = "<table><thead><tr>";
  std::vector<const char *> kinds;
  for (const std::string &heading : headings) {
    const bool text = !heading.empty() && heading[0] == '<';
    kinds.push_back(text ? " class=\"text\"" : "");
    html += std::string("<th scope=\"col\"") + kinds.back() + ">" + heading.substr(text ? 1 : 0) + "</th>";
  }
  html += "</tr></thead><tbody>\n";
  for (const auto &row : rows) {
    html += "<tr>";
    for (std::size_t c = 0; c < row.size(); ++c)
      html += std::string("<td") + (c < kinds.size() ? kinds[c] : "") + ">" + row[c] + "</td>";
    html += "</tr>\n";
  }
  return html + "</tbody></table>\n";
}

std::string html_pairs(const std::vector<std::pair<std::string, std::string>> &pairs) {
  std::string html = "<dl>\n";
  for (const auto &[name, value] : pairs)
    if (!value.empty()) html += "<dt>" + name + "</dt><dd>" + value + "</dd>\n";
  return html + "</dl>\n";
}

std::string html_section(const std::string &heading, const std::string &content, const std::string &kind) {
  return "<section" + (kind.empty() ? "" : " class=\"" + kind + "\"") + "><h2>" + heading + "</h2>\n" + content +
         "</section>\n";
}

std::string html_picture(const std::string &png, int width, int height, const std::string &text) {
  return "<figure><img src=\"data:image/png;base64," + base64(png.data(), png.size()) + "\" width=\"" +
         std::to_string(width) + "\" height=\"" + std::to_string(height) + "\" alt=\"" + escaped(text) +
         "\"><figcaption>" + escaped(text) + "</figcaption></figure>\n";
}

std::string percent(double part) {
  if (!std::isfinite(part)) return "&ndash;";
  char text[32];
  std::snprintf(text, sizeof text, "%.1f&nbsp;%%", std::abs(part) < 5e-4 ? 0.0 : 100.0 * part);
  return text;
}

std::string figure(double value, int digits) { return std::isfinite(value) ? brief(value, digits) : "&ndash;"; }

// ---- charts --------------------------------------------------------------------------------------------------------

namespace {

std::string attribute(const char *name, double value) {
  return std::string(" ") + name + "=\"" + brief(value, 6) + "\"";
}

std::string svg_text(double x, double y, const std::string &text, const char *anchor) {
  return "<text" + attribute("x", x) + attribute("y", y) + " text-anchor=\"" + anchor + "\">" + text + "</text>\n";
}

std::string svg_box(double x, double y, double width, double height, const std::string &fill,
                    const std::string &title) {
  return "<rect" + attribute("x", x) + attribute("y", y) + attribute("width", width) + attribute("height", height) +
         " fill=\"" + fill + "\"><title>" + title + "</title></rect>\n";
}

std::string svg_line(double x1, double y1, double x2, double y2) {
  return "<line" + attribute("x1", x1) + attribute("y1", y1) + attribute("x2", x2) + attribute("y2", y2) +
         " stroke=\"#dde3ea\"/>\n";
}

// The round number (1, 2 or 5 times a power of ten) that divides a range into about five.
double round_step(double range) {
  const double power = std::pow(10.0, std::floor(std::log10(range / 5.0)));
  for (const double times : {1.0, 2.0, 5.0})
    if (range / (times * power) <= 6.0) return times * power;
  return 10.0 * power;
}

// Every so manieth mode is named, so that numbers do not run into each other.
std::size_t names_apart(std::size_t modes, std::size_t most) {
  return (modes + most - 1) / std::max<std::size_t>(most, 1);
}

}  // namespace

std::string frequency_chart(const std::vector<ModeFacts> &modes) {
  double top = 0.0;
  for (const ModeFacts &mode : modes)
    if (std::isfinite(mode.hz)) top = std::max(top, std::abs(mode.hz));
  if (!(top > 0.0) || !std::isfinite(top)) return "<p class=\"note\">No mode has a frequency above 0.</p>\n";
  constexpr double kWidth = 520.0;
  constexpr double kHeight = 200.0;
  constexpr double kLeft = 58.0;
  constexpr double kTop = 10.0;
  constexpr double kBase = 178.0;
  std::string svg = "<svg viewBox=\"0 0 520 200\" role=\"img\" aria-label=\"Frequencies of the modes in Hz\">\n";
  const double step = round_step(top);
  for (int i = 0; i * step <= top; ++i) {
    const double y = kBase - (kBase - kTop) * i * step / top;
    svg += svg_line(kLeft, y, kWidth, y) + svg_text(kLeft - 6, y + 4, brief(i * step, 4), "end");
  }
  const double pitch = (kWidth - kLeft) / static_cast<double>(modes.size());
  const std::size_t apart = names_apart(modes.size(), 16);
  for (std::size_t m = 0; m < modes.size(); ++m) {
    const double x = kLeft + pitch * static_cast<double>(m);
    if (m % apart == 0) svg += svg_text(x + 0.5 * pitch, kHeight - 6, std::to_string(modes[m].number), "middle");
    if (!std::isfinite(modes[m].hz)) continue;
    const double height = std::max(0.75, (kBase - kTop) * std::abs(modes[m].hz) / top);
    svg += svg_box(x + 0.15 * pitch, kBase - height, 0.7 * pitch, height, "#0b6e8f",
                   "mode " + std::to_string(modes[m].number) + ": " + brief(modes[m].hz) + " Hz");
  }
  return svg + "</svg>\n";
}

std::string mac_chart(const MacTable &table, const std::vector<ModeFacts> &rows,
                      const std::vector<ModeFacts> &columns) {
  if (table.values.empty() || columns.empty()) return "<p class=\"note\">There are no shapes to compare.</p>\n";
  constexpr double kSide = 300.0;
  constexpr double kLeft = 34.0;
  constexpr double kTop = 20.0;
  const double size = (kSide - kLeft) / static_cast<double>(std::max(rows.size(), columns.size()));
  const double width = kLeft + size * static_cast<double>(columns.size());
  const double height = kTop + size * static_cast<double>(rows.size()) + 2.0;
  std::string svg = "<svg style=\"max-width:440px\" viewBox=\"0 0 " + brief(kSide) + " " + brief(height) +
                    "\" role=\"img\" aria-label=\"Modal assurance criterion, from 0 (white) to 1 (dark)\">\n";
  const std::size_t across = names_apart(columns.size(), 14);
  for (std::size_t k = 0; k < columns.size(); k += across)
    svg +=
        svg_text(kLeft + size * (static_cast<double>(k) + 0.5), kTop - 6, std::to_string(columns[k].number), "middle");
  const std::size_t down = names_apart(rows.size(), 18);
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const double y = kTop + size * static_cast<double>(i);
    if (i % down == 0) svg += svg_text(kLeft - 6, y + 0.5 * size + 4, std::to_string(rows[i].number), "end");
    for (std::size_t k = 0; k < columns.size(); ++k) {
      const double mac = table.values[i][k];
      const auto shade = [&](double least) {
        return std::to_string(static_cast<int>(std::lround(255.0 - (255.0 - least) * std::clamp(mac, 0.0, 1.0))));
      };
      const std::string fill =
          std::isfinite(mac) ? "rgb(" + shade(8) + "," + shade(64) + "," + shade(92) + ")" : "#f3d9d6";
      svg += svg_box(kLeft + size * static_cast<double>(k), y, size, size, fill,
                     std::to_string(rows[i].number) + ", " + std::to_string(columns[k].number) + ": " +
                         (std::isfinite(mac) ? brief(mac, 3) : "no number"));
    }
  }
  svg += "<rect" + attribute("x", kLeft) + attribute("y", kTop) + attribute("width", width - kLeft) +
         attribute("height", height - kTop - 2.0) + " fill=\"none\" stroke=\"#b6c1cd\"/>\n";
  return svg + "</svg>\n";
}

}  // namespace sbrtool
