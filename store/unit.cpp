// Units: words are buffered by pieces in both directions.
#include "unit.h"

#include <algorithm>

namespace qsrv {

void Unit::require(Mode mode) const {
  if (mode_ != mode) throw Failure{Status::bad_unit};
}

// ---- opening and closing -------------------------------------------------------------------------------------------

void Unit::open_to_read() {
  if (mode_ == Mode::write) throw Failure{Status::bad_unit};
  record_ = file_->record(block_, 1).value_or(Record{1, 0, 0});
  word_ = record_.first_word;
  lost_ = false;
  buffer_.clear();
  buffer_start_ = -1;
  mode_ = Mode::read;
}

void Unit::open_to_write() {
  if (!ours_ || mode_ == Mode::write) throw Failure{Status::bad_unit};
  file_->drop_contents(block_);
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
    if (keep)
      file_->keep_block(block_);
    else
      file_->drop_block(block_);
  }
  mode_ = Mode::closed;
}

void Unit::set_trailer(std::span<const std::int64_t, 7> trailer) {
  if (!ours_) throw Failure{Status::bad_unit};
  file_->set_trailer(block_, trailer);
}

// ---- writing -------------------------------------------------------------------------------------------------------

void Unit::store_piece() {
  file_->add_piece(block_, buffer_start_, buffer_);
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
  file_->add_record(block_, record_);
  record_ = Record{record_.number + 1, word_, 0};
}

// ---- reading -------------------------------------------------------------------------------------------------------

// Copies words from the present position on, which all belong to the present record.
void Unit::copy_words(std::span<std::int64_t> words) {
  while (!words.empty()) {
    const std::int64_t start = word_ - word_ % kPieceWords;
    if (start != buffer_start_) {
      buffer_start_ = -1;
      buffer_ = file_->piece(block_, start);
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
  const std::optional<Record> next = lost_ ? std::nullopt : file_->record(block_, record_.number + 1);
  if (!next) throw Failure{Status::end_of_data};
  record_ = *next;
  word_ = record_.first_word;
}

void Unit::set_position(const Position &position) {
  require(Mode::read);
  lost_ = true;
  const std::optional<Record> record = file_->record(block_, position[0]);
  if (!record || position[1] < record->first_word || position[1] > record->first_word + record->words)
    throw Failure{Status::end_of_data};
  record_ = *record;
  word_ = position[1];
  lost_ = false;
}

}  // namespace qsrv
