// System queries, codecs, versions, reports of a host.
#include <dlfcn.h>

#include "handle.h"

namespace sbrpy {
namespace {

py::str local_time(int selector) {
  char text[64] = {};
  call_library([&] { return SBR_localtime_ISO8601(selector, text), 0; });
  return text_of(text);
}

py::str system_name(int selector) {
  char text[192] = {};
  require_library("the system does not tell its name", [&] { return SBR_uname(selector, text) == 0; });
  return text_of(text);
}

py::dict versions() {
  using Version = const char *(*)();
  static const std::pair<const char *, Version> kVersions[] = {
      {"coarse", sbrcoarse_VersionId}, {"create", sbrcreate_VersionId}, {"data", sbrdata_VersionId},
      {"invar", sbrinvar_VersionId},   {"read", sbrread_VersionId},     {"set", sbrset_VersionId},
      {"toc", sbrtoc_VersionId},       {"tools", sbrtools_VersionId},   {"units", sbrunits_VersionId},
      {"write", sbrwrite_VersionId}};
  py::dict result;
  for (const auto &[name, version] : kVersions) result[name] = version();
  return result;
}

py::str terminated(const py::bytes &field) {
  std::string text = field;
  terminate_string(text.data(), static_cast<int>(text.size()));
  return text_of(text.c_str());
}

py::array_t<float> to_floats(const Doubles &values) {
  py::array_t<float> result(values.size());
  double2float(result.mutable_data(), values.data(), static_cast<int>(values.size()));
  return result;
}

Doubles to_doubles(const py::array_t<float, py::array::c_style> &values) {
  Doubles result(values.size());
  float2double(result.mutable_data(), values.data(), static_cast<int>(values.size()));
  return result;
}

int selected_index(int number, const Ints &numbers) {
  return SelectedModeIndex(number, numbers.data(), static_cast<int>(numbers.size()));
}

// Reports of the host itself go the way of the library's.
void report(const std::string &severity, const std::string &text) {
  call_library([&] {
    return severity == "error"     ? SBR_Error("%s", text.c_str())
           : severity == "warning" ? SBR_Warning("%s", text.c_str())
                                   : SBR_Info("%s", text.c_str());
  });
}

// The file of the library that this module is bound to.
py::str library_path() {
  Dl_info information{};
  if (dladdr(reinterpret_cast<void *>(&SBR_Create), &information) == 0 || information.dli_fname == nullptr)
    throw std::runtime_error("the file of the library is not known");
  return text_of(information.dli_fname);
}

}  // namespace

void bind_system(py::module_ &module) {
  module.def("local_time", local_time);
  module.def("system_name", system_name);
  module.def("processor_time", [] { return SBR_cputime(); });
  module.def("versions", versions);
  module.def("terminated", terminated);
  module.def("to_floats", to_floats);
  module.def("to_doubles", to_doubles);
  module.def("selected_index", selected_index);
  module.def("report", report);
  module.def("library_path", library_path);
}

}  // namespace sbrpy
