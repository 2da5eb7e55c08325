#include "modeplot.h"

#include <langinfo.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "exportbody.h"
#include "modefacts.h"

namespace sbrtool {
namespace {

int terminal_width() {
  constexpr int kUsual = 80;
  constexpr int kLeast = 40;
  constexpr int kMost = 200;
  int width = 0;
  winsize size{};
  if (isatty(STDOUT_FILENO) != 0 && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) width = size.ws_col;
  if (width == 0)
    if (const char *columns = std::getenv("COLUMNS")) width = static_cast<int>(std::strtol(columns, nullptr, 10));
  return width <= 0 ? kUsual : std::clamp(width, kLeast, kMost);
}

// The program's own locale stays as it is: numbers have points in every language.
bool terminal_has_unicode() {
  const char *terminal = std::getenv("TERM");
  if (terminal != nullptr && std::string_view(terminal) == "dumb") return false;
  locale_t user = newlocale(LC_CTYPE_MASK, "", nullptr);
  if (user == nullptr) return false;
  const bool unicode = std::string_view(nl_langinfo_l(CODESET, user)) == "UTF-8";
  freelocale(user);
  return unicode;
}

struct Figure {
  std::string title;
  std::vector<double> values;  // by mode; no number where the record has none
};

// The largest value of each mode, as the statistics of the record have it.
Figure largest(SBR body, const std::string &title, int kind, int (*get)(SBR, int, int *, double *)) {
  Figure figure{title, {}};
  if (SBR_ModeExist(body, kind) == 0 || SBR_ModeNodeCount(body, kind) < 1) return figure;
  for (int m = 0; m < SBR_ModeCount(body); ++m) {
    double value = NAN;
    int node = 0;
    if (get(body, SBR_ModeNumber(body, m), &node, &value) == 0) value = NAN;
    figure.values.push_back(value);
  }
  return figure;
}

std::vector<Figure> figures_of(SBR body) {
  const UnitLabels units(body);
  Figure frequencies{"Frequency [Hz]", {}};
  for (const ModeFacts &facts : facts_of_modes(body)) frequencies.values.push_back(facts.hz);
  return {frequencies, largest(body, "Largest displacement [" + units.length + "]", 0, SBR_GetMaxModeDisplacement),
          largest(body, "Largest rotation [rad]", 0, SBR_GetMaxModeRotation),
          largest(body, "Largest von Mises stress [" + units.stress() + "]", 1, SBR_GetMaxVonMisesStress),
          largest(body, "Largest von Mises strain", 2, SBR_GetMaxVonMisesStrain)};
}

void draw(const Figure &figure, const std::vector<std::string> &names, int width, bool unicode) {
  double top = 0.0;
  for (const double value : figure.values)
    if (std::isfinite(value)) top = std::max(top, std::abs(value));
  // Solid elements have no rotations.
  if (std::all_of(figure.values.begin(), figure.values.end(), [](double value) { return value == 0.0; })) {
    std::cout << figure.title << ": 0 in all modes\n";
    return;
  }
  std::vector<std::string> texts;
  std::size_t name_width = 4;
  std::size_t text_width = 0;
  for (std::size_t m = 0; m < names.size(); ++m) {
    const double value = figure.values[m];
    texts.push_back(std::isfinite(value) ? brief(value, 6) : "-");
    name_width = std::max(name_width, names[m].size());
    text_width = std::max(text_width, texts[m].size());
  }
  const int columns = std::max(8, width - static_cast<int>(name_width + text_width) - 4);
  std::cout << figure.title << '\n';
  for (std::size_t m = 0; m < names.size(); ++m) {
    std::string line = std::string(name_width - names[m].size(), ' ') + names[m] + "  " +
                       std::string(text_width - texts[m].size(), ' ') + texts[m];
    const std::string drawn = top > 0.0 ? bar(std::abs(figure.values[m]) / top, columns, unicode) : "";
    std::cout << line << (drawn.empty() ? "" : "  ") << drawn << '\n';
  }
}

}  // namespace

std::string bar(double part, int columns, bool unicode) {
  if (!(part > 0.0)) return "";
  const double full = std::min(part, 1.0) * columns;
  if (!unicode) return std::string(static_cast<std::size_t>(std::max(1.0, std::round(full))), '#');
  static constexpr const char *kEighths[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const auto eighths = static_cast<std::size_t>(std::max(1.0, std::round(8.0 * full)));
  std::string text;
  for (std::size_t i = 0; i < eighths / 8; ++i) text += "█";
  return text + kEighths[eighths % 8];
}

void plot_modes(SBR body) {
  std::vector<std::string> names;
  for (int m = 0; m < SBR_ModeCount(body); ++m) names.push_back(std::to_string(SBR_ModeNumber(body, m)));
  if (names.empty()) {
    std::cout << "The record has no modes.\n";
    return;
  }
  const int width = terminal_width();
  const bool unicode = terminal_has_unicode();
  bool first = true;
  for (const Figure &figure : figures_of(body)) {
    if (figure.values.empty()) continue;
    if (!std::exchange(first, false)) std::cout << '\n';
    draw(figure, names, width, unicode);
  }
}

}  // namespace sbrtool
