#include "session.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <string_view>

namespace sbrtool {
namespace {

bool information_shown = false;
int errors = 0;

// The library's texts end with or without a line feed; here each stands on lines of its own. What they tell may be that
// there is no memory, so none is asked for.
int print_message(const char *severity, const char *text) {
  std::string_view line(text);
  while (!line.empty() && (line.back() == '\n' || line.back() == ' ')) line.remove_suffix(1);
  std::fprintf(stderr, "%s%.*s\n", severity, static_cast<int>(line.size()), line.data());
  return 0;
}

int on_error(const char *text) {
  ++errors;
  return print_message("error: ", text);
}
int on_warning(const char *text) { return print_message("warning: ", text); }
int on_info(const char *text) { return information_shown ? print_message("", text) : 0; }

}  // namespace

void install_messages(bool verbose) {
  information_shown = verbose;
  const message_handlers handlers{on_error, on_warning, on_info};
  SetMessageHandlers(&handlers);
}

bool show_information(bool show) { return std::exchange(information_shown, show); }

int reported_errors() { return errors; }

Body open_record(const std::string &path) {
  std::error_code code;
  const auto status = std::filesystem::status(path, code);
  if (!std::filesystem::exists(status)) throw Failure(kUnreadable, path + ": no such file");
  if (std::filesystem::is_directory(status)) throw Failure(kUnreadable, path + ": is a directory, not a record");
  std::FILE *probe = std::fopen(path.c_str(), "rb");
  if (probe == nullptr) throw Failure(kUnreadable, path + ": " + std::strerror(errno));
  std::fclose(probe);
  SBR body = SBR_CreateFromSBR(path.c_str());
  if (body == nullptr) throw Failure(kUnreadable, path + ": not a readable Shape Body Record");
  return Body(body);
}

std::string number(double value) {
  char text[40];
  for (int digits = 6; digits <= 17; ++digits) {
    std::snprintf(text, sizeof text, "%.*g", digits, value);
    if (std::strtod(text, nullptr) == value) break;
  }
  return text;
}

std::string brief(double value, int digits) {
  char text[40];
  std::snprintf(text, sizeof text, "%.*g", digits, value);
  return text;
}

Json finite(double value) { return std::isfinite(value) ? Json(value) : Json(nullptr); }

Json finite(const double *values, std::size_t count) {
  Json list = Json::array();
  for (std::size_t i = 0; i < count; ++i) list.push_back(finite(values[i]));
  return list;
}

std::string clean(const std::string &text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    result += byte >= 0x20 && byte < 0x7F ? c : '?';
  }
  return result;
}

void Table::print() const {
  std::vector<std::size_t> widths;
  for (const auto &row : rows_) {
    widths.resize(std::max(widths.size(), row.size()), 0);
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], row[c].size());
  }
  for (const auto &row : rows_) {
    std::string line;
    for (std::size_t c = 0; c < row.size(); ++c) {
      if (c != 0) line += "  ";
      const std::string blanks(widths[c] - row[c].size(), ' ');
      line += c < left_.size() && left_[c] ? row[c] + blanks : blanks + row[c];
    }
    line.erase(line.find_last_not_of(' ') + 1);
    std::cout << line << '\n';
  }
}

}  // namespace sbrtool
