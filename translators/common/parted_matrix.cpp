#include "common/parted_matrix.h"

#include <algorithm>
#include <array>

#include "common/text_input.h"

namespace sbrtranslate {

Rows::Rows(std::span<const char> held, std::vector<DependentRow> dependent)
    : held_(held.begin(), held.end()), place_(held.size(), 0), dependent_(std::move(dependent)) {
  if (!dependent_.empty()) dependent_at_.assign(held.size(), -1);
  for (std::size_t d = 0; d < dependent_.size(); ++d)
    dependent_at_[static_cast<std::size_t>(dependent_[d].row)] = static_cast<int>(d);
  for (std::size_t r = 0; r < held_.size(); ++r)
    if (combination(static_cast<int>(r)) == nullptr) place_[r] = held_[r] != 0 ? boundary_++ : interior_++;
}

const DependentRow *Rows::combination(int row) const {
  if (dependent_at_.empty()) return nullptr;
  const int at = dependent_at_[static_cast<std::size_t>(row)];
  return at < 0 ? nullptr : &dependent_[static_cast<std::size_t>(at)];
}

PartedMatrixBuilder::PartedMatrixBuilder(const Rows &rows)
    : rows_(rows), bb_(Dense::Zero(rows.boundary(), rows.boundary())) {}

void PartedMatrixBuilder::add(int row, int column, double value) {
  if (rows_.combination(row) == nullptr && rows_.combination(column) == nullptr)
    add_sound(row, column, value);
  else
    add_combined(row, column, value);
}

// An entry between two rows that stand for themselves. What comes several times adds up.
void PartedMatrixBuilder::add_sound(int row, int column, double value) {
  const int a = rows_.place(row);
  const int b = rows_.place(column);
  if (rows_.held(row) && rows_.held(column)) {
    bb_(a, b) += value;
    if (a != b) bb_(b, a) += value;
  } else if (rows_.held(row)) {
    ib_.emplace_back(b, a, value);
  } else if (rows_.held(column)) {
    ib_.emplace_back(a, b, value);
  } else {
    ii_.emplace_back(std::min(a, b), std::max(a, b), value);
  }
}

// The entry (r, c) and its mirror image go to all pairs of the rows that r and c stand for.
void PartedMatrixBuilder::add_combined(int row, int column, double value) {
  const std::vector<std::pair<int, double>> row_itself = {{row, 1.0}};
  const std::vector<std::pair<int, double>> column_itself = {{column, 1.0}};
  const DependentRow *left = rows_.combination(row);
  const DependentRow *right = rows_.combination(column);
  const auto &rs = left != nullptr ? left->terms : row_itself;
  const auto &cs = right != nullptr ? right->terms : column_itself;
  for (const auto &[r, a] : rs)
    for (const auto &[c, b] : cs) {
      const double v = a * b * value;
      if (row == column) {
        if (r <= c) add_sound(r, c, v);  // both orders come; the mirror image is added with the upper one
      } else {
        add_sound(r, c, r == c ? 2.0 * v : v);
      }
    }
}

PartedMatrix PartedMatrixBuilder::build() {
  PartedMatrix matrix;
  matrix.ii.resize(rows_.interior(), rows_.interior());
  matrix.ib.resize(rows_.interior(), rows_.boundary());
  matrix.ii.setFromTriplets(ii_.begin(), ii_.end());
  ii_ = {};
  matrix.ib.setFromTriplets(ib_.begin(), ib_.end());
  ib_ = {};
  matrix.bb = std::move(bb_);
  return matrix;
}

namespace {

// The three words of a line, without memory of its own; false when there are more or fewer.
bool three_words(std::string_view line, std::array<std::string_view, 3> &words) {
  std::size_t at = 0;
  for (std::size_t w = 0;; ++w) {
    while (at < line.size() && (line[at] == ' ' || line[at] == '\t' || line[at] == '\r')) ++at;
    if (at == line.size()) return w == 3;
    if (w == 3) return false;
    const std::size_t begin = at;
    while (at < line.size() && line[at] != ' ' && line[at] != '\t' && line[at] != '\r') ++at;
    words[w] = line.substr(begin, at - begin);
  }
}

}  // namespace

void read_matrix_entries(const std::string &path, std::size_t rows, PartedMatrixBuilder &builder,
                         const std::function<void(long)> &progress) {
  LineReader reader(path);
  std::string_view line;
  std::array<std::string_view, 3> words;
  while (reader.next(line)) {
    if (trim(line).empty()) continue;
    const auto value = three_words(line, words) ? to_double(words[2]) : std::nullopt;
    if (!value) reader.fail("an entry 'row column value' expected");
    const int row = to_int(words[0]).value_or(0);
    const int column = to_int(words[1]).value_or(0);
    if (row < 1 || column < row || static_cast<std::size_t>(column) > rows)
      reader.fail("an entry of the upper triangle of a matrix of " + std::to_string(rows) + " rows expected");
    builder.add(row - 1, column - 1, *value);
    if (progress && (reader.line() & 0xfffff) == 0) progress(reader.line());
  }
  if (builder.empty()) throw InputError({path, 0}, "the matrix has no entries");
}

}  // namespace sbrtranslate
