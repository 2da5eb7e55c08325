#include "calculix/value_block.h"

#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "common/fixed_real.h"

namespace sbrtranslate {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 17;
// More threads would wait for the one that takes the values.
constexpr unsigned kMostThreads = 4;

// A piece of the block: its values in the order of its lines.
struct Piece {
  long first = 0;
  long good = 0;  // lines that have the fixed form
  long lines = 0;
  bool ready = false;
  std::vector<char> text;
  std::vector<int> nodes;
  std::vector<double> values;
};

bool read_bytes(int descriptor, std::uint64_t from, std::vector<char> &text) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = pread(descriptor, text.data() + done, text.size() - done, static_cast<off_t>(from + done));
    if (count <= 0) return false;
    done += static_cast<std::size_t>(count);
  }
  return true;
}

bool parse_line(const ValueBlock &block, const char *line, int &node, double *values) {
  const std::size_t end = 3 + block.id_width + 12 * block.count;
  if (std::memcmp(line, " -1", 3) != 0 || line[block.stride - 1] != '\n') return false;
  if (block.stride == end + 2 && line[end] != '\r') return false;
  if (!read_whole(line + 3, block.id_width, node)) return false;
  const char *field = line + 3 + block.id_width;
  for (std::size_t i = 0; i < block.count; ++i, field += 12)
    if (!read_e12_5(field, values[i])) return false;
  return true;
}

void parse_piece(const ValueBlock &block, Piece &piece) {
  piece.good = 0;
  piece.text.resize(static_cast<std::size_t>(piece.lines) * block.stride);
  piece.nodes.resize(static_cast<std::size_t>(piece.lines));
  piece.values.resize(static_cast<std::size_t>(piece.lines) * block.count);
  if (!read_bytes(block.descriptor, block.begin + static_cast<std::uint64_t>(piece.first) * block.stride, piece.text))
    return;
  for (; piece.good < piece.lines; ++piece.good) {
    const auto at = static_cast<std::size_t>(piece.good);
    if (!parse_line(block, piece.text.data() + at * block.stride, piece.nodes[at], &piece.values[at * block.count]))
      return;
  }
}

// Pieces on their way: threads parse them ahead of the caller, who takes them in order.
class Pipeline {
 public:
  Pipeline(const ValueBlock &block, unsigned threads) : block_(block), pieces_(threads == 0 ? 1 : threads + 2) {
    lines_of_piece_ = std::max<long>(1, static_cast<long>(kPieceBytes / block.stride));
    piece_count_ = (block.lines + lines_of_piece_ - 1) / lines_of_piece_;
    try {
      for (unsigned i = 0; i < threads; ++i) threads_.emplace_back([this] { work(); });
    } catch (const std::system_error &) {
      // Fewer threads, or none, do the same work.
    }
  }
  ~Pipeline() {
    {
      const std::lock_guard lock(mutex_);
      stopped_ = true;
    }
    changed_.notify_all();
    for (std::thread &thread : threads_) thread.join();
  }
  Pipeline(const Pipeline &) = delete;
  Pipeline &operator=(const Pipeline &) = delete;

  [[nodiscard]] long piece_count() const { return piece_count_; }
  const Piece &next() {
    Piece &piece = slot(taken_);
    if (threads_.empty()) {
      begin(piece, taken_);
      parse_piece(block_, piece);
      return piece;
    }
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return piece.ready; });
    return piece;
  }
  // The piece that came last is not needed any more.
  void release() {
    {
      const std::lock_guard lock(mutex_);
      slot(taken_).ready = false;
      ++taken_;
    }
    changed_.notify_all();
  }

 private:
  Piece &slot(long index) { return pieces_[static_cast<std::size_t>(index) % pieces_.size()]; }
  void begin(Piece &piece, long index) const {
    piece.first = index * lines_of_piece_;
    piece.lines = std::min(lines_of_piece_, block_.lines - piece.first);
  }
  void work() {
    std::unique_lock lock(mutex_);
    while (true) {
      changed_.wait(lock, [&] {
        return stopped_ || begun_ >= piece_count_ || begun_ < taken_ + static_cast<long>(pieces_.size());
      });
      if (stopped_ || begun_ >= piece_count_) return;
      const long index = begun_++;
      Piece &piece = slot(index);
      begin(piece, index);
      lock.unlock();
      try {
        parse_piece(block_, piece);
      } catch (const std::bad_alloc &) {
        piece.good = 0;  // the caller goes on line by line
      }
      lock.lock();
      piece.ready = true;
      changed_.notify_all();
    }
  }

  const ValueBlock &block_;
  std::vector<Piece> pieces_;
  long lines_of_piece_ = 1;
  long piece_count_ = 0;
  std::mutex mutex_;
  std::condition_variable changed_;
  long begun_ = 0;
  long taken_ = 0;
  bool stopped_ = false;
  std::vector<std::thread> threads_;
};

unsigned threads_for(const ValueBlock &block) {
  const auto bytes = static_cast<std::uint64_t>(block.lines) * block.stride;
  const unsigned cores = std::thread::hardware_concurrency();
  if (cores < 2 || bytes < 4 * kPieceBytes) return 0;
  return std::min(cores - 1, kMostThreads);
}

}  // namespace

long read_value_block(const ValueBlock &block,
                      const std::function<void(long line, int node, std::span<const double> values)> &take) {
  Pipeline pipeline(block, threads_for(block));
  long given = 0;
  for (long k = 0; k < pipeline.piece_count(); ++k) {
    const Piece &piece = pipeline.next();
    for (long i = 0; i < piece.good; ++i) {
      const auto at = static_cast<std::size_t>(i);
      take(piece.first + i, piece.nodes[at], std::span(&piece.values[at * block.count], block.count));
    }
    given += piece.good;
    if (piece.good < piece.lines) return given;
    pipeline.release();
  }
  return given;
}

}  // namespace sbrtranslate
