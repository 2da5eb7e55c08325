#include "support/record_builder.h"

#include <bit>
#include <cstring>
#include <stdexcept>

#include "support/files.h"

namespace sbrtest {
namespace {

void append(std::string &bytes, std::uint64_t value, int size, bool big_endian) {
  for (int i = 0; i < size; ++i) {
    const int shift = 8 * (big_endian ? size - 1 - i : i);
    bytes.push_back(static_cast<char>((value >> shift) & 0xFFU));
  }
}

bool word_is_xdr(std::uint32_t word) {
  const std::uint32_t code = word & 0xFFU;
  return code >= 60 ? (word & 0x100U) != 0 : code % 10 == 1;
}

bool word_is_single(std::uint32_t word) {
  const std::uint32_t code = word & 0xFFU;
  return code == 50 || code == 51 || (code >= 60 && (word & 0x200U) != 0);
}

int content_byte_of(int block) {
  if (block <= 9) return block - 3;
  if (block <= 12) return block - 2;
  return block - 1;
}

}  // namespace

FieldBytes &FieldBytes::integer(std::int64_t value) {
  append(bytes_, static_cast<std::uint32_t>(value), 4, xdr_);
  return *this;
}

FieldBytes &FieldBytes::integers(const std::vector<int> &values) {
  for (const int value : values) integer(value);
  return *this;
}

FieldBytes &FieldBytes::real(double value) {
  if (single_)
    append(bytes_, std::bit_cast<std::uint32_t>(static_cast<float>(value)), 4, xdr_);
  else
    append(bytes_, std::bit_cast<std::uint64_t>(value), 8, xdr_);
  return *this;
}

FieldBytes &FieldBytes::reals(const std::vector<double> &values) {
  for (const double value : values) real(value);
  return *this;
}

FieldBytes &FieldBytes::text(const std::string &text, std::size_t width, char fill) {
  std::string field = text.substr(0, width);
  field.resize(width, fill);
  for (const char c : field) {
    if (xdr_)
      integer(static_cast<signed char>(c));
    else
      bytes_.push_back(c);
  }
  return *this;
}

FieldBytes &FieldBytes::raw(const std::string &bytes) {
  bytes_ += bytes;
  return *this;
}

RecordBuilder::RecordBuilder(std::uint32_t word) : RecordBuilder(word, word_is_xdr(word), word_is_single(word)) {}

RecordBuilder::RecordBuilder(std::uint32_t word, bool xdr, bool single)
    : word_(word), xdr_(xdr), single_(single), header_(xdr, single) {
  header_.text("", 544, ' ');
}

FieldBytes &RecordBuilder::block(int index) {
  if (index < 3 || index > 35) throw std::out_of_range("block");
  return blocks_.try_emplace(index, xdr_, single_).first->second;
}

FieldBytes &RecordBuilder::fresh(int index) {
  remove(index);
  return block(index);
}

RecordBuilder &RecordBuilder::content(int byte, int value) {
  content_[byte] = value;
  return *this;
}

RecordBuilder &RecordBuilder::header(const std::string &title, const std::string &date,
                                     const std::string &input_file_name, const std::string &input_file_type,
                                     const std::string &comment1, const std::string &comment2,
                                     const std::string &comment3, char fill) {
  header_ = fields();
  header_.text(title, 128, fill).text(date, 32, fill).text(input_file_name, 128, fill).text(input_file_type, 16, fill);
  header_.text(comment1, 80, fill).text(comment2, 80, fill).text(comment3, 80, fill);
  return *this;
}

RecordBuilder &RecordBuilder::nodes(const std::vector<BuiltNode> &nodes, int dimension) {
  FieldBytes &out = fresh(3);
  out.integer(static_cast<int>(nodes.size())).integer(dimension);
  for (const BuiltNode &node : nodes) out.integer(node.id).reals({node.xyz[0], node.xyz[1], node.xyz[2]});
  return *this;
}

RecordBuilder &RecordBuilder::old_faces(const std::vector<std::vector<int>> &faces) {
  FieldBytes &out = fresh(4);
  out.integer(static_cast<int>(faces.size())).integer(12);
  FieldBytes rows = fields();
  for (int group = 0; group < 12; ++group) {
    int size = 0;
    for (const std::vector<int> &face : faces) {
      if (static_cast<int>(face.size()) != group + 2) continue;
      ++size;
      rows.integers({-7, 99}).integers(face);
    }
    out.integers({group, size, group + 2});
  }
  out.raw(rows.bytes());
  return *this;
}

RecordBuilder &RecordBuilder::global(double mass, const std::array<double, 3> &center,
                                     const std::array<double, 9> &inertia) {
  FieldBytes &out = fresh(5);
  out.real(mass);
  for (const double value : center) out.real(value);
  for (const double value : inertia) out.real(value);
  return *this;
}

RecordBuilder &RecordBuilder::eigenvalues(const std::vector<BuiltEigenvalue> &records) {
  FieldBytes &out = fresh(6);
  out.integer(static_cast<int>(records.size()));
  for (const BuiltEigenvalue &r : records) out.integer(r.mode).reals({r.eigenvalue, r.hz, r.rad, r.mass, r.stiffness});
  return *this;
}

RecordBuilder &RecordBuilder::modes(int index, const std::vector<int> &node_ids, const std::vector<BuiltMode> &modes,
                                    int with_words) {
  if (with_words < 0) with_words = code() != 10 && (index == 7 || (code() != 30 && code() != 31)) ? 1 : 0;
  FieldBytes &out = fresh(index);
  out.integer(static_cast<int>(modes.size())).integer(static_cast<int>(node_ids.size())).integers(node_ids);
  for (const BuiltMode &mode : modes) {
    if (with_words != 0) out.integer(mode.word);
    out.reals(mode.values);
  }
  return *this;
}

RecordBuilder &RecordBuilder::masses(const std::vector<std::pair<int, std::vector<double>>> &records,
                                     int values_per_node) {
  FieldBytes &out = fresh(8);
  out.integer(static_cast<int>(records.size())).integer(values_per_node);
  for (const auto &[id, values] : records) out.integer(id).reals(values);
  return *this;
}

RecordBuilder &RecordBuilder::inertias(const std::vector<BuiltInertia> &entries) {
  FieldBytes &out = fresh(9);
  out.integer(static_cast<int>(entries.size()));
  for (const BuiltInertia &entry : entries)
    out.integer(entry.id).character(entry.row).character(entry.column).real(entry.value);
  return *this;
}

RecordBuilder &RecordBuilder::units(const std::string &mass, const std::string &length, const std::string &time,
                                    const std::string &force, char fill) {
  fresh(10).text(mass, 16, fill).text(length, 16, fill).text(time, 16, fill).text(force, 16, fill);
  return *this;
}

RecordBuilder &RecordBuilder::matrix(int index, int second_word, const std::vector<BuiltEntry> &entries) {
  FieldBytes &out = fresh(index);
  out.integer(static_cast<int>(entries.size())).integer(second_word);
  for (const BuiltEntry &entry : entries) out.integer(entry.row).integer(entry.column).real(entry.value).integer(1);
  return *this;
}

RecordBuilder &RecordBuilder::faces(const std::vector<std::vector<int>> &faces, int reserved) {
  FieldBytes list = fields();
  for (const std::vector<int> &face : faces) list.integer(static_cast<int>(face.size())).integers(face);
  const int length = static_cast<int>(list.size() / 4);
  fresh(13).integers({4 * length + 16, reserved, static_cast<int>(faces.size()), length}).raw(list.bytes());
  return *this;
}

RecordBuilder &RecordBuilder::transformation(const std::vector<int> &modes, const std::vector<double> &matrix) {
  fresh(15).integer(static_cast<int>(modes.size())).integers(modes).reals(matrix);
  return *this;
}

RecordBuilder &RecordBuilder::interface_nodes(const std::vector<int> &indices) {
  fresh(16).integer(static_cast<int>(indices.size())).integers(indices);
  return *this;
}

RecordBuilder &RecordBuilder::preload(int on_principal_axes, const std::vector<double> &values) {
  fresh(26).integer(static_cast<int>(values.size())).integer(on_principal_axes).reals(values);
  return *this;
}

RecordBuilder &RecordBuilder::loads(int mode_count, const std::vector<BuiltLoad> &loads) {
  FieldBytes &out = fresh(27);
  out.integer(mode_count).integer(static_cast<int>(loads.size()));
  for (const BuiltLoad &load : loads) out.text(load.label, 256).integer(load.on_principal_axes).reals(load.values);
  return *this;
}

RecordBuilder &RecordBuilder::statistics(const std::vector<std::pair<std::vector<int>, std::vector<double>>> &records) {
  FieldBytes &out = fresh(29);
  out.integer(static_cast<int>(records.size()));
  for (auto [ids, values] : records) {
    ids.resize(13);
    values.resize(13);
    out.integers(ids).reals(values);
  }
  return *this;
}

RecordBuilder &RecordBuilder::pre_vectors(int index, const std::vector<double> &values) {
  fresh(index).integer(static_cast<int>(values.size() / 6)).reals(values);
  return *this;
}

RecordBuilder &RecordBuilder::operators(const std::vector<BuiltOperator> &operators) {
  FieldBytes &out = fresh(33);
  out.integer(static_cast<int>(operators.size()));
  for (const BuiltOperator &op : operators) {
    out.integer(static_cast<int>(op.row_labels.size())).text(op.name, 8);
    for (const std::string &label : op.row_labels) out.text(label, 80);
    out.integer(static_cast<int>(op.sub_operators.size()));
    for (const BuiltSubOperator &sub : op.sub_operators) out.integer(sub.columns).text(sub.tag, 8).reals(sub.data);
  }
  return *this;
}

RecordBuilder &RecordBuilder::nodal_loads(const std::vector<std::vector<BuiltNodalLoad>> &cases) {
  FieldBytes &out = fresh(34);
  out.integer(static_cast<int>(cases.size()));
  for (const std::vector<BuiltNodalLoad> &rows : cases) {
    out.integer(static_cast<int>(rows.size()));
    for (const BuiltNodalLoad &row : rows) out.integer(row.node).integer(row.coordinate).real(row.load);
  }
  return *this;
}

RecordBuilder &RecordBuilder::monitor_points(const std::vector<BuiltMonitorPoint> &points, int index) {
  FieldBytes &out = fresh(index);
  out.integer(static_cast<int>(points.size()));
  for (const BuiltMonitorPoint &point : points) {
    out.integers({point.type, point.result_type, point.component}).text(point.name, 8).text(point.label, 56);
    out.integers({point.rows, point.load_operators, point.flags});
    for (const std::vector<double> &values : point.operators) out.reals(values);
  }
  return *this;
}

std::string RecordBuilder::bytes() const {
  FieldBytes out = fields();
  out.integer(word_).raw(header_.bytes());
  std::string content(100, '\0');
  for (const auto &[index, block] : blocks_) content[static_cast<std::size_t>(content_byte_of(index))] = 1;
  for (const auto &[byte, value] : content_) content[static_cast<std::size_t>(byte)] = static_cast<char>(value);
  out.text(content, 100);
  for (const auto &[index, block] : blocks_) out.raw(block.bytes());
  return out.bytes();
}

std::size_t RecordBuilder::offset(int index) const {
  std::size_t at = 4 + 644 * static_cast<std::size_t>(char_size());
  for (const auto &[other, block] : blocks_)
    if (other < index) at += block.size();
  return at;
}

void RecordBuilder::write(const std::string &path) const { write_file(path, bytes()); }

std::string first_difference(const RecordBuilder &expected, const std::string &actual) {
  const std::string bytes = expected.bytes();
  if (bytes == actual) return "";
  std::size_t at = 0;
  while (at < bytes.size() && at < actual.size() && bytes[at] == actual[at]) ++at;
  int block = 0;
  for (int index = 3; index <= 35; ++index)
    if (expected.offset(index) <= at) block = index;
  return "at byte " + std::to_string(at) + ", block " + std::to_string(block) + ", sizes " +
         std::to_string(bytes.size()) + " and " + std::to_string(actual.size());
}

RecordBuilder full_record(std::uint32_t word) {
  RecordBuilder record(word);
  const int code = record.code();
  const bool is_short = code == 10 || code == 20 || code == 30 || code == 31;
  const std::vector<double> twelve = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
  const std::vector<double> eighteen = {0.5, 0, 0, 0, 0, 1, 0, 1.5, 0, 0, 1, 0, 0, 0, 2.5, 1, 0, 0};
  record.header("Bracket", "2024-05-06", "bracket.inp", "solid model", "first", "second", "third");
  record.nodes({{10, {0, 0, 0}}, {20, {2, 0, 0}}, {35, {0, 3, 0}}});
  if (code == 10 || code == 20)
    record.old_faces({{10, 20, 35}, {10, 35}});
  else
    record.faces({{0, 1, 2}, {0, 2}});
  record.global(4, {1, 2, 3}, {5, 0.5, 0.25, 0.5, 6, 0.125, 0.25, 0.125, 7});
  record.eigenvalues({{1, 100, 1.5, 10, 1, 100}, {2, 400, 3, 20, 1, 400}});
  record.modes(7, {10, 20, 35}, {{1, eighteen}, {2, eighteen}});
  record.masses({{10, {1}}, {20, {1.5}}, {35, {1.5}}});
  record.inertias({{20, 4, 4, 1}, {20, 4, 5, 0.5}, {20, 5, 5, 2}, {20, 6, 6, 3}});
  record.units("MEGAGRAM", "MILLIMETER", "SECOND", "NEWTON");
  record.matrix(11, 2, {{1, 1, 100}, {2, 2, 400}}).matrix(12, 2, {{1, 1, 1}, {2, 2, 1}});
  record.matrix(14, 0, {{1, 1, 0.5}, {2, 2, 0.25}});
  record.transformation({1, 2}, {1, 0, 0, 1});
  record.interface_nodes({0, 2});
  record.modes(17, {20, 35}, {{1, twelve}, {2, twelve}});
  if (is_short) return record;
  record.block(18).real(4);
  record.block(19).reals({4, 8, 12});
  record.block(20).integer(2).reals({1, 2, 3, 4, 5, 6});
  record.block(21).integer(2).reals({6, 5, 4, 3, 2, 1});
  record.block(22).integer(2).reals(twelve);
  record.block(23).reals({5, -0.5, -0.25, -0.5, 6, -0.125, -0.25, -0.125, 7});
  record.block(24).integer(2).reals(eighteen);
  record.block(25).integer(2).reals(eighteen).reals(eighteen);
  record.preload(1, {0.5, 1.5});
  record.loads(2, {{"FIRST", 1, {1, 2}}, {"SECOND", 0, {3, 4}}});
  record.modes(28, {10, 35}, {{1, twelve}, {2, twelve}});
  record.statistics({{{35, 10, 20, 10}, {2.5, 1, 12, 14}}, {{35, 10, 20, 10}, {2.5, 1, 12, 14}}});
  record.pre_vectors(30, twelve).pre_vectors(31, twelve);
  record.operators({{"OPER", {"row one", "row two"}, {{3, "SUBA", {1, 2, 3, 4, 5, 6}}, {1, "SUBB", {7, 8}}}}});
  record.nodal_loads({{{0, 1, 10}, {2, 3, -5}}, {}});
  record.monitor_points({{1, 1, 12, "POINT", "a point", 2, 1, 9, {{1, 2, 3, 4}, {5, 6, 7, 8}}}});
  return record;
}

}  // namespace sbrtest
