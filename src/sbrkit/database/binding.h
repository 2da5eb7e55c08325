// The binding of the database library: it is loaded on demand, and its 19 entries are looked up by name. Each entry is
// described once, by its type, its name and the place of its status. The unit owns the library object and the entries.
#ifndef SBRKIT_DATABASE_BINDING_H
#define SBRKIT_DATABASE_BINDING_H

#include <tuple>
#include <type_traits>

#include "sbrkit/qsrv_entries.h"

namespace sbr::db {

// The status that an entry gives when it is not bound.
inline constexpr int kEntryMissing = -1;

// Reports a call of an entry that is not bound. Gives false.
bool report_missing_entry(const char *name) noexcept;

// Where an entry has its status among its arguments.
enum class StatusAt { nowhere, first, last };

template <class Function, StatusAt kStatus>
class EntryPoint;

// One entry. Calling it hands the arguments to the library; true when the entry is bound. Otherwise that is reported,
// and the status, if there is one, is kEntryMissing.
template <class... Arguments, StatusAt kStatus>
class EntryPoint<void(Arguments...), kStatus> {
 public:
  explicit EntryPoint(const char *name) noexcept : name_(name) {}

  bool operator()(Arguments... arguments) const noexcept {
    if (bound_ != nullptr) {
      bound_(arguments...);
      return true;
    }
    constexpr std::size_t kLast = sizeof...(Arguments) - 1;
    if constexpr (kStatus != StatusAt::nowhere) {
      int *status = std::get < kStatus == StatusAt::first ? 0 : kLast > (std::tuple<Arguments...>(arguments...));
      if (status != nullptr) *status = kEntryMissing;
    }
    return report_missing_entry(name_);
  }
  [[nodiscard]] bool is_bound() const noexcept { return bound_ != nullptr; }
  [[nodiscard]] const char *name() const noexcept { return name_; }
  void bind(void *symbol) noexcept { bound_ = reinterpret_cast<void (*)(Arguments...)>(symbol); }

 private:
  const char *name_;
  void (*bound_)(Arguments...) = nullptr;
};

// The entries, in the order in which they are looked up.
struct EntryPoints {
  template <class Function>
  using Plain = EntryPoint<Function, StatusAt::nowhere>;
  template <class Function>
  using WithStatus = EntryPoint<Function, StatusAt::last>;
  template <class Function>
  using StatusFirst = EntryPoint<Function, StatusAt::first>;

  Plain<QS_GetSysBuf_entry> get_sys_buf{"QS_GetSysBuf"};
  WithStatus<QS_GetDbName_entry> get_db_name{"QS_GetDbName"};
  WithStatus<QS_DbaseCls_entry> dbase_cls{"QS_DbaseCls"};
  WithStatus<QS_DbaseBst_entry> dbase_bst{"QS_DbaseBst"};
  WithStatus<QS_DbaseOld_entry> dbase_old{"QS_DbaseOld"};
  WithStatus<QS_DbaseNew_entry> dbase_new{"QS_DbaseNew"};
  WithStatus<QS_DbaseNdl_entry> dbase_ndl{"QS_DbaseNdl"};
  WithStatus<QS_DbCommand_entry> db_command{"QS_DbCommand"};
  WithStatus<QS_GetDbdict_entry> get_dbdict{"QS_GetDbdict"};
  WithStatus<QS_AllocDatablk_entry> alloc_datablk{"QS_AllocDatablk"};
  WithStatus<QS_CreateDatablk_entry> create_datablk{"QS_CreateDatablk"};
  Plain<Ruvo_Open_entry> open{"Ruvo_Open"};
  Plain<Ruvo_Close_entry> close{"Ruvo_Close"};
  Plain<Ruvo_WriteTrailer_entry> write_trailer{"Ruvo_WriteTrailer"};
  StatusFirst<Ruvo_SkipRecord_entry> skip_record{"Ruvo_SkipRecord"};
  Plain<Ruvo_SavePos_entry> save_pos{"Ruvo_SavePos"};
  Plain<Ruvo_SetPos_entry> set_pos{"Ruvo_SetPos"};
  StatusFirst<Ruvo_Read_entry> read{"Ruvo_Read"};
  Plain<Ruvo_Write_entry> write{"Ruvo_Write"};
};

// The entries as they are bound now.
[[nodiscard]] const EntryPoints &entries() noexcept;

// Loads the library and looks its entries up, unless that was done. False when the library cannot be loaded; an entry
// that it lacks is noticed when it is called.
[[nodiscard]] bool load_library() noexcept;
void unload_library() noexcept;

// The largest record length that the bound library can handle; 2^31 - 1 when there is no library to ask.
[[nodiscard]] int record_limit() noexcept;

}  // namespace sbr::db

#endif
