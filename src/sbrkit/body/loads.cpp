// Modal loads, nodal loads and the modal preload.
#include "body/loads.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "base/reports.h"
#include "base/texts.h"
#include "body/node_table.h"
#include "body/registry.h"

namespace sbr {
namespace {

constexpr std::size_t kLabelCharacters = 255;

int refuse_illegal_case(int load_case) noexcept {
  report_error("The load case index %d is illegal.\nThe load case index must be non-negative.", load_case);
  return 0;
}

// Whether the machine can hold that many records at all: a stray case index is refused before cases are made one by
// one.
bool within_memory(std::int64_t count, std::int64_t record_bytes) noexcept {
  const std::int64_t pages = sysconf(_SC_PHYS_PAGES);
  const std::int64_t page = sysconf(_SC_PAGESIZE);
  return pages <= 0 || page <= 0 || count <= pages * page / record_bytes;
}

ModalLoad *modal_case(SBR body, int load_case) noexcept {
  if (body == nullptr || load_case < 0 || load_case >= body->loads.modal.count()) return nullptr;
  return body->loads.modal[load_case];
}

NodalLoadCase *nodal_case(SBR body, int load_case) noexcept {
  if (body == nullptr || load_case < 0 || load_case >= body->loads.nodal.count()) return nullptr;
  return body->loads.nodal[load_case];
}

// A new modal load case at the end of the list, with zeros for all modes and the default label.
bool add_modal_case(SbrBody &body) noexcept {
  Array<double> values;
  if (!values.allocate(body.mode_table.mode_count)) return false;
  ModalLoad *load = body.loads.modal.add();
  if (load == nullptr) return false;
  load->values.swap(values);
  std::snprintf(load->label, sizeof load->label, "Load Case %d", body.loads.modal.count());
  return true;
}

// Makes the modal load cases up to load_case. False after a report, with the cases there were.
bool grow_modal_cases(SbrBody &body, int load_case) noexcept {
  auto &cases = body.loads.modal;
  const int before = cases.count();
  const std::int64_t wanted = static_cast<std::int64_t>(load_case) + 1;
  const std::int64_t bytes = static_cast<std::int64_t>(sizeof(ModalLoad) + sizeof(void *)) +
                             8 * static_cast<std::int64_t>(body.mode_table.mode_count);
  bool good = within_memory(wanted - before, bytes);
  while (good && cases.count() < wanted) good = add_modal_case(body);
  if (good) return true;
  if (!cases.resize(before)) cases.release();
  return report_no_memory(unit_name::kConstruction);
}

// Makes the nodal load cases up to load_case, all new ones empty. False after a report.
bool grow_nodal_cases(SbrBody &body, int load_case) noexcept {
  auto &cases = body.loads.nodal;
  const int before = cases.count();
  const std::int64_t wanted = static_cast<std::int64_t>(load_case) + 1;
  bool good = within_memory(wanted - before, sizeof(NodalLoadCase) + sizeof(void *));
  while (good && cases.count() < wanted) good = cases.add() != nullptr;
  if (good) return true;
  if (!cases.resize(before)) cases.release();
  return report_no_memory(unit_name::kConstruction);
}

// Stores a value at a mode index; the vector grows to the present modes when it is older than the mode.
bool store_at_mode(SbrBody &body, Array<double> &values, int mode, double value) noexcept {
  if (static_cast<std::size_t>(mode) >= values.size() && !values.resize(body.mode_table.mode_count))
    return report_no_memory(unit_name::kConstruction);
  values[mode] = value;
  return true;
}

// A copy over the present modes for the caller; null with count 0 without modes or memory.
double *modal_vector_for_caller(const SbrBody &body, const Array<double> &values, int *count) noexcept {
  Array<double> copy;
  if (!copy_modal_vector(body, values, copy)) return nullptr;
  *count = copy.count();
  return copy.detach();
}

template <class T>
T *array_for_caller(const Array<T> &values) noexcept {
  Array<T> copy;
  if (!copy.allocate(static_cast<std::int64_t>(values.size()))) return nullptr;
  std::copy(values.begin(), values.end(), copy.begin());
  return copy.detach();
}

}  // namespace

bool extend_modal_vectors(SbrBody &body) noexcept {
  const int modes = mode_count(body);
  for (int i = 0; i < body.loads.modal.count(); ++i)
    if (ModalLoad *load = body.loads.modal[i]; load->values.count() < modes && !load->values.resize(modes))
      return false;
  Array<double> &preload = body.loads.preload;
  return !preload || preload.count() >= modes || preload.resize(modes);
}

bool copy_modal_vector(const SbrBody &body, const Array<double> &values, Array<double> &copy) noexcept {
  if (!copy.allocate(mode_count(body))) return false;
  std::copy_n(values.data(), std::min(values.size(), copy.size()), copy.data());
  return true;
}

int preload_processed(const SbrBody &body) noexcept {
  return has_block(body, kModalPreload) ? body.loads.preload_on_principal_axes : 0;
}

}  // namespace sbr

using sbr::modal_case;
using sbr::nodal_case;

extern "C" {

// ---- modal loads ----------------------------------------------------------------------------------------

int SBR_SetModalLoad(SBR body, int load_case, int number, double value) {
  if (!sbr::require_body(body)) return 0;
  if (load_case < 0) return sbr::refuse_illegal_case(load_case);
  const int mode = sbr::lookup_or_add_mode(*body, number);
  if (mode < 0) return 0;
  if (load_case >= body->loads.modal.count() && !sbr::grow_modal_cases(*body, load_case)) return 0;
  sbr::ModalLoad *load = modal_case(body, load_case);
  if (load == nullptr || !sbr::store_at_mode(*body, load->values, mode, value)) return 0;
  sbr::set_block(*body, sbr::kModalLoads);
  return 1;
}

int SBR_SetModalLoadLabel(SBR body, int load_case, const char *label) {
  if (!sbr::require_body(body)) return 0;
  if (load_case < 0) return sbr::refuse_illegal_case(load_case);
  if (label == nullptr) return 0;
  if (load_case >= body->loads.modal.count() && !sbr::grow_modal_cases(*body, load_case)) return 0;
  sbr::ModalLoad *load = modal_case(body, load_case);
  if (load == nullptr) return 0;
  const std::size_t length = std::strlen(label);
  if (length == 0) {
    std::snprintf(load->label, sizeof load->label, "%d", load_case + 1);
    return 1;
  }
  if (length > sbr::kLabelCharacters)
    sbr::report_warning("Modal load label too big: max size %ld, specified size %ld.  Truncating label.",
                        static_cast<long>(sbr::kLabelCharacters), static_cast<long>(length));
  sbr::store_text(load->label, label);
  return 1;
}

int SBR_GetModalLoadCaseCount(SBR body) { return body != nullptr ? sbr::load_case_count(*body) : 0; }

int SBR_GetModalLoadCaseLabel(SBR body, int load_case, char *label256) {
  const sbr::ModalLoad *load = modal_case(body, load_case);
  if (load == nullptr || label256 == nullptr) return 0;
  sbr::give_field(label256, load->label);
  return 1;
}

double *SBR_GetModalLoad(SBR body, int load_case, int *count) {
  int held = 0;
  const sbr::ModalLoad *load = modal_case(body, load_case);
  double *copy = load != nullptr ? sbr::modal_vector_for_caller(*body, load->values, &held) : nullptr;
  if (count != nullptr) *count = held;
  return copy;
}

int SBR_ModalLoadProcessed(SBR body, int load_case) {
  const sbr::ModalLoad *load = modal_case(body, load_case);
  return load != nullptr ? load->processed : 0;
}

void SBR_SetModalLoadProcessed(SBR body, int load_case, int flag) {
  if (sbr::ModalLoad *load = modal_case(body, load_case); load != nullptr) load->processed = flag;
}

// ---- nodal loads ----------------------------------------------------------------------------------------

int SBR_SetModalLoadNodal(SBR body, int load_case, int id, int coordinate, double value) {
  if (!sbr::require_body(body)) return 0;
  if (load_case < 0) return sbr::refuse_illegal_case(load_case);
  if (coordinate < 1 || coordinate > 6) {
    sbr::report_error("The coordinate number %d is illegal.\nThe coordinate number must be 1 to 6.", coordinate);
    return 0;
  }
  const int node = sbr::lookup_or_add_node(*body, id);
  if (node < 0) return 0;
  if (load_case >= body->loads.nodal.count() && !sbr::grow_nodal_cases(*body, load_case)) return 0;
  sbr::NodalLoadCase *entries = nodal_case(body, load_case);
  if (entries == nullptr) entries = body->loads.nodal.create(static_cast<std::size_t>(load_case));
  if (entries == nullptr) return sbr::report_no_memory(sbr::unit_name::kConstruction);
  // Room in all three arrays first, so that they stay equally long.
  const std::int64_t wanted = static_cast<std::int64_t>(entries->nodes.size()) + 1;
  if (!entries->nodes.reserve(wanted) || !entries->coordinates.reserve(wanted) || !entries->loads.reserve(wanted) ||
      !entries->nodes.push_back(node) || !entries->coordinates.push_back(coordinate) ||
      !entries->loads.push_back(value))
    return sbr::report_no_memory(sbr::unit_name::kConstruction);
  sbr::set_block(*body, sbr::kModalLoadNodal);
  return 1;
}

int SBR_GetModalLoadNodalCaseCount(SBR body) { return body != nullptr ? body->loads.nodal.count() : 0; }

int SBR_GetModalLoadNodalCount(SBR body, int load_case) {
  const sbr::NodalLoadCase *entries = nodal_case(body, load_case);
  return entries != nullptr ? entries->nodes.count() : 0;
}

int *SBR_GetModalLoadNodalNode(SBR body, int load_case) {
  const sbr::NodalLoadCase *entries = nodal_case(body, load_case);
  return entries != nullptr ? sbr::array_for_caller(entries->nodes) : nullptr;
}

int *SBR_GetModalLoadNodalCoord(SBR body, int load_case) {
  const sbr::NodalLoadCase *entries = nodal_case(body, load_case);
  return entries != nullptr ? sbr::array_for_caller(entries->coordinates) : nullptr;
}

double *SBR_GetModalLoadNodalLoad(SBR body, int load_case) {
  const sbr::NodalLoadCase *entries = nodal_case(body, load_case);
  return entries != nullptr ? sbr::array_for_caller(entries->loads) : nullptr;
}

// ---- modal preload --------------------------------------------------------------------------------------

int SBR_SetModalPreload(SBR body, int number, double value) {
  if (!sbr::require_body(body)) return 0;
  const int mode = sbr::lookup_or_add_mode(*body, number);
  if (mode < 0) return 0;
  if (!body->loads.preload) body->loads.preload_on_principal_axes = 0;
  if (!sbr::store_at_mode(*body, body->loads.preload, mode, value)) return 0;
  sbr::set_block(*body, sbr::kModalPreload);
  return 1;
}

double *SBR_GetModalPreload(SBR body, int *count) {
  int held = 0;
  double *copy = body != nullptr && body->loads.preload
                     ? sbr::modal_vector_for_caller(*body, body->loads.preload, &held)
                     : nullptr;
  if (count != nullptr) *count = held;
  return copy;
}

int SBR_ModalPreloadExist(SBR body) { return body != nullptr && body->loads.preload ? 1 : 0; }

int SBR_ModalPreloadProcessed(SBR body) { return body != nullptr ? sbr::preload_processed(*body) : 0; }

void SBR_SetModalPreloadProcessed(SBR body, int flag) {
  if (body != nullptr && sbr::has_block(*body, sbr::kModalPreload)) body->loads.preload_on_principal_axes = flag;
}

}  // extern "C"
