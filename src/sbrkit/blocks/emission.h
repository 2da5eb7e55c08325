// Emission of the blocks of a new record, in file order, through a sink. Working lists live for one call. The writers
// of the blocks stand by family.
#ifndef SBRKIT_BLOCKS_EMISSION_H
#define SBRKIT_BLOCKS_EMISSION_H

#include "base/reports.h"
#include "blocks/plan.h"
#include "blocks/sink.h"
#include "body/body.h"

namespace sbr {

// Emits every block that the plan's content summary names, in order. The first failure is reported with the block's
// message and ends the emission with false. `unit` names the source unit in allocation messages. The statistics of the
// exported modes are entered in the body on the way.
[[nodiscard]] bool emit_blocks(SbrBody &body, const WritePlan &plan, const Sink &out, const char *unit) noexcept;

// Io over a sink, for the descriptions of the fields.
struct FieldSink {
  const Sink &out;
  [[nodiscard]] bool count(std::int32_t value) const noexcept { return out.integer(value); }
  [[nodiscard]] bool integer(std::int32_t value) const noexcept { return out.integer(value); }
  [[nodiscard]] bool chars(const char *text, std::int64_t count) const noexcept { return out.chars(text, count); }
  [[nodiscard]] bool reals(const double *values, std::int64_t count) const noexcept { return out.reals(values, count); }
};

// The node list of a stress or strain block: which entries are written, and where their data lies.
struct ModeList {
  int kept = 0;                  // entries written
  Array<std::int32_t> position;  // per written entry its kind position, -1 for a node without data
  bool formed = false;
};

struct Emission {
  SbrBody &body;
  const WritePlan &plan;
  const Sink &out;
  const char *unit;
  PerKind<ModeList> lists;  // stress and strain have one
  Array<double> packed;     // scratch: the written entries of one mode, a piece at a time

  // Puts one record of fields.
  template <class Record, class... Extra>
  [[nodiscard]] bool put(Record record, Extra... extra) const noexcept {
    FieldSink io{out};
    return transfer(io, record, extra...);
  }
  // The exported columns of a row of values, one per mode of the body.
  [[nodiscard]] bool put_exported(const double *row) const noexcept {
    return out.reals(row + plan.first_mode, plan.exported_modes);
  }
  // The allocation message; gives false.
  bool no_memory(int line = __builtin_LINE()) const noexcept { return report_no_memory(unit, line); }
};

using WriteBlock = bool (*)(Emission &run) noexcept;

}  // namespace sbr

#endif
