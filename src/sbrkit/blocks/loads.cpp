#include "blocks/loads.h"

#include <cstring>

#include "base/reports.h"
#include "body/loads.h"
#include "body/node_table.h"

namespace sbr {
namespace {

// The exported values of a vector over all modes. Without values there is no block.
bool put_exported_values(Emission &run, const Array<double> &values) noexcept {
  if (values.empty()) return false;
  if (run.plan.exported_modes < 1) return true;
  return run.plan.end_mode <= values.count() && run.put_exported(values.data());
}

// ---- preload -------------------------------------------------------------------------------------------------------

Reading read_preload(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Preloads Block";
  if (!go_to_block(body, kModalPreload)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  ModalPreloadHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  body.loads.preload_on_principal_axes = head.on_principal_axes;
  if (head.mode_count != body.mode_table.mode_count)
    return failed("Number of modal preloads does not match the number of modes");
  if (head.mode_count > 0 && !rows_left(channel, head.mode_count, real_size(channel))) return failed(kProblem);
  if (!body.loads.preload.allocate(head.mode_count)) return failed("Out of memory while reading Modal Preload Block");
  return read_reals(channel, body.loads.preload.data(), head.mode_count) ? Reading::complete : failed(kProblem);
}

bool write_preload(Emission &run) noexcept {
  const Loads &loads = run.body.loads;
  Array<double> values;
  if (!loads.preload || !copy_modal_vector(run.body, loads.preload, values)) return false;
  return run.put(ModalPreloadHead{run.plan.exported_modes, loads.preload_on_principal_axes}) &&
         put_exported_values(run, values);
}

bool print_preload(const Report &report) noexcept {
  SbrBody &body = report.body;
  Array<double> values;
  const bool known = body.loads.preload && mode_count(body) > 0;
  if (!known) std::fputs("\tNo Preload information.\n\n", report.out);
  if (known && !copy_modal_vector(body, body.loads.preload, values)) return report.no_memory();
  for (int m = 0; m < values.count(); ++m)
    std::fprintf(report.out, "\n%d % 17.10lf\n", mode_number(body, m), values[m]);
  return true;
}

// ---- modal loads ---------------------------------------------------------------------------------------------------

Reading read_modal_loads(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Loads Block";
  constexpr const char *kNoMemory = "Out of memory while reading Modal Loads Block";
  if (!go_to_block(body, kModalLoads)) return Reading::complete;
  StreamChannel &channel = body.record;
  const std::int32_t modes = body.mode_table.mode_count;
  FieldReader reader(channel);
  ModalLoadsHead head;
  if (!reader.count(head.mode_count)) return failed(kProblem);
  if (head.mode_count != modes) return failed("Number of modal load components does not match the number of modes");
  if (!reader.count(head.load_count)) return failed(kProblem);
  const std::int64_t load_bytes = field_bytes<ModalLoadRow>(encoding_of(channel), std::int64_t{modes});
  if (head.load_count > 0 && !rows_left(channel, head.load_count, load_bytes)) return failed(kProblem);
  if (head.load_count < 1 || !body.loads.modal.resize(head.load_count)) return failed(kNoMemory);
  for (std::int32_t i = 0; i < head.load_count; ++i) {
    ModalLoad *load = body.loads.modal.create(static_cast<std::size_t>(i));
    if (load == nullptr || (modes > 0 && !load->values.allocate(modes))) {
      failed(kNoMemory);
      return failed(kProblem);
    }
    ModalLoadRow row;
    if (!transfer(reader, row, modes, load->values.data())) return failed(kProblem);
    std::memcpy(load->label, row.label, sizeof load->label);
    load->processed = row.on_principal_axes;
  }
  return Reading::complete;
}

bool put_load_case(Emission &run, const ModalLoad *load) noexcept {
  if (load == nullptr) return false;
  ModalLoadRow row;
  row.on_principal_axes = load->processed;
  std::memcpy(row.label, load->label, strnlen(load->label, sizeof load->label));
  Array<double> values;
  return run.put(row, std::int64_t{0}) && copy_modal_vector(run.body, load->values, values) &&
         put_exported_values(run, values);
}

bool write_modal_loads(Emission &run) noexcept {
  const OwnedList<ModalLoad> &loads = run.body.loads.modal;
  if (!run.put(ModalLoadsHead{run.plan.exported_modes, loads.count()})) return false;
  for (std::size_t i = 0; i < loads.size(); ++i)
    if (!put_load_case(run, loads[i])) return false;
  return true;
}

// A case without a label is called by its place. False after the allocation message.
bool print_load_case(const Report &report, const ModalLoad &load, int place) noexcept {
  char label[kLoadLabelChars + 1] = {};
  std::memcpy(label, load.label, sizeof load.label);
  if (label[0] == '\0') std::snprintf(label, sizeof label, "%d", place);
  Array<double> values;
  if (mode_count(report.body) < 1) {
    std::fprintf(report.out, "\tNo Modal load information for load case %s.\n\n", label);
    return true;
  }
  if (!copy_modal_vector(report.body, load.values, values)) return report.no_memory();
  std::fprintf(report.out, "\nCase: %s     (%s projected on principal axes)\n", label,
               load.processed != 0 ? "already" : "not yet");
  for (int m = 0; m < values.count(); ++m)
    std::fprintf(report.out, "%d % 17.10lf\n", mode_number(report.body, m), values[m]);
  return true;
}

bool print_modal_loads(const Report &report) noexcept {
  const OwnedList<ModalLoad> &loads = report.body.loads.modal;
  if (loads.count() < 1) std::fputs("\tNo Modal Load information.\n\n", report.out);
  for (int i = 0; i < loads.count(); ++i)
    if (loads[i] != nullptr && !print_load_case(report, *loads[i], i + 1)) return false;
  return true;
}

// ---- nodal loads ---------------------------------------------------------------------------------------------------

// The entries of one case. An empty one leaves its place empty: it costs a file no more than a word.
Reading read_nodal_load_case(StreamChannel &channel, OwnedList<NodalLoadCase> &cases, std::size_t place) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Load Nodal Block";
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count < 1) return Reading::complete;
  const std::int64_t row_bytes = field_bytes<NodalLoadRow>(encoding_of(channel));
  if (!rows_left(channel, head.count, row_bytes)) return failed(kProblem);
  NodalLoadCase *created = cases.create(place);
  if (created == nullptr) return failed_for_memory();
  NodalLoadCase &load_case = *created;
  if (!load_case.nodes.allocate(head.count) || !load_case.coordinates.allocate(head.count) ||
      !load_case.loads.allocate(head.count))
    return failed_for_memory();
  RowReader rows(channel, row_bytes, head.count);
  for (std::size_t i = 0; i < load_case.nodes.size(); ++i) {
    NodalLoadRow row;
    if (!transfer(rows, row)) return failed(kProblem);
    load_case.nodes[i] = row.node;
    load_case.coordinates[i] = row.coordinate;
    load_case.loads[i] = row.load;
  }
  return Reading::complete;
}

Reading read_nodal_loads(SbrBody &body) noexcept {
  constexpr const char *kProblem = "Problem when reading Modal Load Nodal Block";
  if (!go_to_block(body, kModalLoadNodal)) return Reading::complete;
  StreamChannel &channel = body.record;
  FieldReader reader(channel);
  CountHead head;
  if (!transfer(reader, head)) return failed(kProblem);
  if (head.count > 0 && !rows_left(channel, head.count, field_bytes<CountHead>(encoding_of(channel))))
    return failed(kProblem);
  if (head.count < 1 || !body.loads.nodal.resize(head.count)) return failed_for_memory();
  for (std::int32_t i = 0; i < head.count; ++i) {
    const Reading reading = read_nodal_load_case(channel, body.loads.nodal, static_cast<std::size_t>(i));
    if (reading != Reading::complete) return reading;
  }
  return Reading::complete;
}

bool put_nodal_case(Emission &run, const NodalLoadCase *nodal) noexcept {
  const std::size_t count = nodal == nullptr ? 0 : nodal->nodes.size();
  if (!run.put(CountHead{static_cast<std::int32_t>(count)})) return false;
  for (std::size_t i = 0; i < count; ++i)
    if (!run.put(NodalLoadRow{nodal->nodes[i], nodal->coordinates[i], nodal->loads[i]})) return false;
  return true;
}

bool write_nodal_loads(Emission &run) noexcept {
  const OwnedList<NodalLoadCase> &cases = run.body.loads.nodal;
  report_info("\nModal Load Nodal Info:\n   Count: %ld", static_cast<long>(cases.count()));
  if (!run.put(CountHead{cases.count()})) return false;
  for (std::size_t i = 0; i < cases.size(); ++i)
    if (!put_nodal_case(run, cases[i])) return false;
  return true;
}

void print_nodal_case(const Report &report, const NodalLoadCase &nodal, int place) noexcept {
  std::fprintf(report.out, "\nCase Number %d ===========================\n\n", place);
  std::fprintf(report.out, " node_id     coord         load       \n");
  std::fprintf(report.out, "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n");
  for (std::size_t i = 0; i < nodal.nodes.size(); ++i)
    std::fprintf(report.out, "%8d%8d    % 16.9e\n", node_id(report.body, nodal.nodes[i]), nodal.coordinates[i],
                 nodal.loads[i]);
}

bool print_nodal_loads(const Report &report) noexcept {
  const OwnedList<NodalLoadCase> &cases = report.body.loads.nodal;
  if (!has_block(report.body, kModalLoadNodal) || cases.count() < 1) {
    std::fputs("\tNo Modal Load Nodal Information.\n\n", report.out);
    return true;
  }
  std::fprintf(report.out, "Number of Modal Load Nodal: %d\n", cases.count());
  for (int i = 0; i < cases.count(); ++i) {
    const NodalLoadCase *nodal = cases[i];
    if (nodal != nullptr && !nodal->nodes.empty()) print_nodal_case(report, *nodal, i + 1);
  }
  return true;
}

}  // namespace

constinit const BlockFunctions kModalPreloadBlock{.read = read_preload, .write = write_preload, .print = print_preload};
constinit const BlockFunctions kModalLoadsBlock{
    .read = read_modal_loads, .write = write_modal_loads, .print = print_modal_loads};
constinit const BlockFunctions kModalLoadNodalBlock{
    .read = read_nodal_loads, .write = write_nodal_loads, .print = print_nodal_loads};

}  // namespace sbr
