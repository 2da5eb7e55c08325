// Units: words are buffered by pieces in both directions.
#include "unit.h"

#include <algorithm>

namespace qsrv {

void Unit::require(Mode mode) const {
  if (mode_ != mode) throw Failure{Status::bad_unit};
}

// ---- opening and closing -------------------------------------------------------------------------------------------

Unit::Unit(std::shared_ptr<DataFile> file, std::int64_t id, std::shared_ptr<StagedBlock> rewrite)
    : file_(std::move(file)), id_(id), staged_(std::move(rewrite)) {
  attach_stored();
}

void Unit::attach_stored() {
  auto snapshot = std::make_shared<Snapshot>(file_);
  if (!file_->has_block(id_)) throw Failure{Status::bad_unit};
  source_ = std::make_shared<StoredBlock>(std::move(snapshot), id_);
}

void Unit::open_to_read() {
  if (mode_ == Mode::write) throw Failure{Status::bad_unit};
  if (is_written_)
    source_ = staged_;
  else if (!source_)
    attach_stored();
  record_ = source_->record(1).value_or(Record{1, 0, 0});
  word_ = record_.first_word;
  lost_ = false;
  buffer_.clear();
  buffer_start_ = -1;
  mode_ = Mode::read;
}

void Unit::open_to_write() {
  if (!staged_ || mode_ == Mode::write) throw Failure{Status::bad_unit};
  is_written_ = true;
  source_.reset();
  staged_->clear();
  record_ = Record{1, 0, 0};
  word_ = 0;
  buffer_.clear();
  buffer_start_ = 0;
  mode_ = Mode::write;
}

void Unit::close(bool keep) {
  if (mode_ == Mode::write) {
    if (word_ > record_.first_word) end_record();
    if (!buffer_.empty()) store_piece();
    if (keep) {
      staged_->keep();
    } else {
      staged_->clear();
      if (file_) dropped_ = id_;
    }
  }
  mode_ = Mode::closed;
  source_.reset();
  buffer_ = {};
}

void Unit::set_trailer(std::span<const std::int64_t, 7> trailer) {
  if (!is_written_) throw Failure{Status::bad_unit};
  Trailer words{};
  std::copy(trailer.begin(), trailer.end(), words.begin());
  staged_->set_trailer(words);
}

// ---- writing -------------------------------------------------------------------------------------------------------

void Unit::store_piece() {
  staged_->add_piece(buffer_);
  buffer_start_ += static_cast<std::int64_t>(buffer_.size());
  buffer_.clear();
}

void Unit::write(std::span<const std::int64_t> words) {
  require(Mode::write);
  while (!words.empty()) {
    const std::size_t room = static_cast<std::size_t>(kPieceWords) - buffer_.size();
    const auto taken = words.first(std::min(room, words.size()));
    buffer_.insert(buffer_.end(), taken.begin(), taken.end());
    word_ += static_cast<std::int64_t>(taken.size());
    words = words.subspan(taken.size());
    if (buffer_.size() == static_cast<std::size_t>(kPieceWords)) store_piece();
  }
}

void Unit::end_record() {
  require(Mode::write);
  record_.words = word_ - record_.first_word;
  staged_->add_record(record_);
  record_ = Record{record_.number + 1, word_, 0};
}

// ---- reading -------------------------------------------------------------------------------------------------------

// Copies words from the present position on, which all belong to the present record.
void Unit::copy_words(std::span<std::int64_t> words) {
  while (!words.empty()) {
    const std::int64_t start = word_ - word_ % kPieceWords;
    if (start != buffer_start_) {
      buffer_start_ = -1;
      buffer_ = source_->piece(start);
      buffer_start_ = start;
    }
    const auto offset = static_cast<std::size_t>(word_ - start);
    if (offset >= buffer_.size()) throw Failure{Status::not_a_store};
    const std::size_t count = std::min(words.size(), buffer_.size() - offset);
    std::copy_n(buffer_.begin() + static_cast<std::ptrdiff_t>(offset), count, words.begin());
    word_ += static_cast<std::int64_t>(count);
    words = words.subspan(count);
  }
}

Status Unit::read(std::span<std::int64_t> words, std::int64_t &count) {
  require(Mode::read);
  std::fill(words.begin(), words.end(), 0);
  count = 0;
  if (lost_) return Status::end_of_data;
  const std::int64_t left = record_.first_word + record_.words - word_;
  const auto wanted = static_cast<std::int64_t>(words.size());
  const std::int64_t there = std::min(left, wanted);
  copy_words(words.first(static_cast<std::size_t>(there)));
  count = there;
  return there < wanted ? Status::end_of_record : Status::ok;
}

void Unit::skip_record() {
  require(Mode::read);
  const std::optional<Record> next = lost_ ? std::nullopt : source_->record(record_.number + 1);
  if (!next) throw Failure{Status::end_of_data};
  record_ = *next;
  word_ = record_.first_word;
}

void Unit::set_position(const Position &position) {
  require(Mode::read);
  lost_ = true;
  const std::optional<Record> record = source_->record(position[0]);
  if (!record || position[1] < record->first_word || position[1] > record->first_word + record->words)
    throw Failure{Status::end_of_data};
  record_ = *record;
  word_ = position[1];
  lost_ = false;
}

}  // namespace qsrv
