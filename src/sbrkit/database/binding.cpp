// The binding of the database library: it is loaded on demand, its entries are looked up by name, and each CDB_
// operation hands its arguments to the entry of the same name.
#include "database/binding.h"

#include <limits>
#include <new>

#include "base/reports.h"
#include "sbrkit/dynamic_library.hpp"
#include "sbrkit/qsrv_entries.h"
#include "sbrkit/sbrkit.h"

namespace {

constexpr const char *kLibraryName = "Qsrv_22_2";

// ---- state ---------------------------------------------------------------------------------------------------------

struct Entries {
  QS_GetSysBuf_entry *get_sys_buf = nullptr;
  QS_GetDbName_entry *get_db_name = nullptr;
  QS_DbaseCls_entry *dbase_cls = nullptr;
  QS_DbaseBst_entry *dbase_bst = nullptr;
  QS_DbaseOld_entry *dbase_old = nullptr;
  QS_DbaseNew_entry *dbase_new = nullptr;
  QS_DbaseNdl_entry *dbase_ndl = nullptr;
  QS_DbCommand_entry *db_command = nullptr;
  QS_GetDbdict_entry *get_dbdict = nullptr;
  QS_AllocDatablk_entry *alloc_datablk = nullptr;
  QS_CreateDatablk_entry *create_datablk = nullptr;
  Ruvo_Open_entry *open = nullptr;
  Ruvo_Close_entry *close = nullptr;
  Ruvo_WriteTrailer_entry *write_trailer = nullptr;
  Ruvo_SkipRecord_entry *skip_record = nullptr;
  Ruvo_SavePos_entry *save_pos = nullptr;
  Ruvo_SetPos_entry *set_pos = nullptr;
  Ruvo_Read_entry *read = nullptr;
  Ruvo_Write_entry *write = nullptr;
};

ktxDynamicLibrary *library = nullptr;
bool loaded = false;
Entries entries;

// ---- looking up and calling ----------------------------------------------------------------------------------------

template <class Entry>
void look_up(const char *name, Entry *&entry) noexcept {
  entry = reinterpret_cast<Entry *>(library->find_symbol(name));
}

void look_up_all() noexcept {
  look_up("QS_GetSysBuf", entries.get_sys_buf);
  look_up("QS_GetDbName", entries.get_db_name);
  look_up("QS_DbaseCls", entries.dbase_cls);
  look_up("QS_DbaseBst", entries.dbase_bst);
  look_up("QS_DbaseOld", entries.dbase_old);
  look_up("QS_DbaseNew", entries.dbase_new);
  look_up("QS_DbaseNdl", entries.dbase_ndl);
  look_up("QS_DbCommand", entries.db_command);
  look_up("QS_GetDbdict", entries.get_dbdict);
  look_up("QS_AllocDatablk", entries.alloc_datablk);
  look_up("QS_CreateDatablk", entries.create_datablk);
  look_up("Ruvo_Open", entries.open);
  look_up("Ruvo_Close", entries.close);
  look_up("Ruvo_WriteTrailer", entries.write_trailer);
  look_up("Ruvo_SkipRecord", entries.skip_record);
  look_up("Ruvo_SavePos", entries.save_pos);
  look_up("Ruvo_SetPos", entries.set_pos);
  look_up("Ruvo_Read", entries.read);
  look_up("Ruvo_Write", entries.write);
}

// Calls the entry; without one, reports that and answers 0.
template <class Entry, class... Arguments>
int call(Entry *entry, const char *name, Arguments... arguments) noexcept {
  if (entry == nullptr) {
    sbr::report_error(
        loaded ? "The Qsrv library has no entry %s." : "The Qsrv library is not loaded, %s cannot be called.", name);
    return 0;
  }
  entry(arguments...);
  return 1;
}

// The answer of an operation with a status: an entry that could not be called gives the failing one.
int with_status(int called, int *status) noexcept {
  if (called == 0 && status != nullptr) *status = sbr::kEntryMissing;
  return called;
}

}  // namespace

namespace sbr {

int record_limit() noexcept {
  int maximum = std::numeric_limits<int>::max();
  int second = 0;
  if (entries.get_sys_buf != nullptr) entries.get_sys_buf(&maximum, &second, 0);
  return maximum;
}

}  // namespace sbr

extern "C" {

int CDB_LoadLibrary(void) {
  if (loaded) return 1;
  if (library == nullptr) library = new (std::nothrow) ktxDynamicLibrary();
  if (library == nullptr) return sbr::report_no_memory(sbr::unit_name::kDatabaseBinding);
  if (!library->load(kLibraryName)) return 0;
  look_up_all();
  loaded = true;
  return 1;
}

void CDB_UnloadLibrary(void) {
  if (!loaded) return;
  entries = Entries{};
  loaded = false;
  library->unload();
  delete library;
  library = nullptr;
}

// ---- the system and the database -----------------------------------------------------------------------------------

int CDB_QS_GetSysBuf(int *maximum, int *second, int zero) {
  return call(entries.get_sys_buf, "QS_GetSysBuf", maximum, second, zero);
}

int CDB_QS_GetDbName(const char *kind, char *name, int *length, int *status) {
  return with_status(call(entries.get_db_name, "QS_GetDbName", kind, name, length, status), status);
}

int CDB_QS_DbaseCls(int *status) { return with_status(call(entries.dbase_cls, "QS_DbaseCls", status), status); }

int CDB_QS_DbaseBst(const char *message_file, const char *directory, int *status) {
  return with_status(call(entries.dbase_bst, "QS_DbaseBst", message_file, directory, status), status);
}

int CDB_QS_DbaseOld(const char *base, const char *options, int *status) {
  return with_status(call(entries.dbase_old, "QS_DbaseOld", base, options, status), status);
}

int CDB_QS_DbaseNew(const char *base, const char *command, int *status) {
  return with_status(call(entries.dbase_new, "QS_DbaseNew", base, command, status), status);
}

int CDB_QS_DbaseNdl(const char *directory, int *status) {
  return with_status(call(entries.dbase_ndl, "QS_DbaseNdl", directory, status), status);
}

int CDB_QS_DbCommand(const char *command, int *status) {
  return with_status(call(entries.db_command, "QS_DbCommand", command, status), status);
}

int CDB_QS_GetDbdict(const char *command, char *buffer, int size, int *needed, int *status) {
  const int called =
      with_status(call(entries.get_dbdict, "QS_GetDbdict", command, buffer, size, needed, status), status);
  if (called == 0 && needed != nullptr) *needed = 0;
  return called;
}

// ---- data blocks ---------------------------------------------------------------------------------------------------

int CDB_QS_AllocDatablk(const char *command, int *unit, int *count, int *status) {
  return with_status(call(entries.alloc_datablk, "QS_AllocDatablk", command, unit, count, status), status);
}

int CDB_QS_CreateDatablk(const char *command, int *unit, int *count, int *status) {
  return with_status(call(entries.create_datablk, "QS_CreateDatablk", command, unit, count, status), status);
}

int CDB_Ruvo_Open(int unit, int zero, int mode) { return call(entries.open, "Ruvo_Open", unit, zero, mode); }

int CDB_Ruvo_Close(int unit, int keep) { return call(entries.close, "Ruvo_Close", unit, keep); }

int CDB_Ruvo_WriteTrailer(const int64_t *trailer7) {
  return call(entries.write_trailer, "Ruvo_WriteTrailer", trailer7);
}

// ---- records -------------------------------------------------------------------------------------------------------

int CDB_Ruvo_SkipRecord(int *status, int unit) {
  return with_status(call(entries.skip_record, "Ruvo_SkipRecord", status, unit), status);
}

int CDB_Ruvo_SavePos(int unit, int64_t *position2, int *first, int *second) {
  return call(entries.save_pos, "Ruvo_SavePos", unit, position2, first, second);
}

int CDB_Ruvo_SetPos(int unit, const int64_t *position2) {
  return call(entries.set_pos, "Ruvo_SetPos", unit, position2);
}

int CDB_Ruvo_Read(int *status, int unit, int64_t *buffer, int words, int zero, int *value) {
  return with_status(call(entries.read, "Ruvo_Read", status, unit, buffer, words, zero, value), status);
}

int CDB_Ruvo_Write(int unit, const int64_t *buffer, int words, int end_of_record) {
  return call(entries.write, "Ruvo_Write", unit, buffer, words, end_of_record);
}

}  // extern "C"
