// Generalized matrices and eigenvalues: the read forms, and what stands in for a list or a table that is missing.
#include "body/matrices.h"

#include <algorithm>
#include <cmath>

#include "body/node_table.h"
#include "body/units.h"

namespace sbr {

const EigenRecord *eigen_record(const SbrBody &body, int index) noexcept {
  const GeneralizedMatrices &matrices = body.matrices;
  const int reach = std::min(matrices.eigenvalue_count, matrices.eigenvalues.count());
  return index >= 0 && index < reach ? &matrices.eigenvalues[index] : nullptr;
}

double substitute_mass(double stiffness) noexcept { return std::max(stiffness, 1.0) * 1e-16; }

namespace {

// ---- one mode ------------------------------------------------------------------------------------------------------

// What a walk over a list finds for one mode: it ends at the mode's entry, or at an entry off the diagonal.
struct DiagonalValue {
  bool diagonal = true;
  bool found = false;
  double value = 0.0;
};

DiagonalValue diagonal_value(const Array<SparseEntry> &list, int index) noexcept {
  for (const SparseEntry &entry : list) {
    if (entry.row != entry.column) return {.diagonal = false};
    if (entry.row == index) return {.found = true, .value = entry.value};
  }
  return {};
}

void give(double *out, double value) noexcept {
  if (out != nullptr) *out = value;
}

// The places that SBR_Eigenvalue fills; any may be null.
struct EigenOutputs {
  double *eigenvalue, *hz, *rad, *mass, *stiffness;
};

int give_record(const EigenRecord &record, const EigenOutputs &out) noexcept {
  give(out.eigenvalue, record.eigenvalue);
  give(out.hz, record.frequency_hz);
  give(out.rad, record.frequency_rad);
  give(out.mass, record.generalized_mass);
  give(out.stiffness, record.generalized_stiffness);
  return 1;
}

// The values of a mode from the stiffness and mass lists; zeros and 0 when they are not diagonal up to the mode.
int derive_from_lists(SbrBody &body, int index, const EigenOutputs &out) noexcept {
  const DiagonalValue stiffness = diagonal_value(body.matrices.stiffness, index);
  const DiagonalValue mass = stiffness.diagonal ? diagonal_value(body.matrices.mass, index) : DiagonalValue{};
  if (!stiffness.diagonal || !mass.diagonal) {
    give_record(EigenRecord{}, out);
    return 0;
  }
  const double k = stiffness.value;
  const double m = mass.found ? mass.value : substitute_mass(k);
  const double eigenvalue = k / m;
  const double w = consistency_factor(body) * k / m;
  // A negative eigenvalue shows as a negative frequency.
  const double rad = eigenvalue >= 0.0 ? std::sqrt(w) : -std::sqrt(-w);
  give(out.stiffness, k);
  give(out.mass, m);
  if (m != 0.0) give(out.eigenvalue, eigenvalue);
  give(out.rad, rad);
  give(out.hz, rad / kTwoPi);
  return 1;
}

// ---- all entries ---------------------------------------------------------------------------------------------------

template <class Write>
void write_list(const Array<SparseEntry> &list, Write write) noexcept {
  int place = 0;
  for (const SparseEntry &entry : list) write(place++, entry);
}

// The stiffness matrix as entries, each handed over as write(place, entry) with the place in the sparse form.
template <class Write>
void write_stiffness(const SbrBody &body, Write write) noexcept {
  if (body.matrices.stiffness) return write_list(body.matrices.stiffness, write);
  for (int i = 0; i < body.mode_table.mode_count; ++i) {
    const EigenRecord *record = eigen_record(body, i);
    write(i, SparseEntry{i, i, record != nullptr ? record->generalized_stiffness : 0.0});
  }
}

// The same for the mass matrix. Without a list, what no table knows is derived from the stiffness list up to its first
// entry off the diagonal, in one pass: a mode that has no entry there gets the substitute of a stiffness of 0, or 0
// when an entry off the diagonal ended the search. Of several entries of one mode the first counts: written last.
template <class Write>
void write_mass(const SbrBody &body, Write write) noexcept {
  if (body.matrices.mass) return write_list(body.matrices.mass, write);
  const Array<SparseEntry> &stiffness = body.matrices.stiffness;
  const auto off_diagonal = std::find_if(stiffness.begin(), stiffness.end(),
                                         [](const SparseEntry &entry) { return entry.row != entry.column; });
  const double not_found = off_diagonal != stiffness.end() ? 0.0 : substitute_mass(0.0);
  const int modes = body.mode_table.mode_count;
  for (int i = 0; i < modes; ++i) {
    const EigenRecord *record = eigen_record(body, i);
    write(i, SparseEntry{i, i, record != nullptr ? record->generalized_mass : not_found});
  }
  for (const SparseEntry *entry = off_diagonal; entry != stiffness.begin();) {
    --entry;
    const int i = entry->row;
    if (i >= 0 && i < modes && eigen_record(body, i) == nullptr)
      write(i, SparseEntry{i, i, substitute_mass(entry->value)});
  }
}

// Writes entries into the three arrays of a sparse form, of which any may be null.
auto into_sparse(double *values, int *rows, int *columns) noexcept {
  return [=](int place, const SparseEntry &entry) {
    if (rows != nullptr) rows[place] = entry.row;
    if (columns != nullptr) columns[place] = entry.column;
    if (values != nullptr) values[place] = entry.value;
  };
}

// Writes entries into both halves of a full matrix; entries outside it are passed over.
auto into_full(double *matrix, int n) noexcept {
  return [=](int, const SparseEntry &entry) {
    const int r = entry.row;
    const int c = entry.column;
    if (r < 0 || r >= n || c < 0 || c >= n) return;
    const auto size = static_cast<std::size_t>(n);
    matrix[static_cast<std::size_t>(r) * size + static_cast<std::size_t>(c)] = entry.value;
    matrix[static_cast<std::size_t>(c) * size + static_cast<std::size_t>(r)] = entry.value;
  };
}

// Writes entries into both halves of the matrix of the selected modes; entries of other modes are passed over.
auto into_selected(const SbrBody &body, double **rows, int n, const int *selected) noexcept {
  const auto position = [&body, n, selected](int index) {
    const ModeTable &table = body.mode_table;
    const int reach = std::min(table.mode_count, table.mode_numbers.count());
    if (index < 0 || index >= reach || selected == nullptr) return -1;
    return selected_position(table.mode_numbers[index], selected, n);
  };
  return [=](int, const SparseEntry &entry) {
    const int r = position(entry.row);
    if (r < 0) return;
    const int c = entry.column == entry.row ? r : position(entry.column);
    if (c < 0) return;
    if (rows[r] != nullptr) rows[r][c] = entry.value;
    if (rows[c] != nullptr) rows[c][r] = entry.value;
  };
}

void zero_full(double *matrix, int n) noexcept {
  if (matrix != nullptr && n > 0) std::fill_n(matrix, static_cast<std::size_t>(n) * static_cast<std::size_t>(n), 0.0);
}

void zero_rows(double **rows, int n) noexcept {
  for (int i = 0; rows != nullptr && i < n; ++i)
    if (rows[i] != nullptr) std::fill_n(rows[i], n, 0.0);
}

}  // namespace

bool eigen_values(SbrBody &body, int index, double *eigenvalue, double *hz, double *rad, double *mass,
                  double *stiffness) noexcept {
  if (index < 0 || index >= mode_count(body)) return false;
  const EigenOutputs out{eigenvalue, hz, rad, mass, stiffness};
  const EigenRecord *record = eigen_record(body, index);
  return (record != nullptr ? give_record(*record, out) : derive_from_lists(body, index, out)) != 0;
}

int stiffness_count(const SbrBody &body) noexcept {
  return body.matrices.stiffness ? body.matrices.stiffness.count() : mode_count(body);
}

int mass_count(const SbrBody &body) noexcept {
  return body.matrices.mass ? body.matrices.mass.count() : mode_count(body);
}

int damping_count(const SbrBody &body) noexcept { return body.matrices.damping.count(); }

void sparse_stiffness(const SbrBody &body, double *values, int *rows, int *columns) noexcept {
  write_stiffness(body, into_sparse(values, rows, columns));
}

void sparse_mass(const SbrBody &body, double *values, int *rows, int *columns) noexcept {
  write_mass(body, into_sparse(values, rows, columns));
}

bool sparse_damping(const SbrBody &body, double *values, int *rows, int *columns) noexcept {
  if (!body.matrices.damping) return false;
  write_list(body.matrices.damping, into_sparse(values, rows, columns));
  return true;
}

bool full_stiffness(const SbrBody &body, double *matrix, int n) noexcept {
  zero_full(matrix, n);
  if (matrix == nullptr || stiffness_count(body) < 1) return false;
  write_stiffness(body, into_full(matrix, n));
  return true;
}

bool full_mass(const SbrBody &body, double *matrix, int n) noexcept {
  zero_full(matrix, n);
  if (matrix == nullptr || mass_count(body) < 1) return false;
  write_mass(body, into_full(matrix, n));
  return true;
}

bool full_damping(const SbrBody &body, double *matrix, int n) noexcept {
  zero_full(matrix, n);
  if (matrix == nullptr || damping_count(body) < 1) return false;
  write_list(body.matrices.damping, into_full(matrix, n));
  return true;
}

}  // namespace sbr

using namespace sbr;

extern "C" {

int SBR_Eigenvalue(SBR body, int number, double *eigenvalue, double *hz, double *rad, double *mass, double *stiffness) {
  if (body == nullptr) return 0;
  return eigen_values(*body, mode_index(*body, number), eigenvalue, hz, rad, mass, stiffness) ? 1 : 0;
}

int SBR_NumberOfGenStiff(SBR body) { return body == nullptr ? 0 : stiffness_count(*body); }

int SBR_NumberOfGenMass(SBR body) { return body == nullptr ? 0 : mass_count(*body); }

int SBR_NumberOfGenDamp(SBR body) { return body == nullptr ? 0 : damping_count(*body); }

int SBR_GenDampExist(SBR body) { return body != nullptr && damping_count(*body) > 0 ? 1 : 0; }

int SBR_GenStiffSparse(SBR body, double *values, int *rows, int *columns) {
  if (body == nullptr) return 0;
  sparse_stiffness(*body, values, rows, columns);
  return 1;
}

int SBR_GenMassSparse(SBR body, double *values, int *rows, int *columns) {
  if (body == nullptr) return 0;
  sparse_mass(*body, values, rows, columns);
  return 1;
}

int SBR_GenDampSparse(SBR body, double *values, int *rows, int *columns) {
  return body != nullptr && sparse_damping(*body, values, rows, columns) ? 1 : 0;
}

int SBR_GenStiffFull(SBR body, double *matrix, int n) {
  if (body != nullptr) return full_stiffness(*body, matrix, n) ? 1 : 0;
  zero_full(matrix, n);
  return 0;
}

int SBR_GenMassFull(SBR body, double *matrix, int n) { return body != nullptr && full_mass(*body, matrix, n) ? 1 : 0; }

int SBR_GenDampFull(SBR body, double *matrix, int n) {
  if (body != nullptr) return full_damping(*body, matrix, n) ? 1 : 0;
  zero_full(matrix, n);
  return 0;
}

int SBR_GenStiffSelected(SBR body, double **rows, int n, const int *selected) {
  zero_rows(rows, n);
  if (rows == nullptr || body == nullptr || stiffness_count(*body) < 1) return 0;
  write_stiffness(*body, into_selected(*body, rows, n, selected));
  return 1;
}

int SBR_GenMassSelected(SBR body, double **rows, int n, const int *selected) {
  zero_rows(rows, n);
  if (rows == nullptr || body == nullptr || mass_count(*body) < 1) return 0;
  write_mass(*body, into_selected(*body, rows, n, selected));
  return 1;
}

void SBR_SetShouldMassNormalizeModes(SBR body, int flag) {
  if (body != nullptr) body->matrices.modes_not_normalized = flag;
}

}  // extern "C"
