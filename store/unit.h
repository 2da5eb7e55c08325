// A unit: an attached data block, the words that pass through it, and its position.
#ifndef QSRV_UNIT_H
#define QSRV_UNIT_H

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "datafile.h"
#include "status.h"

namespace qsrv {

using Position = std::array<std::int64_t, 2>;  // record number from 1, word from 0

class Unit {
 public:
  // The block of a file; one that is not ours can only be read.
  Unit(std::shared_ptr<DataFile> file, std::int64_t block, bool ours)
      : file_(std::move(file)), block_(block), ours_(ours) {}

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

 private:
  enum class Mode { closed, read, write };

  void require(Mode mode) const;
  void store_piece();
  void copy_words(std::span<std::int64_t> words);

  std::shared_ptr<DataFile> file_;
  std::int64_t block_;
  bool ours_;
  Mode mode_ = Mode::closed;
  Record record_;          // the present record; while writing its count of words is not yet known
  std::int64_t word_ = 0;  // the next word
  bool lost_ = false;      // a position was asked for that does not exist
  std::vector<std::int64_t> buffer_;
  std::int64_t buffer_start_ = -1;  // the first word of the buffered piece, -1 for none
};

}  // namespace qsrv

#endif
