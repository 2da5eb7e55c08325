// The data file of a database: an SQLite file with the data blocks, their qualifiers, records and words.
//
//   block   id, trailer (seven words)
//   entry   a block's place in the list, its name and its qualifiers
//   record  block, number from 1, first word, count of words
//   piece   block, first word, up to kPieceWords words
//
// Pieces start at multiples of kPieceWords. Layout 1 had the qualifiers as rows of names and values, of any names; such
// a file is read as it is, and brought to the present layout by whoever writes to it.
#ifndef QSRV_DATAFILE_H
#define QSRV_DATAFILE_H

#include <sys/stat.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "connection.h"
#include "qualifiers.h"
#include "stage.h"

namespace qsrv {

struct BlockEntry {
  std::int64_t id = 0;
  std::int64_t place = 0;  // rises along the list
  Qualifiers qualifiers;
};

// Every operation throws when the file does not do as asked.
class DataFile {
 public:
  enum class Access { read, write, create };

  // Opens a data file. With create, one that does not exist or is empty becomes a store without data blocks. A file of
  // another application is not touched.
  DataFile(const std::string &path, Access access);
  DataFile(const DataFile &) = delete;
  DataFile &operator=(const DataFile &) = delete;

  // ---- reading -----------------------------------------------------------------------------------------------------
  // From the first hold to the last release one state of the file is seen, whatever others write.
  void hold();
  void release() noexcept;
  [[nodiscard]] bool is_held() const { return holds_ > 0; }
  // False when another file, or one of another layout, stands under the name by now.
  bool is_current();

  // A text that changes whenever what the lists show may have changed.
  std::string version();

  // The data blocks of a name that meet the conditions, in the order of the list.
  std::vector<BlockEntry> find(const std::string &name, const Conditions &where);
  // The one at a row of that list, from 1.
  std::vector<BlockEntry> find_row(const std::string &name, const Conditions &where, std::int64_t row);
  bool has_block(std::int64_t id);
  bool has_blocks();
  std::optional<Record> record(std::int64_t block, std::int64_t number);
  std::vector<std::int64_t> piece(std::int64_t block, std::int64_t first_word);

  // ---- writing -----------------------------------------------------------------------------------------------------
  // Waits for other writers; the file stands under its name then, or else false is given and nothing has begun.
  bool begin();
  void commit();
  void roll_back() noexcept { connection_->roll_back(); }
  // Stores a data block. It takes the place of one with the same name and qualifiers, which goes.
  void store(StagedBlock &block);
  void drop(std::int64_t id);
  // Gives back room that the file no longer needs.
  void shrink();
  // Lets readers and a writer work at the same time, where the file system can do that. The last step of a writer.
  void use_log() noexcept;
  // Looks through the whole file; throws not_a_store when anything is wrong.
  void verify();

 private:
  void connect();
  void connect_untouched();
  void leave_log();
  bool can_create_beside() const;
  void require_store();
  bool has_schema(bool old_layout);
  void create_tables();
  void show_old_layout();
  void upgrade();
  void require_unchanged() const;
  BlockEntry entry_of(Statement &row);
  std::int64_t add_entry(const StagedBlock &block, std::optional<std::int64_t> place);
  void add_words(StagedBlock &block, std::int64_t id);

  std::string path_;
  Access access_;
  std::unique_ptr<Connection> connection_;
  struct stat state_ {};    // of the file when it was opened
  bool untouched_ = false;  // read without locks
  int layout_ = 0;
  int holds_ = 0;
  std::int64_t serial_ = 0;  // of this object in the process
};

// A hold on a data file for as long as it lives.
class Snapshot {
 public:
  explicit Snapshot(std::shared_ptr<DataFile> file) : file_(std::move(file)) { file_->hold(); }
  ~Snapshot() { file_->release(); }
  Snapshot(const Snapshot &) = delete;
  Snapshot &operator=(const Snapshot &) = delete;
  [[nodiscard]] DataFile &file() const { return *file_; }

 private:
  std::shared_ptr<DataFile> file_;
};

// A data block of a file in one of its states.
class StoredBlock : public WordSource {
 public:
  StoredBlock(std::shared_ptr<Snapshot> snapshot, std::int64_t id) : snapshot_(std::move(snapshot)), id_(id) {}
  std::optional<Record> record(std::int64_t number) override { return snapshot_->file().record(id_, number); }
  std::vector<std::int64_t> piece(std::int64_t first_word) override { return snapshot_->file().piece(id_, first_word); }

 private:
  std::shared_ptr<Snapshot> snapshot_;
  std::int64_t id_;
};

}  // namespace qsrv

#endif
