#include "calculix/results.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>

#include "calculix/value_block.h"
#include "common/fixed_real.h"
#include "common/progress.h"

namespace sbrtranslate {
namespace {

// The columns [from, from + width) of a line, trimmed; empty beyond its end.
std::string_view columns(std::string_view line, std::size_t from, std::size_t width) {
  return from < line.size() ? trim(line.substr(from, width)) : std::string_view();
}

class FrdReader {
 public:
  FrdReader(const std::string &path, ResultHandler &handler) : reader_(path), handler_(handler) {}
  void read();

 private:
  void expect_line(const char *where);
  int whole(std::string_view text, const char *what) const;
  double real(std::string_view text, const char *what) const;
  // The form at the end of a block's head: 0 short, 1 long node numbers, 2 and 3 binary.
  void take_format(std::string_view text);
  void read_nodes();
  void read_elements();
  void read_result();
  void parameter_line();
  int components();
  bool is_record(const char *key) const { return line_.substr(0, 3) == key; }
  std::size_t take_reals(std::string_view text, std::size_t most, double *values) const;
  void read_values(std::size_t stored);
  void skip_values(std::size_t stored);
  void skip_block(const char *where);
  std::optional<ValueBlock> block_ahead(std::size_t count);
  void take_block(const ValueBlock &block);
  bool take_fixed(std::size_t stored, int &id, double *values) const;

  LineReader reader_;
  ResultHandler &handler_;
  Progress progress_;
  std::string_view line_;
  std::size_t id_width_ = 10;
  bool mesh_done_ = false;
  ResultSet set_;
  long nodes_ = 0;  // of the present set, as its head says
  bool modal_ = false;
};

void FrdReader::expect_line(const char *where) {
  if (!reader_.next(line_)) reader_.fail(std::string("the file ends inside ") + where);
}

int FrdReader::whole(std::string_view text, const char *what) const {
  const auto value = to_int(text);
  if (!value) reader_.fail(std::string(what) + " expected, found '" + std::string(text.substr(0, 20)) + "'");
  return *value;
}

double FrdReader::real(std::string_view text, const char *what) const {
  const auto value = to_double(text);
  if (!value) reader_.fail(std::string(what) + " expected, found '" + std::string(text.substr(0, 20)) + "'");
  return *value;
}

void FrdReader::take_format(std::string_view text) {
  const int format = text.empty() ? 0 : whole(text, "a format number");
  if (format == 2 || format == 3)
    reader_.fail("the results are binary; ask the solver for text with *NODE FILE and *EL FILE");
  if (format != 0 && format != 1) reader_.fail("unknown format " + std::to_string(format));
  id_width_ = format == 1 ? 10 : 5;
}

// Reals of 12 columns. A line that is longer than its columns holds exponents of three digits, which push the rest to
// the right; then each number is taken to its end.
std::size_t FrdReader::take_reals(std::string_view text, std::size_t most, double *values) const {
  while (!text.empty() && text.back() == ' ') text.remove_suffix(1);
  std::size_t count = 0;
  const bool columns_hold = text.size() <= 12 * most;
  while (count < most && !trim(text).empty()) {
    std::size_t width = 12;
    if (!columns_hold) {
      const std::size_t exponent = text.find_first_of("Ee");
      if (exponent == std::string_view::npos) reader_.fail("a number expected");
      width = exponent + 2;
      while (width < text.size() && text[width] >= '0' && text[width] <= '9') ++width;
    }
    values[count++] = real(trim(text.substr(0, width)), "a number");
    text.remove_prefix(std::min(width, text.size()));
  }
  if (!trim(text).empty()) reader_.fail("more numbers on the line than it should hold");
  return count;
}

void FrdReader::read_nodes() {
  if (mesh_done_) reader_.fail("a second mesh; results of one mesh are expected");
  const long count = whole(columns(line_, 24, 12), "a node count");
  const auto words = split_words(line_);
  take_format(words.size() > 2 ? words.back() : std::string_view());
  if (!handler_.wants_mesh()) return skip_block("the nodes");
  long read = 0;
  for (expect_line("the nodes"); !is_record(" -3"); expect_line("the nodes")) {
    if (!is_record(" -1")) reader_.fail("a node (-1) or the end of the nodes (-3) expected");
    double xyz[3] = {};
    const int id = whole(columns(line_, 3, id_width_), "a node number");
    if (line_.size() <= 3 + id_width_ || take_reals(line_.substr(3 + id_width_), 3, xyz) != 3)
      reader_.fail("three coordinates expected");
    handler_.node(id, {xyz[0], xyz[1], xyz[2]}, reader_.place());
    ++read;
  }
  if (read != count)
    reader_.fail("the head of the nodes says " + std::to_string(count) + ", there are " + std::to_string(read));
}

void FrdReader::read_elements() {
  static constexpr int kNodes[13] = {0, 8, 6, 4, 20, 15, 10, 3, 6, 4, 8, 2, 3};
  const auto words = split_words(line_);
  take_format(words.size() > 2 ? words.back() : std::string_view());
  if (!handler_.wants_mesh()) return skip_block("the elements");
  std::vector<int> nodes;
  expect_line("the elements");
  while (!is_record(" -3")) {
    if (!is_record(" -1")) reader_.fail("an element (-1) or the end of the elements (-3) expected");
    const Place place = reader_.place();
    const int id = whole(columns(line_, 3, id_width_), "an element number");
    const int type = whole(columns(line_, 3 + id_width_, 5), "an element type");
    if (type < 1 || type > 12) reader_.fail("unknown element type " + std::to_string(type));
    nodes.clear();
    for (expect_line("the elements"); is_record(" -2"); expect_line("the elements"))
      for (std::size_t at = 3; at < line_.size(); at += id_width_)
        if (const auto field = columns(line_, at, id_width_); !field.empty())
          nodes.push_back(whole(field, "a node number"));
    if (nodes.size() != static_cast<std::size_t>(kNodes[type]))
      throw InputError(place, "element " + std::to_string(id) + " has " + std::to_string(nodes.size()) +
                                  " nodes, its type has " + std::to_string(kNodes[type]));
    handler_.element(id, type, nodes, place);
  }
}

// A line like "    1PMODE   7": what holds for the sets that follow.
void FrdReader::parameter_line() {
  const auto words = split_words(line_);
  const std::string name(words[0]);
  const std::string_view value = words.size() > 1 ? words[1] : std::string_view();
  if (name == "1PSTEP") {
    set_ = ResultSet();
    modal_ = false;
  } else if (name == "1PMODE") {
    set_.mode = whole(value, "a mode number");
    modal_ = true;
  } else if (name == "1PGK") {
    set_.eigenvalue = real(value, "an eigenvalue");
  } else if (name == "1PGM") {
    set_.generalized_mass = real(value, "a generalized mass");
  }
}

// Reads the -5 lines; gives how many values each node has in the file.
int FrdReader::components() {
  int stored = 0;
  const int declared = whole(columns(line_, 13, 5), "a count of components");
  for (int c = 0; c < declared; ++c) {
    expect_line("the head of a result");
    if (!is_record(" -5")) reader_.fail("a component (-5) expected");
    // A component that the reader is to work out itself is not in the file.
    if (columns(line_, 33, 5) != "1") ++stored;
  }
  return stored;
}

// The lines of one length that follow, as many as the head says, when the block ends right behind them.
std::optional<ValueBlock> FrdReader::block_ahead(std::size_t count) {
  if (reader_.descriptor() < 0 || nodes_ < 1) return std::nullopt;
  ValueBlock block;
  block.descriptor = reader_.descriptor();
  block.begin = reader_.position();
  block.lines = nodes_;
  block.id_width = id_width_;
  block.count = count;
  const std::size_t length = 3 + id_width_ + 12 * count;
  char text[128];
  const auto at = [&](std::uint64_t from, std::size_t bytes) {
    return pread(block.descriptor, text, bytes, static_cast<off_t>(from)) == static_cast<ssize_t>(bytes);
  };
  if (!at(block.begin, length + 2)) return std::nullopt;
  if (text[length] == '\n')
    block.stride = length + 1;
  else if (text[length] == '\r' && text[length + 1] == '\n')
    block.stride = length + 2;
  else
    return std::nullopt;
  if (static_cast<std::uint64_t>(block.lines) > reader_.size() / block.stride) return std::nullopt;
  const std::uint64_t end = block.begin + static_cast<std::uint64_t>(block.lines) * block.stride;
  if (!at(end - 1, 4) || std::string_view(text, 4) != "\n -3") return std::nullopt;
  return block;
}

void FrdReader::skip_block(const char *where) {
  for (expect_line(where); !is_record(" -3"); expect_line(where))
    if (!is_record(" -1") && !is_record(" -2")) reader_.fail("a value (-1) or the end of the result (-3) expected");
}

void FrdReader::skip_values(std::size_t stored) {
  if (const auto block = block_ahead(stored))
    reader_.go_to(block->begin + static_cast<std::uint64_t>(block->lines) * block->stride,
                  reader_.line() + block->lines);
  skip_block("a result");
}

// Hands out the lines of fixed form; the reader goes on behind them.
void FrdReader::take_block(const ValueBlock &block) {
  const long first = reader_.line();
  Place place = reader_.place();
  const long given = read_value_block(block, [&](long line, int node, std::span<const double> values) {
    place.line = first + line + 1;
    if ((line & 0x3FFF) == 0) progress_.at(block.begin + static_cast<std::uint64_t>(line) * block.stride);
    handler_.value(node, values, place);
  });
  reader_.go_to(block.begin + static_cast<std::uint64_t>(given) * block.stride, first + given);
}

bool FrdReader::take_fixed(std::size_t stored, int &id, double *values) const {
  const std::size_t start = 3 + id_width_;
  if (line_.size() != start + 12 * stored || !read_whole(line_.data() + 3, id_width_, id)) return false;
  for (std::size_t i = 0; i < stored; ++i)
    if (!read_e12_5(line_.data() + start + 12 * i, values[i])) return false;
  return true;
}

void FrdReader::read_values(std::size_t stored) {
  progress_.begin(reader_.position(), reader_.size());
  if (const auto block = block_ahead(stored)) take_block(*block);
  double values[6];
  Place place = reader_.place();
  for (expect_line("a result"); !is_record(" -3"); expect_line("a result")) {
    if (!is_record(" -1")) reader_.fail("a value (-1) or the end of the result (-3) expected");
    place.line = reader_.line();
    if ((place.line & 0x3FFF) == 0) progress_.at(reader_.position());
    int id = 0;
    if (!take_fixed(stored, id, values)) {
      id = whole(columns(line_, 3, id_width_), "a node number");
      const std::string_view rest = line_.size() > 3 + id_width_ ? line_.substr(3 + id_width_) : std::string_view();
      if (take_reals(rest, stored, values) != stored)
        reader_.fail("node " + std::to_string(id) + ": " + std::to_string(stored) + " values expected");
    }
    handler_.value(id, std::span<const double>(values, stored), place);
  }
}

void FrdReader::read_result() {
  if (!mesh_done_) {
    mesh_done_ = true;
    handler_.mesh_done(reader_.place());
  }
  const Place head = reader_.place();
  if (const auto hz = to_double(columns(line_, 12, 12))) set_.hz = *hz;
  nodes_ = to_int(columns(line_, 24, 12)).value_or(0);
  const auto words = split_words(line_);
  take_format(words.back());
  expect_line("the head of a result");
  if (!is_record(" -4")) reader_.fail("the name of a result (-4) expected");
  const std::string name(columns(line_, 5, 8));
  const bool known = name == "DISP" || name == "STRESS" || name == "TOSTRAIN";
  if (!modal_ || !known) {
    skip_values(static_cast<std::size_t>(std::clamp(components(), 0, 6)));
    return;
  }
  set_.kind = name == "DISP" ? ResultKind::displacement : name == "STRESS" ? ResultKind::stress : ResultKind::strain;
  const int stored = components();
  if (stored != (set_.kind == ResultKind::displacement ? 3 : 6))
    reader_.fail(name + " with " + std::to_string(stored) + " components");
  const auto count = static_cast<std::size_t>(stored);
  if (!handler_.begin_set(set_, head)) return skip_values(count);
  read_values(count);
  handler_.end_set(reader_.place());
}

void FrdReader::read() {
  bool any = false;
  while (reader_.next(line_)) {
    const std::string_view word = trim(line_.substr(0, 6));
    if (word == "9999") return;
    if (!any && word.substr(0, 2) != "1C") reader_.fail("not an .frd file: its first line has to begin with 1C");
    any = true;
    if (word.substr(0, 2) == "2C") {
      read_nodes();
    } else if (word.substr(0, 2) == "3C") {
      read_elements();
    } else if (word == "1P" || word.substr(0, 2) == "1P") {
      parameter_line();
    } else if (word == "100C" || word.substr(0, 4) == "100C") {
      read_result();
    } else if (word.substr(0, 2) != "1C" && word.substr(0, 2) != "1U" && !word.empty()) {
      reader_.fail("a block of results expected, found '" + std::string(line_.substr(0, 20)) + "'");
    }
  }
  reader_.fail("the file ends without its last line (9999): the run was interrupted or the file is truncated");
}

}  // namespace

void read_results(const std::string &path, ResultHandler &handler) { FrdReader(path, handler).read(); }

std::vector<EigenRow> read_eigenvalues(const std::string &path) {
  LineReader reader(path);
  std::vector<EigenRow> rows;
  std::string_view line;
  bool inside = false;
  while (reader.next(line)) {
    const std::string_view text = trim(line);
    if (text == "E I G E N V A L U E   O U T P U T") {
      if (!rows.empty()) reader.fail("a second eigenvalue table; one frequency step is expected");
      inside = true;
      continue;
    }
    const auto words = split_words(text);
    const int mode = words.empty() ? 0 : to_int(words[0]).value_or(0);
    if (!inside || (mode == 0 && rows.empty())) continue;
    if (words.empty()) {
      inside = false;
      continue;
    }
    const auto eigenvalue = words.size() == 5 ? to_double(words[1]) : std::nullopt;
    const auto hz = words.size() == 5 ? to_double(words[3]) : std::nullopt;
    if (mode == 0 || !eigenvalue || !hz) reader.fail("a row of the eigenvalue table with five numbers expected");
    const int expected = static_cast<int>(rows.size()) + 1;
    if (mode != expected) reader.fail("mode " + std::to_string(expected) + " expected, found " + std::to_string(mode));
    rows.push_back({mode, *eigenvalue, *hz, reader.line()});
  }
  return rows;
}

}  // namespace sbrtranslate
