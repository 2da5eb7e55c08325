// Writing a body to the solver's database: a data block as a sink of the write pipeline. Each block is one record that
// starts with the block's number; a closing record tells where the blocks and the modes stand.
#include "base/reports.h"
#include "body/node_table.h"
#include "body/registry.h"
#include "database/blocks.h"
#include "database/front.h"
#include "write/pipeline.h"

namespace sbr {
namespace {

constexpr int kPositions = 100;

struct DataBlock {
  int unit = 0;
  db::Position table[kPositions];      // by block number; the closing record has number 0
  PerKind<Array<db::Position>> modes;  // where each exported mode starts, by kind
};

DataBlock &block_of(void *target) noexcept { return *static_cast<DataBlock *>(target); }

bool put_ints(void *target, const std::int32_t *values, std::int64_t count) noexcept {
  return db::write_ints(block_of(target).unit, values, count);
}
bool put_chars(void *target, const char *text, std::int64_t count) noexcept {
  return db::write_characters(block_of(target).unit, text, count);
}
bool put_reals(void *target, const double *values, std::int64_t count) noexcept {
  return db::write_reals(block_of(target).unit, values, count);
}

// Starts a record: its number, and then the position that the table keeps.
bool begin_record(DataBlock &data, int number) noexcept {
  return db::write_ints(data.unit, &number, 1) && db::save_position(data.unit, data.table[number].words);
}

bool begin_block(void *target, int block) noexcept { return begin_record(block_of(target), block + 1); }
bool end_block(void *target) noexcept { return db::end_record(block_of(target).unit); }

bool mark_mode(void *target, Kind kind) noexcept {
  DataBlock &data = block_of(target);
  db::Position here;
  if (!db::save_position(data.unit, here.words)) return false;
  return data.modes[kind].push_back(here) || report_no_memory(unit_name::kDatabaseWriting);
}

// The store has words of its own: no encoding, and reals are doubles whatever the word says.
bool prepare(void * /*target*/, SbrBody & /*body*/, std::uint32_t word) noexcept {
  if (!means_xdr(word)) return true;
  report_error("QS DB file don't support XDR encording");
  return false;
}

bool put_positions(const DataBlock &data, const db::Position *positions, std::int64_t count) noexcept {
  return db::write_longs(data.unit, positions->words, 2 * count);
}

// The closing record: the position table, and the list of each kind of modes that was written.
bool close_record(DataBlock &data, const WritePlan &plan) noexcept {
  if (!begin_record(data, 0) || !put_positions(data, data.table, kPositions)) return false;
  for (const Kind kind : kKinds) {
    if (!plan.has(kKindFacts[kind].block) || plan.exported_modes < 1) continue;
    if (!data.modes[kind].resize(plan.exported_modes)) return report_no_memory(unit_name::kDatabaseWriting);
    if (!put_positions(data, data.modes[kind].data(), plan.exported_modes)) return false;
  }
  const std::int32_t end_mark[2] = {-1, 0};
  return db::write_ints(data.unit, end_mark, 2) && db::end_record(data.unit);
}

// Closes the data block with its trailer and ends the run of the database.
bool finish(const SbrBody &body, const DataBlock &data, const WritePlan &plan) noexcept {
  const std::int64_t nodes = node_count(body);
  const std::int64_t trailer[7] = {
      data.unit, plan.exported_modes, nodes, 6 * nodes, 2, data.table[0].words[0], data.table[0].words[1]};
  return db::close_block(data.unit) && db::write_trailer(trailer) && db::end_write();
}

bool write_data_block(SbrBody &body, const char *path, const char *qualifiers) noexcept {
  if (is_own_source(body, path)) return false;
  DataBlock data;
  if (db::start_write(path)) data.unit = db::create_body_block(qualifiers);
  if (data.unit == 0) {
    report_error("Unable to open %s for write. Please check the name and qualifier.", path);
    return false;
  }
  const WriteTarget target{{&data, put_ints, put_chars, put_reals, begin_block, end_block, mark_mode},
                           kDatabaseVersion,
                           unit_name::kDatabaseWriting,
                           prepare};
  WritePlan plan;
  return run_write_pipeline(body, target, plan) && close_record(data, plan) && finish(body, data, plan);
}

}  // namespace
}  // namespace sbr

extern "C" {

int SBR_write_DB(SBR body, const char *path, const char *qualifiers) {
  if (!sbr::require_body(body)) return 0;
  return sbr::write_data_block(*body, path != nullptr ? path : "", qualifiers) ? 1 : 0;
}

}  // extern "C"
