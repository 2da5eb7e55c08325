#include "matrices/matrix_file.h"

#ifdef SBRKIT_HAVE_LIBZIP
#include <zip.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>

namespace sbrtranslate {
namespace {

[[noreturn]] void fail(const std::string &path, const std::string &text) { throw InputError({path, 0}, text); }

// Entries as they come: of a half, or of both.
struct Gathered {
  std::size_t rows = 0;
  bool both_halves = false;
  std::vector<MatrixEntry> entries;  // any order, row and column as in the file
};

void check_size(const std::string &path, std::uint64_t rows, std::uint64_t columns) {
  if (rows != columns || rows == 0 || rows > 2000000000)
    fail(path, "a square matrix is needed, this one has " + std::to_string(rows) + " rows and " +
                   std::to_string(columns) + " columns");
}

// Sorts the entries into the upper triangle; of two halves the mean is taken.
SymmetricMatrix folded(const std::string &path, Gathered gathered) {
  double largest = 0.0;
  for (const MatrixEntry &entry : gathered.entries) {
    if (!std::isfinite(entry.value)) fail(path, "the matrix has a value that is not a number");
    largest = std::max(largest, std::fabs(entry.value));
  }
  const auto key = [](const MatrixEntry &e) {
    return std::make_tuple(std::min(e.row, e.column), std::max(e.row, e.column), e.row > e.column);
  };
  std::sort(gathered.entries.begin(), gathered.entries.end(),
            [&](const MatrixEntry &a, const MatrixEntry &b) { return key(a) < key(b); });
  SymmetricMatrix matrix;
  matrix.rows = gathered.rows;
  const auto name = [](const MatrixEntry &e) {
    return "entry " + std::to_string(e.row + 1) + ", " + std::to_string(e.column + 1);
  };
  for (std::size_t i = 0; i < gathered.entries.size();) {
    const MatrixEntry &first = gathered.entries[i];
    const MatrixEntry *second = i + 1 < gathered.entries.size() ? &gathered.entries[i + 1] : nullptr;
    const bool pair = second != nullptr && second->row == first.column && second->column == first.row;
    if (second != nullptr && second->row == first.row && second->column == first.column)
      fail(path, name(first) + " comes twice");
    if (pair && !gathered.both_halves && first.row != first.column)
      fail(path, name(first) + " stands in both halves of a matrix that is said to be symmetric");
    double value = first.value;
    if (gathered.both_halves && first.row != first.column) {
      const double other = pair ? second->value : 0.0;
      if (!(std::fabs(value - other) <= 1e-9 * largest))
        fail(path, "the matrix is not symmetric: " + name(first) + " is " + show(value, 9) + ", its mirror image " +
                       show(other, 9));
      value = 0.5 * (value + other);
    }
    if (value != 0.0)
      matrix.upper.push_back({std::min(first.row, first.column), std::max(first.row, first.column), value});
    i += pair && first.row != first.column ? 2 : 1;
  }
  if (matrix.upper.empty()) fail(path, "the matrix has no entries");
  return matrix;
}

// ---- Matrix Market

Gathered read_matrix_market(const std::string &path) {
  LineReader reader(path);
  std::string_view line;
  reader.next(line);
  std::string head(line);
  for (char &c : head) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  const auto words = split_words(head);
  if (words.size() != 5 || words[1] != "matrix" || words[2] != "coordinate" ||
      (words[3] != "real" && words[3] != "integer") || (words[4] != "symmetric" && words[4] != "general"))
    reader.fail("'%%MatrixMarket matrix coordinate real symmetric' (or general) expected");
  Gathered gathered;
  gathered.both_halves = words[4] == "general";
  do {
    if (!reader.next(line)) reader.fail("the file ends where its counts should be");
  } while (trim(line).empty() || line.front() == '%');
  std::vector<int> count;
  for (const std::string_view word : split_words(line)) count.push_back(to_int(word).value_or(-1));
  if (count.size() != 3 || count[0] < 1 || count[1] < 1 || count[2] < 0)
    reader.fail("rows, columns and entries expected");
  check_size(path, static_cast<std::uint64_t>(count[0]), static_cast<std::uint64_t>(count[1]));
  gathered.rows = static_cast<std::size_t>(count[0]);
  const auto total = static_cast<std::size_t>(count[2]);
  const std::uint64_t room = reader.descriptor() >= 0 ? reader.size() : reader.size() * 1024;
  if (total > room / 6) reader.fail(std::to_string(total) + " entries cannot be in a file of this size");
  gathered.entries.reserve(total);
  while (reader.next(line)) {
    const auto row = split_words(line);
    if (row.empty()) continue;
    const auto value = row.size() == 3 ? to_double(row[2]) : std::nullopt;
    const int r = value ? to_int(row[0]).value_or(0) : 0;
    const int c = value ? to_int(row[1]).value_or(0) : 0;
    if (r < 1 || c < 1 || r > count[0] || c > count[0])
      reader.fail("an entry 'row column value' of a matrix of " + std::to_string(gathered.rows) + " rows expected");
    gathered.entries.push_back({r - 1, c - 1, *value});
  }
  if (gathered.entries.size() != total)
    reader.fail("the head says " + std::to_string(total) + " entries, there are " +
                std::to_string(gathered.entries.size()));
  return gathered;
}

// ---- NumPy

struct Array {
  char kind = 0;  // f or i
  std::size_t width = 0;
  bool columns_first = false;
  std::vector<std::uint64_t> shape;
  std::size_t count = 1;
  std::string bytes;  // the file
  std::size_t data = 0;
  [[nodiscard]] double real(std::size_t i) const;
  [[nodiscard]] std::int64_t whole(std::size_t i) const;
};

template <class Value>
Value value_at(const Array &array, std::size_t i) {
  Value value;
  std::memcpy(&value, array.bytes.data() + array.data + i * sizeof value, sizeof value);
  return value;
}

double Array::real(std::size_t i) const {
  if (kind == 'i') return static_cast<double>(whole(i));
  return width == 4 ? static_cast<double>(value_at<float>(*this, i)) : value_at<double>(*this, i);
}

std::int64_t Array::whole(std::size_t i) const {
  return width == 4 ? value_at<std::int32_t>(*this, i) : value_at<std::int64_t>(*this, i);
}

// The text behind a key of the head, which is a dictionary in Python's notation.
std::string_view behind(std::string_view head, const std::string &key) {
  const std::size_t at = head.find("'" + key + "'");
  const std::size_t colon = at == std::string_view::npos ? at : head.find(':', at);
  return colon == std::string_view::npos ? std::string_view() : trim(head.substr(colon + 1));
}

Array parse_array(const std::string &path, std::string bytes) {
  Array array;
  array.bytes = std::move(bytes);
  const std::string &all = array.bytes;
  if (all.size() < 12 || all.compare(0, 6, "\x93NUMPY") != 0) fail(path, "not a NumPy array");
  const auto byte = [&](std::size_t i) { return static_cast<std::size_t>(static_cast<unsigned char>(all[i])); };
  const bool first = all[6] == 1;
  const std::size_t start = first ? 10 : 12;
  const std::size_t length = byte(8) + 256 * byte(9) + (first ? 0 : 65536 * (byte(10) + 256 * byte(11)));
  if (length > all.size() - start) fail(path, "the head of the array is cut off");
  const std::string_view head(all.data() + start, length);
  array.data = start + length;
  const std::string_view type = behind(head, "descr");
  if (type.size() < 4 || (type.substr(1, 2) != "<f" && type.substr(1, 2) != "<i") || (type[3] != '4' && type[3] != '8'))
    fail(path, "an array of type " + std::string(type.substr(0, 8)) + "; float64, float32, int64 or int32 are read");
  array.kind = type[2];
  array.width = static_cast<std::size_t>(type[3] - '0');
  array.columns_first = behind(head, "fortran_order").substr(0, 4) == "True";
  std::string_view shape = behind(head, "shape");
  if (shape.empty() || shape.front() != '(' || shape.find(')') == std::string_view::npos)
    fail(path, "an array without a shape");
  for (const std::string_view field : split_fields(shape.substr(1, shape.find(')') - 1))) {
    if (field.empty()) continue;
    const auto size = to_int(field);
    if (!size || *size < 0) fail(path, "the shape of an array is damaged");
    array.shape.push_back(static_cast<std::uint64_t>(*size));
    const std::size_t most = (all.size() - array.data) / array.width;
    if (*size != 0 && array.count > most / static_cast<std::size_t>(*size))
      fail(path, "the array is cut off: its shape needs more bytes than there are");
    array.count *= static_cast<std::size_t>(*size);
  }
  if (array.count * array.width > all.size() - array.data) fail(path, "the array is cut off");
  return array;
}

Gathered read_npy(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  const Array array = parse_array(path, std::string(std::istreambuf_iterator<char>(file), {}));
  if (array.shape.size() != 2) fail(path, "an array of two dimensions is needed");
  check_size(path, array.shape[0], array.shape[1]);
  Gathered gathered;
  gathered.rows = array.shape[0];
  gathered.both_halves = true;
  for (std::size_t i = 0; i < array.count; ++i)
    if (const double value = array.real(i); value != 0.0)
      gathered.entries.push_back({static_cast<int>(i / gathered.rows), static_cast<int>(i % gathered.rows), value});
  return gathered;
}

#ifdef SBRKIT_HAVE_LIBZIP
struct CloseArchive {
  void operator()(zip_t *archive) const { zip_discard(archive); }
};

// The arrays of an archive by their names, without ".npy".
std::map<std::string, Array> read_archive(const std::string &path, std::uint64_t size) {
  int code = 0;
  const std::unique_ptr<zip_t, CloseArchive> archive(zip_open(path.c_str(), ZIP_RDONLY, &code));
  if (!archive) fail(path, "not a NumPy archive, or damaged");
  std::map<std::string, Array> arrays;
  const zip_int64_t total = zip_get_num_entries(archive.get(), 0);
  for (zip_int64_t i = 0; i < total; ++i) {
    zip_stat_t facts;
    zip_stat_init(&facts);
    if (zip_stat_index(archive.get(), static_cast<zip_uint64_t>(i), 0, &facts) != 0)
      fail(path, "the archive is damaged");
    std::string name = facts.name != nullptr ? facts.name : "";
    if (!name.ends_with(".npy")) continue;
    name.resize(name.size() - 4);
    if (name == "format") continue;
    // What is packed takes a thousandth of its size at least.
    if (facts.size / 1100 > size) fail(path, name + " is larger than the archive can hold");
    std::string bytes(facts.size, '\0');
    zip_file_t *file = zip_fopen_index(archive.get(), static_cast<zip_uint64_t>(i), 0);
    const bool whole =
        file != nullptr && zip_fread(file, bytes.data(), bytes.size()) == static_cast<zip_int64_t>(bytes.size());
    if (file != nullptr) zip_fclose(file);
    if (!whole) fail(path, name + " cannot be read: the archive is damaged");
    arrays.emplace(name, parse_array(path, std::move(bytes)));
  }
  return arrays;
}

// Compressed rows or columns (which are the same for a symmetric matrix), or coordinates.
Gathered read_npz(const std::string &path) {
  const auto arrays = read_archive(path, std::filesystem::file_size(path));
  const auto array = [&](const char *name, char kind) -> const Array & {
    const auto found = arrays.find(name);
    if (found == arrays.end())
      fail(path, std::string("no array '") + name + "': a sparse matrix as scipy.sparse.save_npz writes it is needed");
    if (kind == 'i' && found->second.kind != 'i')
      fail(path, std::string("the array '") + name + "' holds no whole numbers");
    return found->second;
  };
  const Array &shape = array("shape", 'i');
  if (shape.count != 2 || shape.whole(0) < 0 || shape.whole(1) < 0) fail(path, "the shape of the matrix is damaged");
  check_size(path, static_cast<std::uint64_t>(shape.whole(0)), static_cast<std::uint64_t>(shape.whole(1)));
  Gathered gathered;
  gathered.rows = static_cast<std::size_t>(shape.whole(0));
  gathered.both_halves = true;
  const auto rows = static_cast<std::int64_t>(gathered.rows);
  const Array &data = array("data", 'f');
  const auto add = [&](std::int64_t row, std::int64_t column, std::size_t at) {
    if (row < 0 || row >= rows || column < 0 || column >= rows) fail(path, "an entry lies outside of the matrix");
    if (const double value = data.real(at); value != 0.0)
      gathered.entries.push_back({static_cast<int>(row), static_cast<int>(column), value});
  };
  if (arrays.count("row") != 0) {
    const Array &row = array("row", 'i');
    const Array &column = array("col", 'i');
    if (row.count != data.count || column.count != data.count)
      fail(path, "the arrays of the matrix have different lengths");
    for (std::size_t i = 0; i < data.count; ++i) add(row.whole(i), column.whole(i), i);
    return gathered;
  }
  const Array &starts = array("indptr", 'i');
  const Array &columns = array("indices", 'i');
  if (starts.count != gathered.rows + 1 || columns.count != data.count || starts.whole(0) != 0 ||
      starts.whole(gathered.rows) != static_cast<std::int64_t>(data.count))
    fail(path, "the arrays of the matrix have different lengths");
  for (std::size_t r = 0; r < gathered.rows; ++r) {
    const std::int64_t begin = starts.whole(r);
    const std::int64_t end = starts.whole(r + 1);
    if (begin < 0 || end < begin || end > static_cast<std::int64_t>(data.count))
      fail(path, "the rows of the matrix are damaged");
    for (std::int64_t i = begin; i < end; ++i)
      add(static_cast<std::int64_t>(r), columns.whole(static_cast<std::size_t>(i)), static_cast<std::size_t>(i));
  }
  return gathered;
}
#else
Gathered read_npz(const std::string &path) {
  fail(path, "this build reads no NumPy archives (libzip was not there); save the matrix as Matrix Market");
}
#endif

}  // namespace

SymmetricMatrix read_symmetric_matrix(const std::string &path) {
  if (std::filesystem::is_directory(path)) fail(path, "is a directory");
  std::ifstream file(path, std::ios::binary);
  char magic[6] = {};
  if (!file) fail(path, std::strerror(errno));
  file.read(magic, sizeof magic);
  const std::string_view start(magic, static_cast<std::size_t>(file.gcount()));
  if (start.substr(0, 6) == "\x93NUMPY") return folded(path, read_npy(path));
  if (start.substr(0, 4) == std::string_view("PK\x03\x04", 4)) return folded(path, read_npz(path));
  if (start.substr(0, 2) == "%%" || start.substr(0, 2) == "\x1f\x8b") return folded(path, read_matrix_market(path));
  fail(path, "neither Matrix Market (%%MatrixMarket) nor a NumPy file");
}

}  // namespace sbrtranslate
