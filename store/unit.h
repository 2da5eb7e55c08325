// A unit: an attached data block, the words that pass through it, and its position.
#ifndef QSRV_UNIT_H
#define QSRV_UNIT_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "datafile.h"
#include "stage.h"
#include "status.h"

namespace qsrv {

using Position = std::array<std::int64_t, 2>;  // record number from 1, word from 0

class Unit {
 public:
  // A data block of this run.
  explicit Unit(std::shared_ptr<StagedBlock> block) : staged_(std::move(block)), is_written_(true) {}
  // A stored one; `rewrite` takes what is written in its place, and is null when it can only be read.
  Unit(std::shared_ptr<DataFile> file, std::int64_t id, std::shared_ptr<StagedBlock> rewrite);

  void open_to_read();
  void open_to_write();
  // Closes the unit. A block that was written is kept or goes.
  void close(bool keep);
  void set_trailer(std::span<const std::int64_t, 7> trailer);

  void write(std::span<const std::int64_t> words);
  void end_record();

  // Reads words of the present record; zeros behind its end. The status, and the number of words that were there.
  Status read(std::span<std::int64_t> words, std::int64_t &count);
  void skip_record();

  [[nodiscard]] Position position() const { return {record_.number, word_}; }
  void set_position(const Position &position);

  [[nodiscard]] bool is_stored() const { return !is_written_; }
  [[nodiscard]] bool is_closed() const { return mode_ == Mode::closed && source_ == nullptr; }
  // The stored block that a close without keep has given up.
  [[nodiscard]] const std::optional<std::int64_t> &dropped() const { return dropped_; }

 private:
  enum class Mode { closed, read, write };

  void require(Mode mode) const;
  void store_piece();
  void copy_words(std::span<std::int64_t> words);
  void attach_stored();

  std::shared_ptr<DataFile> file_;
  std::int64_t id_ = 0;
  std::shared_ptr<StagedBlock> staged_;
  bool is_written_ = false;  // the block is the staged one
  std::optional<std::int64_t> dropped_;
  std::shared_ptr<WordSource> source_;  // what is read; a stored block keeps its state as long as it stands here
  Mode mode_ = Mode::closed;
  Record record_;          // the present record; while writing its count of words is not yet known
  std::int64_t word_ = 0;  // the next word
  bool lost_ = false;      // a position was asked for that does not exist
  std::vector<std::int64_t> buffer_;
  std::int64_t buffer_start_ = -1;  // the first word of the buffered piece, -1 for none
};

}  // namespace qsrv

#endif
