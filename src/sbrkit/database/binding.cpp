// Loading the database library and looking up its entries.
#include "database/binding.h"

#include <limits>
#include <memory>
#include <new>

#include "base/reports.h"
#include "sbrkit/dynamic_library.hpp"
#include "sbrkit/sbrkit.h"

namespace sbr::db {
namespace {

constexpr const char *kLibraryName = "Qsrv_22_2";

// Lives as long as the process: the library may be in use until then.
struct Binding {
  std::unique_ptr<ktxDynamicLibrary> library;  // from the first need on, until what it loaded is let go
  bool loaded = false;
  EntryPoints entries;
};

Binding &binding() noexcept {
  alignas(Binding) static unsigned char storage[sizeof(Binding)];
  static Binding *const state = new (storage) Binding;
  return *state;
}

template <class... Entries>
void look_up(ktxDynamicLibrary &library, Entries &...entries) noexcept {
  (entries.bind(library.find_symbol(entries.name())), ...);
}

void look_up_all(ktxDynamicLibrary &library, EntryPoints &e) noexcept {
  look_up(library, e.get_sys_buf, e.get_db_name, e.dbase_cls, e.dbase_bst, e.dbase_old, e.dbase_new, e.dbase_ndl,
          e.db_command, e.get_dbdict, e.alloc_datablk, e.create_datablk, e.open, e.close, e.write_trailer,
          e.skip_record, e.save_pos, e.set_pos, e.read, e.write);
}

}  // namespace

bool report_missing_entry(const char *name) noexcept {
  report_error(
      binding().loaded ? "The Qsrv library has no entry %s." : "The Qsrv library is not loaded, %s cannot be called.",
      name);
  return false;
}

const EntryPoints &entries() noexcept { return binding().entries; }

bool load_library() noexcept {
  Binding &state = binding();
  if (state.loaded) return true;
  if (!state.library) state.library.reset(new (std::nothrow) ktxDynamicLibrary());
  if (!state.library) return report_no_memory(unit_name::kDatabaseBinding);
  if (!state.library->load(kLibraryName)) return false;
  look_up_all(*state.library, state.entries);
  state.loaded = true;
  return true;
}

void unload_library() noexcept {
  Binding &state = binding();
  if (!state.loaded) return;
  state.entries = EntryPoints{};
  state.loaded = false;
  state.library.reset();
}

int record_limit() noexcept {
  int maximum = std::numeric_limits<int>::max();
  int second = 0;
  if (entries().get_sys_buf.is_bound()) entries().get_sys_buf(&maximum, &second, 0);
  return maximum;
}

}  // namespace sbr::db

using sbr::db::entries;

extern "C" {

int CDB_LoadLibrary(void) { return sbr::db::load_library() ? 1 : 0; }

void CDB_UnloadLibrary(void) { sbr::db::unload_library(); }

// ---- the system and the database -----------------------------------------------------------------------------------

int CDB_QS_GetSysBuf(int *maximum, int *second, int zero) {
  return entries().get_sys_buf(maximum, second, zero) ? 1 : 0;
}

int CDB_QS_GetDbName(const char *kind, char *name, int *length, int *status) {
  return entries().get_db_name(kind, name, length, status) ? 1 : 0;
}

int CDB_QS_DbaseCls(int *status) { return entries().dbase_cls(status) ? 1 : 0; }

int CDB_QS_DbaseBst(const char *message_file, const char *directory, int *status) {
  return entries().dbase_bst(message_file, directory, status) ? 1 : 0;
}

int CDB_QS_DbaseOld(const char *base, const char *options, int *status) {
  return entries().dbase_old(base, options, status) ? 1 : 0;
}

int CDB_QS_DbaseNew(const char *base, const char *command, int *status) {
  return entries().dbase_new(base, command, status) ? 1 : 0;
}

int CDB_QS_DbaseNdl(const char *directory, int *status) { return entries().dbase_ndl(directory, status) ? 1 : 0; }

int CDB_QS_DbCommand(const char *command, int *status) { return entries().db_command(command, status) ? 1 : 0; }

int CDB_QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status) {
  if (entries().get_dbdict(command, buffer, size, needed, status)) return 1;
  if (needed != nullptr) *needed = 0;
  return 0;
}

// ---- data blocks ---------------------------------------------------------------------------------------------------

int CDB_QS_AllocDatablk(const char *command, int *unit, int *count, int *status) {
  return entries().alloc_datablk(command, unit, count, status) ? 1 : 0;
}

int CDB_QS_CreateDatablk(const char *command, int *unit, int *count, int *status) {
  return entries().create_datablk(command, unit, count, status) ? 1 : 0;
}

int CDB_Ruvo_Open(int unit, int zero, int mode) { return entries().open(unit, zero, mode) ? 1 : 0; }

int CDB_Ruvo_Close(int unit, int keep) { return entries().close(unit, keep) ? 1 : 0; }

int CDB_Ruvo_WriteTrailer(const int64_t *trailer7) { return entries().write_trailer(trailer7) ? 1 : 0; }

// ---- records -------------------------------------------------------------------------------------------------------

int CDB_Ruvo_SkipRecord(int *status, int unit) { return entries().skip_record(status, unit) ? 1 : 0; }

int CDB_Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second) {
  return entries().save_pos(unit, position2, first, second) ? 1 : 0;
}

int CDB_Ruvo_SetPos(int unit, const int64_t *position2) { return entries().set_pos(unit, position2) ? 1 : 0; }

int CDB_Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int zero, int *value) {
  return entries().read(status, unit, buffer, words, zero, value) ? 1 : 0;
}

int CDB_Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record) {
  return entries().write(unit, buffer, words, end_of_record) ? 1 : 0;
}

}  // extern "C"
