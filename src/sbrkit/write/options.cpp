// How the values of the option vocabulary are taken from the text.
#include "write/options.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace sbr {
namespace {

enum class Scan { absent, nothing, value, end_of_text, no_memory };

using Accepts = bool (*)(char c);

// What opens a value behind its keyword, and the characters that belong to it.
struct ValueForm {
  std::string_view opening;
  Accepts accepts;
};

// The text behind the first keyword with that opening; a null view when there is none.
std::string_view behind_opening(std::string_view text, std::string_view keyword, std::string_view opening) noexcept {
  for (std::size_t at = text.find(keyword); at != std::string_view::npos; at = text.find(keyword, at + 1))
    if (const std::string_view rest = text.substr(at + keyword.size()); rest.starts_with(opening))
      return rest.substr(opening.size());
  return {};
}

// Takes the characters behind the first opening for as long as they are accepted.
Scan scan_value(std::string_view text, std::string_view keyword, const ValueForm &form, Array<char> &value) noexcept {
  const std::string_view rest = behind_opening(text, keyword, form.opening);
  if (rest.data() == nullptr) return Scan::absent;
  const auto length = static_cast<std::size_t>(std::find_if_not(rest.begin(), rest.end(), form.accepts) - rest.begin());
  if (length == 0 && !rest.empty()) return Scan::nothing;
  if (!value.allocate(static_cast<std::int64_t>(length) + 1)) return Scan::no_memory;
  if (length != 0) std::memcpy(value.data(), rest.data(), length);
  return length == 0 ? Scan::end_of_text : Scan::value;
}

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
bool in_double_quotes(char c) noexcept { return c != '"'; }
bool in_single_quotes(char c) noexcept { return c != '\''; }
bool in_brackets(char c) noexcept { return c != ')'; }
bool in_coarsening(char c) noexcept {
  return is_digit(c) || std::string_view(" .,preserve_str").find(c) != std::string_view::npos;
}
bool in_frequency(char c) noexcept { return is_digit(c) || std::string_view(" .e-").find(c) != std::string_view::npos; }

// The first form of the sketch option that is present and gives a value names the file. An empty name is no sketch.
bool take_sketch(std::string_view text, std::string_view keyword, WriteOptions &options) noexcept {
  constexpr ValueForm kForms[] = {{"(\"", in_double_quotes}, {"('", in_single_quotes}, {"(", in_brackets}};
  for (const ValueForm &form : kForms) {
    const Scan scan = scan_value(text, keyword, form, options.sketch_path);
    if (scan == Scan::no_memory) return false;
    if (scan == Scan::end_of_text) options.sketch_path.release();
    if (scan == Scan::value || scan == Scan::end_of_text) return true;
  }
  return true;
}

bool take_frequency(std::string_view text, std::string_view keyword, double &frequency) noexcept {
  Array<char> value;
  const Scan scan = scan_value(text, keyword, {"(", in_frequency}, value);
  if (scan == Scan::no_memory) return false;
  if (scan == Scan::value || scan == Scan::end_of_text) frequency = std::strtod(value.data(), nullptr);
  return true;
}

bool take_option(std::string_view text, const WriteOption &option, WriteOptions &options) noexcept {
  switch (option.value) {
    case OptionValue::none:
      options.*option.member = option.is_in(text);
      return true;
    case OptionValue::sketch:
      return take_sketch(text, option.keyword, options);
    case OptionValue::coarsening:
      return scan_value(text, option.keyword, {"(", in_coarsening}, options.coarsen) != Scan::no_memory;
    case OptionValue::lowpass:
      return take_frequency(text, option.keyword, options.lowpass);
    case OptionValue::highpass:
      return take_frequency(text, option.keyword, options.highpass);
  }
  return true;
}

}  // namespace

bool parse_write_options(const char *text, WriteOptions &options) noexcept {
  if (text == nullptr) return true;
  return std::all_of(kWriteOptions.begin(), kWriteOptions.end(),
                     [&](const WriteOption &option) { return take_option(text, option, options); });
}

}  // namespace sbr
