// NumPy's packed arrays: a zip archive, without compression, of arrays in NumPy's own format.
//
// An array (numpy.lib.format, version 1.0): "\x93NUMPY", the version, the length of the header in two bytes, the header
// as a Python dictionary filled up with blanks to a multiple of 64 bytes, then the values in little-endian order. An
// archive (PKWARE APPNOTE 6.3): each file behind a local header, then a directory, then its end; sizes above 32 bits
// stand in an extra field (zip64).
#include <zlib.h>

#include <bit>
#include <cstring>

#include "export.h"

namespace sbrtool {
namespace {

constexpr std::uint64_t kWord = 0xFFFFFFFFU;

void put(std::string &bytes, std::uint64_t value, int count) {
  for (int i = 0; i < count; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFFU);
}

std::string array_header(const std::string &type, std::int64_t rows) {
  std::string text = "{'descr': " + type + ", 'fortran_order': False, 'shape': (" + std::to_string(rows) + ",), }";
  constexpr std::size_t kLead = 10;
  while ((kLead + text.size() + 1) % 64 != 0) text += ' ';
  text += '\n';
  if (text.size() > 0xFFFF) throw Failure(kFailed, "a table has too many columns for the format");
  std::string header("\x93NUMPY\x01\x00", 8);
  put(header, text.size(), 2);
  return header + text;
}

class Archive {
 public:
  explicit Archive(std::FILE *file) : file_(file) {}

  // Begins a file whose size is known; what follows goes through write().
  void begin(const std::string &name, std::uint64_t size) {
    entries_.push_back({name, size, position_, static_cast<std::uint32_t>(crc32(0, nullptr, 0))});
    send(local_header(entries_.back()));
    left_ = size;
  }
  void write(const void *data, std::size_t size) {
    Entry &entry = entries_.back();
    if (size > left_) throw Failure(kFailed, "a table has more rows than were announced");
    left_ -= size;
    entry.sum = static_cast<std::uint32_t>(crc32(entry.sum, static_cast<const Bytef *>(data), static_cast<uInt>(size)));
    send(data, size);
  }
  // The sum stands ahead of what it is the sum of.
  void end() {
    if (left_ != 0) throw Failure(kFailed, "a table has fewer rows than were announced");
    const Entry &entry = entries_.back();
    std::string sum;
    put(sum, entry.sum, 4);
    const bool patched = fseeko(file_, static_cast<off_t>(entry.offset + 14), SEEK_SET) == 0 &&
                         std::fwrite(sum.data(), 1, 4, file_) == 4 && fseeko(file_, 0, SEEK_END) == 0;
    if (!patched) throw Failure(kFailed, "the archive cannot be written");
  }
  void finish() {
    const std::uint64_t start = position_;
    for (const Entry &entry : entries_) send(directory_entry(entry));
    const std::uint64_t size = position_ - start;
    const bool large = start > kWord - 1 || size > kWord - 1;
    if (large) send(large_end(start, size));
    std::string end;
    put(end, 0x06054B50, 4);
    put(end, 0, 4);
    put(end, entries_.size(), 2);
    put(end, entries_.size(), 2);
    put(end, large ? kWord : size, 4);
    put(end, large ? kWord : start, 4);
    put(end, 0, 2);
    send(end);
  }

 private:
  struct Entry {
    std::string name;
    std::uint64_t size;
    std::uint64_t offset;
    std::uint32_t sum;
  };

  void send(const void *data, std::size_t size) {
    if (std::fwrite(data, 1, size, file_) != size) throw Failure(kFailed, "the archive cannot be written");
    position_ += size;
  }
  void send(const std::string &bytes) { send(bytes.data(), bytes.size()); }

  // Version, flags, method (stored), time and date (the first of 1980), sum, sizes.
  static void put_facts(std::string &bytes, const Entry &entry, bool large) {
    put(bytes, large ? 45 : 20, 2);
    put(bytes, 0, 2);
    put(bytes, 0, 2);
    put(bytes, 0, 2);
    put(bytes, 0x21, 2);
    put(bytes, entry.sum, 4);
    put(bytes, large ? kWord : entry.size, 4);
    put(bytes, large ? kWord : entry.size, 4);
    put(bytes, entry.name.size(), 2);
  }
  static std::string local_header(const Entry &entry) {
    const bool large = entry.size > kWord - 1;
    std::string bytes;
    put(bytes, 0x04034B50, 4);
    put_facts(bytes, entry, large);
    put(bytes, large ? 20 : 0, 2);
    bytes += entry.name;
    if (large) {
      put(bytes, 1, 2);
      put(bytes, 16, 2);
      put(bytes, entry.size, 8);
      put(bytes, entry.size, 8);
    }
    return bytes;
  }
  static std::string directory_entry(const Entry &entry) {
    const bool large = entry.size > kWord - 1 || entry.offset > kWord - 1;
    std::string bytes;
    put(bytes, 0x02014B50, 4);
    put(bytes, 45, 2);
    put_facts(bytes, entry, large);
    put(bytes, large ? 28 : 0, 2);
    put(bytes, 0, 2);
    put(bytes, 0, 2);
    put(bytes, 0, 2);
    put(bytes, 0, 4);
    put(bytes, large ? kWord : entry.offset, 4);
    bytes += entry.name;
    if (large) {
      put(bytes, 1, 2);
      put(bytes, 24, 2);
      put(bytes, entry.size, 8);
      put(bytes, entry.size, 8);
      put(bytes, entry.offset, 8);
    }
    return bytes;
  }
  [[nodiscard]] std::string large_end(std::uint64_t start, std::uint64_t size) const {
    std::string bytes;
    put(bytes, 0x06064B50, 4);
    put(bytes, 44, 8);
    put(bytes, 45, 2);
    put(bytes, 45, 2);
    put(bytes, 0, 8);
    put(bytes, entries_.size(), 8);
    put(bytes, entries_.size(), 8);
    put(bytes, size, 8);
    put(bytes, start, 8);
    put(bytes, 0x07064B50, 4);
    put(bytes, 0, 4);
    put(bytes, start + size, 8);
    put(bytes, 1, 4);
    return bytes;
  }

  std::FILE *file_;
  std::vector<Entry> entries_;
  std::uint64_t position_ = 0;
  std::uint64_t left_ = 0;
};

// A structured array: integers and reals of 64 bits, named as the columns.
void put_values(Archive &archive, const ExportTable &table) {
  std::string type = "[";
  for (const ExportColumn &column : table.columns)
    type += "('" + column.name + "', '" + (column.integer ? "<i8" : "<f8") + "'), ";
  const std::string header = array_header(type + "]", table.rows);
  const std::size_t width = 8 * table.columns.size();
  archive.begin(table.name + ".npy", header.size() + static_cast<std::uint64_t>(table.rows) * width);
  archive.write(header.data(), header.size());
  std::string bytes;
  table.produce([&](const double *values) {
    for (std::size_t c = 0; c < table.columns.size(); ++c)
      put(bytes,
          table.columns[c].integer ? static_cast<std::uint64_t>(static_cast<std::int64_t>(values[c]))
                                   : std::bit_cast<std::uint64_t>(values[c]),
          8);
    if (bytes.size() < (1U << 16U)) return;
    archive.write(bytes.data(), bytes.size());
    bytes.clear();
  });
  archive.write(bytes.data(), bytes.size());
  archive.end();
}

// The units of the columns, as an array of texts.
void put_units(Archive &archive, const ExportTable &table) {
  std::size_t width = 1;
  for (const ExportColumn &column : table.columns) width = std::max(width, column.unit.size());
  const std::string header =
      array_header("'<U" + std::to_string(width) + "'", static_cast<std::int64_t>(table.columns.size()));
  std::string bytes;
  for (const ExportColumn &column : table.columns)
    for (std::size_t i = 0; i < width; ++i)
      put(bytes, i < column.unit.size() ? static_cast<unsigned char>(column.unit[i]) : 0, 4);
  archive.begin("units.npy", header.size() + bytes.size());
  archive.write(header.data(), header.size());
  archive.write(bytes.data(), bytes.size());
  archive.end();
}

}  // namespace

void export_npz(SBR body, const std::filesystem::path &directory) {
  ExportFiles files(directory);
  for (const ExportTable &table : tables_of(body)) {
    Archive archive(files.open(table.name + ".npz"));
    put_values(archive, table);
    put_units(archive, table);
    archive.finish();
  }
  files.commit();
}

}  // namespace sbrtool
