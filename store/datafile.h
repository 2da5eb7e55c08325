// The data file of a database: an SQLite file with the data blocks, their qualifiers, records and words.
//
//   block      id, name, kept (0 while it is being written), trailer (seven words)
//   qualifier  block, name, value
//   record     block, number from 1, first word, count of words
//   piece      block, first word, up to kPieceWords words
//
// The words of a block are numbered from 0 through all its records. Pieces start at multiples of kPieceWords.
#ifndef QSRV_DATAFILE_H
#define QSRV_DATAFILE_H

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct sqlite3;

namespace qsrv {

inline constexpr std::int64_t kPieceWords = 8192;

using Qualifiers = std::map<std::string, std::string>;  // names in lower case

struct Record {
  std::int64_t number = 0;
  std::int64_t first_word = 0;
  std::int64_t words = 0;
};

struct BlockEntry {
  std::int64_t id = 0;
  std::string name;
  Qualifiers qualifiers;
};

// Every operation throws when the file does not do as asked.
class DataFile {
 public:
  enum class Access { read, write, scratch };

  // Opens a data file; with write or scratch one that does not exist is created without contents.
  DataFile(const std::string &path, Access access);
  ~DataFile();
  DataFile(const DataFile &) = delete;
  DataFile &operator=(const DataFile &) = delete;

  // Throws not_a_store unless the file has the tables of this store.
  void require_store();
  // Makes the file an empty store, whatever it held.
  void create_tables();

  void begin(bool exclusive);
  void commit();
  void roll_back() noexcept;

  // The kept blocks in order of their creation.
  std::vector<BlockEntry> blocks();
  std::int64_t add_block(const std::string &name, const Qualifiers &qualifiers);
  // Keeps a block; another one with the same name and qualifiers goes.
  void keep_block(std::int64_t block);
  void drop_block(std::int64_t block);
  void drop_contents(std::int64_t block);
  void drop_unkept();
  void set_trailer(std::int64_t block, std::span<const std::int64_t, 7> trailer);

  void add_record(std::int64_t block, const Record &record);
  std::optional<Record> record(std::int64_t block, std::int64_t number);
  void add_piece(std::int64_t block, std::int64_t first_word, std::span<const std::int64_t> words);
  std::vector<std::int64_t> piece(std::int64_t block, std::int64_t first_word);

 private:
  friend class Statement;
  void run(const char *sql);
  Qualifiers qualifiers_of(std::int64_t block);

  struct Close {
    void operator()(sqlite3 *connection) const noexcept;
  };
  std::unique_ptr<sqlite3, Close> connection_;
};

}  // namespace qsrv

#endif
