// The solver's database: starting and ending it, data blocks, records, and the entries of the bound library.
#include <limits>

#include "handle.h"

namespace sbrpy {
namespace {

using Words = py::array_t<std::int64_t, py::array::c_style>;

int length_of(py::ssize_t size) {
  if (size > std::numeric_limits<int>::max()) throw py::value_error("too many values for one record");
  return static_cast<int>(size);
}

db_block block_of(int unit, const std::pair<std::int64_t, std::int64_t> &start) {
  return {unit, {start.first, start.second}};
}
using Start = std::pair<std::int64_t, std::int64_t>;

// ---- starting and ending -------------------------------------------------------------------------------------------

py::tuple browse(const std::string &path, int index) {
  char text[DB_BROWSER_TEXT] = {};
  const std::uint32_t count = call_library([&] { return DB_BodyBrowser(path.c_str(), index, text); });
  return py::make_tuple(count == std::numeric_limits<std::uint32_t>::max() ? -1 : static_cast<std::int64_t>(count),
                        text_of(text));
}

py::tuple open_block(const std::string &path, int index) {
  int number = 0;
  int unit = 0;
  require_library("there is no such data block", [&] {
    unit = DB_OpenDatablk(path.c_str(), index, &number);
    return unit != 0;
  });
  return py::make_tuple(unit, number);
}

py::tuple open_scratch() {
  int number = 0;
  int unit = 0;
  require_library("the scratch data block cannot be opened", [&] {
    unit = DB_OpenScratch(&number);
    return unit != 0;
  });
  return py::make_tuple(unit, number);
}

int create_block(const std::string &qualifiers) {
  int unit = 0;
  require_library("the data block cannot be created", [&] {
    unit = DB_CreateSBRblk(qualifiers.c_str());
    return unit != 0;
  });
  return unit;
}

void bind_life(py::module_ &module) {
  module.def("db_load", [] { return call_library([] { return CDB_LoadLibrary() != 0; }); });
  module.def("db_unload", [] { call_library([] { return CDB_UnloadLibrary(), 0; }); });
  module.def("db_start_base",
             [] { require_library("the scratch database cannot be started", [] { return DB_StartBase(); }); });
  module.def("db_end_base",
             [] { require_library("the scratch database cannot be closed", [] { return DB_TermBase(); }); });
  module.def("db_start_write", [](const std::string &path) {
    require_library("the database cannot be opened", [&] { return DB_StartWrite(path.c_str()); });
  });
  module.def("db_end_write", [] { require_library("the database cannot be closed", [] { return DB_TermWrite(); }); });
  module.def("db_check", [](const std::string &path) {
    return call_library([&] { return DB_CheckDBset(path.c_str()); }, Errors::warn);
  });
  module.def("db_browse", browse);
  module.def("db_create_block", create_block);
  module.def("db_open_block", open_block);
  module.def("db_open_scratch", open_scratch);
  module.def("db_reopen_scratch", [](int unit) {
    require_library("the scratch data block cannot be reopened", [&] { return DB_ReOpenScratch(unit); });
  });
  module.def("db_close_block", [](int unit) {
    require_library("the data block cannot be closed", [&] { return DB_CloseDatablk(unit); });
  });
}

// ---- records -------------------------------------------------------------------------------------------------------

void bind_writing_records(py::module_ &module) {
  module.def("db_write_ints", [](int unit, const Ints &values) {
    const int *in = values.data();
    require_library("the integers were not written",
                    [&] { return DB_WriteINTs(block_of(unit, {}), in, length_of(values.size())); });
  });
  module.def("db_write_longs", [](int unit, const Words &values) {
    const std::int64_t *in = values.data();
    require_library("the words were not written",
                    [&] { return DB_WriteLONGs(block_of(unit, {}), in, length_of(values.size())); });
  });
  module.def("db_write_doubles", [](int unit, const Doubles &values) {
    const double *in = values.data();
    require_library("the reals were not written",
                    [&] { return DB_WriteDOUBLEs(block_of(unit, {}), in, length_of(values.size())); });
  });
  module.def("db_write_chars", [](int unit, const std::string &bytes) {
    require_library("the characters were not written", [&] {
      return DB_WriteCHARs(block_of(unit, {}), bytes.data(), length_of(static_cast<py::ssize_t>(bytes.size())));
    });
  });
  module.def("db_end_record", [](int unit) {
    require_library("the record was not ended", [&] { return DB_WriteEOR(block_of(unit, {})); });
  });
  module.def("db_write_trailer", [](const Words &seven) {
    require_shape(seven, {7}, "the trailer");
    const std::int64_t *in = seven.data();
    require_library("the trailer was not written", [&] { return DB_WriteTrailer(in); });
  });
}

int count_of(int count) {
  if (count < 0) throw py::value_error("the number of values must not be negative");
  return count;
}

void bind_reading_records(py::module_ &module) {
  module.def("db_read_ints", [](int unit, int count) {
    Ints result(count_of(count));
    int *out = result.mutable_data();
    require_library("the record has fewer words left", [&] { return DB_ReadINTs(block_of(unit, {}), out, count); });
    return result;
  });
  module.def("db_read_doubles", [](int unit, int count, bool mode) {
    Doubles result(count_of(count));
    double *out = result.mutable_data();
    const auto read = mode ? DB_ReadMODE : DB_ReadDOUBLEs;
    require_library("the record has fewer words left", [&] { return read(block_of(unit, {}), out, count); });
    return result;
  });
  module.def("db_read_chars", [](int unit, int count) {
    std::string text(static_cast<std::size_t>(count_of(count)), '\0');
    require_library("the record has fewer words left",
                    [&] { return DB_ReadCHARs(block_of(unit, {}), text.data(), count); });
    return py::bytes(text);
  });
  module.def("db_skip_record", [](int unit) {
    require_library("there is no further record", [&] { return DB_SkipRecord(block_of(unit, {})); });
  });
  module.def("db_skip_words", [](int unit, int count) {
    const int negative = -count_of(count);
    require_library("the record has fewer words left", [&] { return DB_SeekFWD(block_of(unit, {}), negative); });
  });
  module.def("db_position", [](int unit) {
    std::int64_t position[2] = {};
    require_library("the position cannot be told", [&] { return DB_FSAVE(position, block_of(unit, {})); });
    return Start(position[0], position[1]);
  });
  module.def("db_go_to", [](int unit, const Start &start) {
    const std::int64_t position[2] = {start.first, start.second};
    require_library("the position cannot be reached", [&] { return DB_FRESTORE(position, block_of(unit, {})); });
  });
  module.def("db_rewind", [](int unit, const Start &start) {
    require_library("the start cannot be reached", [&] { return DB_REWIND(block_of(unit, start)); });
  });
}

// ---- entries of the bound library ----------------------------------------------------------------------------------

// Entries that take one text and give a status.
template <class Entry>
auto with_text(Entry entry) {
  return [entry](const std::string &text) {
    int status = -1;
    call_library([&] { return entry(text.c_str(), &status); });
    return status;
  };
}

// Entries that take two texts.
template <class Entry>
auto with_texts(Entry entry) {
  return [entry](const std::string &first, const std::string &second) {
    int status = -1;
    call_library([&] { return entry(first.c_str(), second.c_str(), &status); });
    return status;
  };
}

// Entries that attach data blocks: unit, count, status.
template <class Entry>
auto with_units(Entry entry) {
  return [entry](const std::string &command) {
    int unit = 0;
    int count = 0;
    int status = -1;
    call_library([&] { return entry(command.c_str(), &unit, &count, &status); });
    return py::make_tuple(unit, count, status);
  };
}

void bind_commands(py::module_ &module) {
  module.def("qs_start", with_texts(CDB_QS_DbaseBst));
  module.def("qs_old", with_texts(CDB_QS_DbaseOld));
  module.def("qs_new", with_texts(CDB_QS_DbaseNew));
  module.def("qs_definitions", with_text(CDB_QS_DbaseNdl));
  module.def("qs_command", with_text(CDB_QS_DbCommand));
  module.def("qs_attach", with_units(CDB_QS_AllocDatablk));
  module.def("qs_create", with_units(CDB_QS_CreateDatablk));
  module.def("qs_close", [] {
    int status = -1;
    call_library([&] { return CDB_QS_DbaseCls(&status); });
    return status;
  });
  module.def("qs_limits", [] {
    int maximum = 0;
    int second = 0;
    call_library([&] { return CDB_QS_GetSysBuf(&maximum, &second, 0); });
    return py::make_tuple(maximum, second);
  });
  module.def("qs_name", [](const std::string &kind) {
    char name[4096] = {};
    int length = sizeof name - 1;
    int status = -1;
    call_library([&] { return CDB_QS_GetDbName(kind.c_str(), name, &length, &status); });
    return py::make_tuple(text_of(name), status);
  });
  module.def("qs_dictionary", [](const std::string &command) {
    std::string text(1, '\0');
    int needed = 0;
    int status = -1;
    for (int round = 0; round < 2; ++round) {
      call_library([&] {
        return CDB_QS_GetDbdict(command.c_str(), text.data(), length_of(static_cast<py::ssize_t>(text.size())), &needed,
                                &status);
      });
      if (status != 0 || needed < static_cast<int>(text.size())) break;
      text.assign(static_cast<std::size_t>(needed) + 1, '\0');
    }
    return py::make_tuple(text_of(text.c_str()), status);
  });
}

void bind_ruvo(py::module_ &module) {
  module.def("ruvo_open",
             [](int unit, int mode) { return call_library([&] { return CDB_Ruvo_Open(unit, 0, mode); }); });
  module.def("ruvo_close", [](int unit, int keep) { return call_library([&] { return CDB_Ruvo_Close(unit, keep); }); });
  module.def("ruvo_trailer", [](const Words &seven) {
    require_shape(seven, {7}, "the trailer");
    const std::int64_t *in = seven.data();
    return call_library([&] { return CDB_Ruvo_WriteTrailer(in); });
  });
  module.def("ruvo_skip_record", [](int unit) {
    int status = -1;
    call_library([&] { return CDB_Ruvo_SkipRecord(&status, unit); });
    return status;
  });
  module.def("ruvo_position", [](int unit) {
    std::int64_t position[2] = {};
    int first = 0;
    int second = 0;
    call_library([&] { return CDB_Ruvo_SavePos(unit, position, &first, &second); });
    return Start(position[0], position[1]);
  });
  module.def("ruvo_go_to", [](int unit, const Start &start) {
    const std::int64_t position[2] = {start.first, start.second};
    return call_library([&] { return CDB_Ruvo_SetPos(unit, position); });
  });
  module.def("ruvo_read", [](int unit, int count) {
    Words result(count_of(count));
    std::int64_t *out = result.mutable_data();
    int status = -1;
    int value = 0;
    call_library([&] { return CDB_Ruvo_Read(&status, unit, out, count, 0, &value); });
    return py::make_tuple(result, status);
  });
  module.def("ruvo_write", [](int unit, const Words &values, bool end_of_record) {
    const std::int64_t *in = values.size() > 0 ? values.data() : nullptr;
    return call_library([&] { return CDB_Ruvo_Write(unit, in, length_of(values.size()), end_of_record ? 1 : 0); });
  });
}

}  // namespace

void bind_database(py::module_ &module) {
  bind_life(module);
  bind_writing_records(module);
  bind_reading_records(module);
  bind_commands(module);
  bind_ruvo(module);
}

}  // namespace sbrpy
