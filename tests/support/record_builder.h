// Writes record files byte by byte, independently of the library: the encodings, the blocks and their fields.
//
//   RecordBuilder record(0x13C);                        // XDR, double
//   record.nodes({{1, {0, 0, 0}}, {2, {1, 0, 0}}});     // blocks in any order; the file has them in block order
//   record.block(5).reals({1, 2, 3}).integer(4);        // or field by field
//   record.write(path);
#ifndef SBRKIT_TESTS_SUPPORT_RECORD_BUILDER_H
#define SBRKIT_TESTS_SUPPORT_RECORD_BUILDER_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace sbrtest {

// Appends fields to a run of bytes in the encoding of a file.
class FieldBytes {
 public:
  FieldBytes(bool xdr, bool single) : xdr_(xdr), single_(single) {}

  FieldBytes &integer(std::int64_t value);  // the low 32 bits
  FieldBytes &integers(const std::vector<int> &values);
  FieldBytes &real(double value);
  FieldBytes &reals(const std::vector<double> &values);
  // A fixed-width text: cut or filled up with `fill`.
  FieldBytes &text(const std::string &text, std::size_t width, char fill = '\0');
  FieldBytes &character(int value) { return text(std::string(1, static_cast<char>(value)), 1); }
  FieldBytes &raw(const std::string &bytes);
  [[nodiscard]] const std::string &bytes() const { return bytes_; }
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  void cut(std::size_t size) { bytes_.resize(size); }

 private:
  bool xdr_;
  bool single_;
  std::string bytes_;
};

struct BuiltNode {
  int id;
  std::array<double, 3> xyz;
};
struct BuiltEigenvalue {
  int mode;
  double eigenvalue;
  double hz = 0.0;
  double rad = 0.0;
  double mass = 1.0;
  double stiffness = 0.0;
};
struct BuiltMode {
  int word;                    // ignored for version 10
  std::vector<double> values;  // six per node
};
struct BuiltEntry {
  int row;  // from 1
  int column;
  double value;
};
struct BuiltInertia {
  int id;
  int row;  // 4 to 6
  int column;
  double value;
};
struct BuiltLoad {
  std::string label;
  int on_principal_axes;
  std::vector<double> values;
};
struct BuiltNodalLoad {
  int node;
  int coordinate;
  double load;
};
struct BuiltSubOperator {
  int columns;
  std::string tag;
  std::vector<double> data;
};
struct BuiltOperator {
  std::string name;
  std::vector<std::string> row_labels;
  std::vector<BuiltSubOperator> sub_operators;
};
struct BuiltMonitorPoint {
  int type = 1;
  int result_type = 1;
  int component = 1;
  std::string name;
  std::string label;
  int rows = 1;
  int load_operators = 0;
  int flags = 0;
  std::vector<std::vector<double>> operators;  // one per set flag bit
};

class RecordBuilder {
 public:
  // Encoding and precision follow from the version word.
  explicit RecordBuilder(std::uint32_t word);
  // Encoding and precision regardless of the word.
  RecordBuilder(std::uint32_t word, bool xdr, bool single);

  [[nodiscard]] bool xdr() const { return xdr_; }
  [[nodiscard]] bool single() const { return single_; }
  [[nodiscard]] int real_size() const { return single_ ? 4 : 8; }
  [[nodiscard]] int char_size() const { return xdr_ ? 4 : 1; }
  [[nodiscard]] int code() const { return static_cast<int>(word_ & 0xFFU); }

  // The block's fields; the first call makes the block exist. Indices 3 to 35.
  FieldBytes &block(int index);
  // Replaces what the block holds by nothing, and makes it exist.
  FieldBytes &fresh(int index);
  void remove(int index) { blocks_.erase(index); }
  [[nodiscard]] FieldBytes fields() const { return {xdr_, single_}; }
  // Sets a byte of the content summary whatever the blocks say.
  RecordBuilder &content(int byte, int value);

  RecordBuilder &header(const std::string &title, const std::string &date = "", const std::string &input_file_name = "",
                        const std::string &input_file_type = "", const std::string &comment1 = "",
                        const std::string &comment2 = "", const std::string &comment3 = "", char fill = ' ');
  RecordBuilder &nodes(const std::vector<BuiltNode> &nodes, int dimension = 3);
  // Block 4: faces of node IDs, grouped by their node counts, 2 to 13.
  RecordBuilder &old_faces(const std::vector<std::vector<int>> &faces);
  RecordBuilder &global(double mass, const std::array<double, 3> &center, const std::array<double, 9> &inertia);
  RecordBuilder &eigenvalues(const std::vector<BuiltEigenvalue> &records);
  // Blocks 7, 17, 28. with_words -1: as the version has it.
  RecordBuilder &modes(int index, const std::vector<int> &node_ids, const std::vector<BuiltMode> &modes,
                       int with_words = -1);
  RecordBuilder &masses(const std::vector<std::pair<int, std::vector<double>>> &records, int values_per_node = 1);
  RecordBuilder &inertias(const std::vector<BuiltInertia> &entries);
  RecordBuilder &units(const std::string &mass, const std::string &length, const std::string &time,
                       const std::string &force, char fill = '\0');
  // Blocks 11, 12, 14.
  RecordBuilder &matrix(int index, int second_word, const std::vector<BuiltEntry> &entries);
  // Block 13: faces of node indices.
  RecordBuilder &faces(const std::vector<std::vector<int>> &faces, int reserved = 0);
  RecordBuilder &transformation(const std::vector<int> &modes, const std::vector<double> &matrix);
  RecordBuilder &interface_nodes(const std::vector<int> &indices);
  RecordBuilder &preload(int on_principal_axes, const std::vector<double> &values);
  RecordBuilder &loads(int mode_count, const std::vector<BuiltLoad> &loads);
  // Per mode 13 node IDs and 13 values; short lists are filled up with zeros.
  RecordBuilder &statistics(const std::vector<std::pair<std::vector<int>, std::vector<double>>> &records);
  // Blocks 30, 31: six values per node.
  RecordBuilder &pre_vectors(int index, const std::vector<double> &values);
  RecordBuilder &operators(const std::vector<BuiltOperator> &operators);
  RecordBuilder &nodal_loads(const std::vector<std::vector<BuiltNodalLoad>> &cases);
  // Block 35, or 32.
  RecordBuilder &monitor_points(const std::vector<BuiltMonitorPoint> &points, int index = 35);

  [[nodiscard]] std::string bytes() const;
  // Where a block begins in bytes().
  [[nodiscard]] std::size_t offset(int index) const;
  void write(const std::string &path) const;

 private:
  std::uint32_t word_;
  bool xdr_;
  bool single_;
  FieldBytes header_;
  std::map<int, FieldBytes> blocks_;
  std::map<int, int> content_;
};

// Where a file differs from a record, with the block, or "" when they are equal: a readable form of a failed
// comparison.
std::string first_difference(const RecordBuilder &expected, const std::string &actual);

// A body with every block that the version can hold: three nodes, two modes (numbers 1, 2), stress on two nodes.
RecordBuilder full_record(std::uint32_t word);

}  // namespace sbrtest

#endif
