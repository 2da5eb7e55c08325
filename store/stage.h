// Data blocks that are being written. Their words wait in a temporary file until the run closes, so that nobody else is
// kept waiting while a body is computed.
#ifndef QSRV_STAGE_H
#define QSRV_STAGE_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "qualifiers.h"

namespace qsrv {

inline constexpr std::int64_t kPieceWords = 8192;

// The words of a block are numbered from 0 through all its records.
struct Record {
  std::int64_t number = 0;  // from 1
  std::int64_t first_word = 0;
  std::int64_t words = 0;
};

using Trailer = std::array<std::int64_t, 7>;

// Where the records and words of one data block come from.
class WordSource {
 public:
  WordSource() = default;
  virtual ~WordSource() = default;
  WordSource(const WordSource &) = delete;
  WordSource &operator=(const WordSource &) = delete;

  virtual std::optional<Record> record(std::int64_t number) = 0;
  // Up to kPieceWords words from a multiple of kPieceWords on; empty when there are none.
  virtual std::vector<std::int64_t> piece(std::int64_t first_word) = 0;
};

// A file of slots of kPieceWords words, which no one else sees.
class Stage {
 public:
  // A temporary file beside the path, which has no name.
  static std::shared_ptr<Stage> beside(const std::string &path);
  // A new file of that name, which whoever names it removes.
  static std::shared_ptr<Stage> named(const std::string &path);
  explicit Stage(int file) : file_(file) {}
  ~Stage();
  Stage(const Stage &) = delete;
  Stage &operator=(const Stage &) = delete;

  std::int64_t put(std::span<const std::int64_t> words);  // the slot
  std::vector<std::int64_t> get(std::int64_t slot, std::int64_t words);
  void give_back(const std::vector<std::int64_t> &slots);

 private:
  int file_;
  std::int64_t slots_ = 0;
  std::vector<std::int64_t> free_;
};

class StagedBlock : public WordSource {
 public:
  StagedBlock(std::shared_ptr<Stage> stage, std::string name, Qualifiers qualifiers)
      : stage_(std::move(stage)), name_(std::move(name)), qualifiers_(std::move(qualifiers)) {}

  [[nodiscard]] const std::string &name() const { return name_; }
  [[nodiscard]] const Qualifiers &qualifiers() const { return qualifiers_; }
  [[nodiscard]] bool is_kept() const { return kept_; }
  [[nodiscard]] const std::optional<Trailer> &trailer() const { return trailer_; }
  [[nodiscard]] const std::vector<Record> &records() const { return records_; }
  [[nodiscard]] std::int64_t words() const { return words_; }

  void keep() { kept_ = true; }
  void set_trailer(const Trailer &trailer) { trailer_ = trailer; }
  void add_record(const Record &record) { records_.push_back(record); }
  // Pieces follow each other without gaps; only the last may have less than kPieceWords words.
  void add_piece(std::span<const std::int64_t> words);
  // Forgets all that was written.
  void clear();

  std::optional<Record> record(std::int64_t number) override;
  std::vector<std::int64_t> piece(std::int64_t first_word) override;

 private:
  std::shared_ptr<Stage> stage_;
  std::string name_;
  Qualifiers qualifiers_;
  bool kept_ = false;
  std::optional<Trailer> trailer_;
  std::vector<Record> records_;
  std::vector<std::int64_t> slots_;
  std::int64_t words_ = 0;
};

}  // namespace qsrv

#endif
