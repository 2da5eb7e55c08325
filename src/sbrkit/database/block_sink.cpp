// Writing a body to the solver's database: a data block as a sink of the write pipeline. Each block is one record that
// starts with the block's number; a closing record tells where the blocks and the modes stand.
#include <algorithm>

#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "write/pipeline.h"

namespace sbr {
namespace {

constexpr int kPositions = 100;
constexpr int kModeKinds = 3;

struct Position {
  std::int64_t words[2] = {};
};

struct DataBlock {
  db_block block{};
  Position table[kPositions];      // by block number; the closing record has number 0
  PerKind<Array<Position>> modes;  // where each exported mode starts, by kind
};

DataBlock &block_of(void *target) noexcept { return *static_cast<DataBlock *>(target); }

// Hands a run of values on in pieces that the operations can count.
template <class Value>
bool put_pieces(const DataBlock &data, int (*write)(db_block, const Value *, int), const Value *values,
                std::int64_t count) noexcept {
  constexpr std::int64_t kPiece = 1 << 24;  // a multiple of the characters in a word
  for (std::int64_t done = 0; done < count; done += kPiece)
    if (write(data.block, values + done, static_cast<int>(std::min(kPiece, count - done))) == 0) return false;
  return true;
}

bool put_ints(void *target, const std::int32_t *values, std::int64_t count) noexcept {
  return put_pieces(block_of(target), DB_WriteINTs, values, count);
}
bool put_chars(void *target, const char *text, std::int64_t count) noexcept {
  return put_pieces(block_of(target), DB_WriteCHARs, text, count);
}
bool put_reals(void *target, const double *values, std::int64_t count) noexcept {
  return put_pieces(block_of(target), DB_WriteDOUBLEs, values, count);
}

// Starts a record: its number, and then the position that the table keeps.
bool begin_record(DataBlock &data, int number) noexcept {
  return DB_WriteINTs(data.block, &number, 1) != 0 && DB_FSAVE(data.table[number].words, data.block) != 0;
}

bool begin_block(void *target, int block) noexcept { return begin_record(block_of(target), block + 1); }
bool end_block(void *target) noexcept { return DB_WriteEOR(block_of(target).block) != 0; }

bool mark_mode(void *target, Kind kind) noexcept {
  DataBlock &data = block_of(target);
  Position here;
  if (DB_FSAVE(here.words, data.block) == 0) return false;
  if (data.modes[kind].push_back(here)) return true;
  report_no_memory(sbr::unit_name::kDatabaseWriting);
  return false;
}

// The store has words of its own: no encoding, and reals are doubles whatever the word says.
bool prepare(void * /*target*/, SbrBody & /*body*/, std::uint32_t word) noexcept {
  if (!means_xdr(word)) return true;
  sbr::report_error("QS DB file don't support XDR encording");
  return false;
}

bool put_positions(const DataBlock &data, const Position *positions, std::int64_t count) noexcept {
  return put_pieces(data, DB_WriteLONGs, positions->words, 2 * count);
}

// The closing record: the position table, and the list of each kind of modes that was written.
bool close_record(DataBlock &data, const WritePlan &plan) noexcept {
  if (!begin_record(data, 0) || !put_positions(data, data.table, kPositions)) return false;
  for (const Kind kind : kKinds) {
    if (!plan.has(kKindFacts[kind].block) || plan.exported_modes < 1) continue;
    if (!data.modes[kind].resize(plan.exported_modes)) return report_no_memory(sbr::unit_name::kDatabaseWriting) != 0;
    if (!put_positions(data, data.modes[kind].data(), plan.exported_modes)) return false;
  }
  const int end_mark[2] = {-1, 0};
  return DB_WriteINTs(data.block, end_mark, 2) != 0 && DB_WriteEOR(data.block) != 0;
}

// Closes the data block with its trailer and ends the run of the database.
int finish(SBR body, const DataBlock &data, const WritePlan &plan) noexcept {
  const std::int64_t nodes = node_count(*body);
  const Position &closing = data.table[0];
  const std::int64_t trailer[7] = {data.block.unit,  plan.exported_modes, nodes, 6 * nodes, 2,
                                   closing.words[0], closing.words[1]};
  if (DB_CloseDatablk(data.block.unit) == 0 || DB_WriteTrailer(trailer) == 0) return 0;
  return DB_TermWrite();
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_write_DB(SBR body, const char *path, const char *qualifiers) {
  if (!sbr::require_body(body)) return 0;
  if (path == nullptr) path = "";
  if (sbr::is_own_source(*body, path)) return 0;
  sbr::DataBlock data;
  if (DB_StartWrite(path) != 0) data.block.unit = DB_CreateSBRblk(qualifiers);
  if (data.block.unit == 0) {
    sbr::report_error("Unable to open %s for write. Please check the name and qualifier.", path);
    return 0;
  }
  const sbr::WriteTarget target{
      {&data, sbr::put_ints, sbr::put_chars, sbr::put_reals, sbr::begin_block, sbr::end_block, sbr::mark_mode},
      sbr::kDatabaseVersion,
      sbr::unit_name::kDatabaseWriting,
      sbr::prepare};
  sbr::WritePlan plan;
  if (!sbr::run_write_pipeline(*body, target, plan) || !sbr::close_record(data, plan)) return 0;
  return sbr::finish(body, data, plan);
}

}  // extern "C"
