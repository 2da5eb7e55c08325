// Writing. The options go through the environment of the process, which is changed for the time of the call alone,
// while the mutex of the library is held.
#include <cstdlib>
#include <optional>

#include "handle.h"
#include "write/option_table.h"

namespace sbrpy {
namespace {

constexpr const char *kVariable = "KTX_SBRWRITE_OPTIONS";

// Sets the variable of the options, and puts back what it was.
class Options {
 public:
  explicit Options(const std::string &text) {
    if (const char *present = std::getenv(kVariable); present != nullptr) before_ = present;
    if (text.empty())
      unsetenv(kVariable);
    else
      setenv(kVariable, text.c_str(), 1);
  }
  ~Options() {
    if (before_)
      setenv(kVariable, before_->c_str(), 1);
    else
      unsetenv(kVariable);
  }
  Options(const Options &) = delete;
  Options &operator=(const Options &) = delete;

 private:
  std::optional<std::string> before_;
};

// A write empties the cache of modes, and may leave the body in other units.
Handle &ready_for_write(const Body &self) {
  Handle &handle = *open_handle(self);
  require_no_views(handle, "writing");
  require_undamaged(handle);
  handle.scaled = true;
  return handle;
}

void write_record(const Body &self, const std::string &path, const std::string &options) {
  ready_for_write(self);
  require(self, "the record could not be written", [&](SBR body) {
    const Options in_use(options);
    return SBR_write_SBR(body, path.c_str());
  });
}

void write_database(const Body &self, const std::string &path, const std::string &qualifiers,
                    const std::string &options) {
  ready_for_write(self);
  require(self, "the body could not be written to the database", [&](SBR body) {
    const Options in_use(options);
    return SBR_write_DB(body, path.c_str(), qualifiers.c_str());
  });
}

// The library's own table of options: keyword, flag of the program, and the choice of that flag.
py::list option_table() {
  py::list rows;
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    rows.append(py::make_tuple(std::string(option.keyword), std::string(option.flag), std::string(option.choice)));
  return rows;
}

std::string keyword_of(bool sbr::WriteFlags::*member) {
  for (const sbr::WriteOption &option : sbr::kWriteOptions)
    if (option.member == member) return std::string(option.keyword);
  return {};
}

// Pairs of keywords that contradict each other, with the message.
py::list contradictions() {
  py::list rows;
  for (const sbr::WriteContradiction &pair : sbr::kWriteContradictions)
    rows.append(py::make_tuple(keyword_of(pair.option), keyword_of(pair.other), std::string(pair.message)));
  return rows;
}

}  // namespace

void bind_writing(py::module_ &module, py::class_<Body> &body) {
  module.def("write_option_table", option_table);
  module.def("write_contradictions", contradictions);
  body.def("write_record", write_record)
      .def("write_database", write_database)
      .def("shift_to_mass_center", [](const Body &self) { call(self, [](SBR b) { return SBR_ShiftLBRFtoCM(b), 0; }); });
}

}  // namespace sbrpy
