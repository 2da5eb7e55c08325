// The option vocabulary of a write, and how its values are taken from the text.
#include "write/options.h"

#include <cstdlib>
#include <cstring>

namespace sbr {
namespace {

enum class Scan { absent, nothing, value, end_of_text, no_memory };

using Accepts = bool (*)(char c);

// Takes the characters behind the first `opening` for as long as they are accepted.
Scan scan_value(const char *text, const char *opening, Accepts accepts, Array<char> &value) noexcept {
  const char *found = std::strstr(text, opening);
  if (found == nullptr) return Scan::absent;
  const char *first = found + std::strlen(opening);
  const char *last = first;
  while (*last != '\0' && accepts(*last)) ++last;
  if (last == first && *first != '\0') return Scan::nothing;
  const auto length = static_cast<std::size_t>(last - first);
  if (!value.allocate(static_cast<std::int64_t>(length) + 1)) return Scan::no_memory;
  std::memcpy(value.data(), first, length);
  return length == 0 ? Scan::end_of_text : Scan::value;
}

bool is_digit(char c) noexcept { return c >= '0' && c <= '9'; }
bool in_double_quotes(char c) noexcept { return c != '"'; }
bool in_single_quotes(char c) noexcept { return c != '\''; }
bool in_brackets(char c) noexcept { return c != ')'; }
bool in_coarsening(char c) noexcept {
  return c == ' ' || c == '.' || c == ',' || is_digit(c) || std::strchr("preserve_str", c) != nullptr;
}
bool in_frequency(char c) noexcept { return c == ' ' || c == '.' || c == 'e' || c == '-' || is_digit(c); }

// The first form of the sketch option that is present and gives a value names the file. An empty name is no sketch.
bool take_sketch(const char *text, WriteOptions &options) noexcept {
  constexpr struct {
    const char *opening;
    Accepts accepts;
  } kForms[] = {{"sketch(\"", in_double_quotes}, {"sketch('", in_single_quotes}, {"sketch(", in_brackets}};
  for (const auto &form : kForms) {
    const Scan scan = scan_value(text, form.opening, form.accepts, options.sketch_path);
    if (scan == Scan::no_memory) return false;
    if (scan == Scan::end_of_text) options.sketch_path.release();
    if (scan == Scan::value || scan == Scan::end_of_text) return true;
  }
  return true;
}

bool take_coarsening(const char *text, WriteOptions &options) noexcept {
  return scan_value(text, "coarsen(", in_coarsening, options.coarsen) != Scan::no_memory;
}

bool take_frequency(const char *text, const char *opening, double &frequency) noexcept {
  Array<char> value;
  const Scan scan = scan_value(text, opening, in_frequency, value);
  if (scan == Scan::no_memory) return false;
  if (scan == Scan::value || scan == Scan::end_of_text) frequency = std::strtod(value.data(), nullptr);
  return true;
}

}  // namespace

bool parse_write_options(const char *text, WriteOptions &options) noexcept {
  if (text == nullptr) return true;
  const auto has = [text](const char *keyword) { return std::strstr(text, keyword) != nullptr; };
  options.lbrf2cm = has("lbrf2cm");
  options.strip_face = has("strip_face");
  options.sparse = has("sparse_str");
  options.full = has("full_str");
  options.no_ortho = has("no_ortho");
  options.single = has("single");
  options.no_xdr = has("no_xdr");
  options.layout_82 = has("82_comp");
  options.layout_81 = has("81_comp");
  options.invariants = has("invar");
  options.full_invariants = has("full_invar");
  options.fast_invariants = has("fast_invar");
  options.empty = has("empty");
  options.mks = has("MKS");
  return take_sketch(text, options) && take_coarsening(text, options) &&
         take_frequency(text, "lowpass(", options.lowpass) && take_frequency(text, "highpass(", options.highpass);
}

}  // namespace sbr
