#include "stage.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "masterfile.h"
#include "signals.h"
#include "status.h"

namespace qsrv {
namespace {

constexpr std::int64_t kSlotBytes = kPieceWords * static_cast<std::int64_t>(sizeof(std::int64_t));

// Moves all the bytes or throws; `move` is pread or pwrite.
template <class Byte, class Move>
void move_all(Move move, int file, Byte *bytes, std::size_t count, std::int64_t place) {
  while (count > 0) {
    const ssize_t moved = move(file, bytes, count, place);
    if (moved < 0 && errno == EINTR) continue;
    if (moved <= 0) throw Failure{Status::not_written};
    bytes += moved;
    count -= static_cast<std::size_t>(moved);
    place += moved;
  }
}

}  // namespace

std::shared_ptr<Stage> Stage::beside(const std::string &path) {
  const int file = ::open(directory_of(path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (file >= 0) return std::make_shared<Stage>(file);
  // Not every file system knows files without a name: here it loses its name at once.
  const SignalPause pause;
  std::string made;
  const int named_file = create_beside(path, made);
  ::unlink(made.c_str());
  return std::make_shared<Stage>(named_file);
}

std::shared_ptr<Stage> Stage::named(const std::string &path) {
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (file < 0) throw Failure{Status::not_opened};
  return std::make_shared<Stage>(file);
}

Stage::~Stage() { ::close(file_); }

std::int64_t Stage::put(std::span<const std::int64_t> words) {
  const bool used_before = !free_.empty();
  const std::int64_t slot = used_before ? free_.back() : slots_;
  move_all(::pwrite, file_, reinterpret_cast<const char *>(words.data()), words.size_bytes(), slot * kSlotBytes);
  if (used_before)
    free_.pop_back();
  else
    ++slots_;
  return slot;
}

std::vector<std::int64_t> Stage::get(std::int64_t slot, std::int64_t words) {
  std::vector<std::int64_t> result(static_cast<std::size_t>(words));
  move_all(::pread, file_, reinterpret_cast<char *>(result.data()), result.size() * sizeof(std::int64_t),
           slot * kSlotBytes);
  return result;
}

void Stage::give_back(const std::vector<std::int64_t> &slots) { free_.insert(free_.end(), slots.begin(), slots.end()); }

// ---- blocks --------------------------------------------------------------------------------------------------------

void StagedBlock::add_piece(std::span<const std::int64_t> words) {
  slots_.push_back(stage_->put(words));
  words_ += static_cast<std::int64_t>(words.size());
}

void StagedBlock::clear() {
  stage_->give_back(slots_);
  slots_.clear();
  records_.clear();
  trailer_.reset();
  words_ = 0;
  kept_ = false;
}

std::optional<Record> StagedBlock::record(std::int64_t number) {
  if (number < 1 || number > static_cast<std::int64_t>(records_.size())) return std::nullopt;
  return records_[static_cast<std::size_t>(number - 1)];
}

std::vector<std::int64_t> StagedBlock::piece(std::int64_t first_word) {
  if (first_word < 0 || first_word >= words_) return {};
  return stage_->get(slots_[static_cast<std::size_t>(first_word / kPieceWords)],
                     std::min(kPieceWords, words_ - first_word));
}

}  // namespace qsrv
