// Units of a body, and the tables of units.
#include <limits>

#include "handle.h"

namespace sbrpy {
namespace {

py::tuple units(const Body &self) {
  struct Labels {
    char mass[17], length[17], time[17], force[17];
  } labels{};
  call(self, [&](SBR body) { return SBR_Units(body, labels.mass, labels.length, labels.time, labels.force), 0; });
  return py::make_tuple(text_of(labels.mass), text_of(labels.length), text_of(labels.time), text_of(labels.force));
}

// Whether a change of units has brought the body away from the units of its stored records: the first units that a body
// gets do not.
class UnitsChange {
 public:
  explicit UnitsChange(const Body &self) : self_(self), before_(units(self)) {
    require_no_views(*open_handle(self), "changing the units");
  }
  void settle() const {
    if (py::len(before_[0]) != 0 && !before_.equal(units(self_))) open_handle(self_)->scaled = true;
  }

 private:
  const Body &self_;
  py::tuple before_;
};

void set_units(const Body &self, const std::string &mass, const std::string &length, const std::string &time,
               const std::string &force) {
  const UnitsChange change(self);
  require(self, "a label is in no table of units",
          [&](SBR body) { return SBR_SetUnits(body, mass.c_str(), length.c_str(), time.c_str(), force.c_str()); });
  change.settle();
}

void set_units_by_multiplier(const Body &self, double mass, double length, double time, double force) {
  const UnitsChange change(self);
  require(self, "a multiplier belongs to no unit",
          [&](SBR body) { return SBR_SetUnitsByMultiplierOnSI(body, mass, length, time, force); });
  change.settle();
}

using Convert = double (*)(SBR, double);

double to_si(const Body &self, const std::string &quantity, double value) {
  const Convert convert = quantity == "mass"     ? SBR_Mass2Kilogram
                          : quantity == "length" ? SBR_Length2Meter
                          : quantity == "time"   ? SBR_Time2Second
                                                 : SBR_Force2Newton;
  return call(self, [&](SBR body) { return convert(body, value); });
}

// Multiplies by the library's rounding, into a new array.
Doubles convert(const Doubles &values, double factor) {
  Doubles result(std::vector<py::ssize_t>(values.shape(), values.shape() + values.ndim()));
  std::copy_n(values.data(), values.size(), result.mutable_data());
  if (values.size() > std::numeric_limits<int>::max()) throw py::value_error("too many values for one conversion");
  double *out = result.mutable_data();
  call_library([&] { return SBR_Convert_Units(out, static_cast<int>(values.size()), factor); });
  return result;
}

// A table of names and multipliers as the library takes it.
struct Table {
  explicit Table(const std::vector<std::pair<std::string, double>> &rows) {
    for (const auto &[name, multiplier] : rows) entries.push_back({name.c_str(), multiplier});
    entries.push_back({nullptr, 0.0});
  }
  std::vector<unit_entry> entries;
};

using Rows = std::vector<std::pair<std::string, double>>;

double divider(const std::string &label, const Rows &rows) {
  const Table table(rows);
  return call_library([&] { return SBR_UnitsDivider(label.c_str(), table.entries.data()); });
}

py::object label(double multiplier, const Rows &rows) {
  const Table table(rows);
  const char *name = call_library([&] { return SBR_UnitsLabel(multiplier, table.entries.data()); });
  return name != nullptr ? py::object(text_of(name)) : py::none();
}

bool label_is_known(const std::string &text) {
  char field[16] = {};
  if (text.size() > 15) return false;
  std::copy(text.begin(), text.end(), field);
  return call_library([&] { return SBR_ConvertUnitsLabel(field) != 0; });
}

}  // namespace

void bind_units(py::module_ &module, py::class_<Body> &body) {
  body.def("units", units)
      .def("set_units", set_units)
      .def("set_units_by_multiplier", set_units_by_multiplier)
      .def("consistency_factor", [](const Body &self) { return call(self, [](SBR b) { return SBR_UCF(b); }); })
      .def("to_si", to_si)
      .def("scale_database", [](const Body &self) {
        require_no_views(*open_handle(self), "changing the units");
        open_handle(self)->scaled = true;
        call(self, [](SBR b) { return SBR_ScaleDatabase(b), 0; });
      });
  module.def("convert_units", convert);
  module.def("units_divider", divider);
  module.def("units_label", label);
  module.def("units_label_is_known", label_is_known);
}

}  // namespace sbrpy
