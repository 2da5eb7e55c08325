// Mode data by the letter, slowly: every mode a plain array, the record that was loaded last, and the parts that the
// cache holds. A random test compares the library with it, bit by bit.
#ifndef SBRKIT_TESTS_SUPPORT_MODE_MODEL_H
#define SBRKIT_TESTS_SUPPORT_MODE_MODEL_H

#include <array>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

namespace sbrtest {

using Values = std::vector<double>;
using Six = std::array<double, 6>;

class ModeModel {
 public:
  // ---- entry
  void add_node(int id);
  void set_six(int number, int id, int kind, const Six &six);
  void set_one(int number, int id, int kind, int position, double value);
  void set_pre(int id, int kind, const Six &six);

  // ---- access; nothing where the operation gives 0
  std::optional<Values> part(int number, int kind, int part);
  std::optional<Values> at_node(int number, int kind, int id, int part);
  std::optional<Values> from_file(int number, int kind, int id, int part);
  [[nodiscard]] std::optional<Values> from_memory(int number, int kind, int part) const;
  bool to_memory(int number, int kind, int part, const Values &values);
  void clean();
  void keep(bool flag);

  // ---- changes of everything
  void change_units(double length_ratio, double force_ratio);
  // Every kind that has modes, under R.
  void turn(const std::array<double, 9> &R, int sign);
  // One kind through a matrix of modes x modes; only its diagonal counts when the modes are orthogonal.
  void transform(int kind, const Values &matrix, bool orthogonal);

  [[nodiscard]] int nodes(int kind) const;
  [[nodiscard]] int modes() const { return static_cast<int>(numbers_.size()); }
  [[nodiscard]] const std::vector<int> &numbers() const { return numbers_; }
  [[nodiscard]] const std::vector<int> &node_ids() const { return ids_; }
  [[nodiscard]] bool has_modes(int kind) const { return kinds_[kind].has_modes; }
  [[nodiscard]] bool has_pre(int kind) const { return kinds_[kind].has_pre; }
  [[nodiscard]] bool keeps() const { return keep_; }
  [[nodiscard]] int stored_parts() const { return used_; }

 private:
  static constexpr int kNothing = -1;
  static constexpr int kPre = -2;
  struct KindData {
    std::vector<int> list;                  // node IDs by kind position; kinds 1 and 2
    std::vector<std::vector<Six>> records;  // by mode index, by kind position; positions that are missing are zeros
    std::vector<Six> pre;
    bool has_modes = false;
    bool has_pre = false;
    int current = kNothing;
    std::vector<Six> record;
  };
  using Slot = std::tuple<int, int, int>;  // kind, part, mode index

  int index_or_add(int number);
  int node_or_add(int id);
  int position_or_add(int kind, int id);
  [[nodiscard]] int index_of(int number) const;
  [[nodiscard]] int position_of(int kind, int id) const;
  [[nodiscard]] int named(int number, int kind) const;
  [[nodiscard]] double scale(int kind) const;
  Six &stored(int kind, int index, int position);
  bool load(int mode, int kind);
  [[nodiscard]] Values split(int kind, int part) const;
  [[nodiscard]] const Values *kept(int mode, int kind, int part) const;
  bool store(int mode, int kind, int part, const Values &values);
  void turn_pre(int kind, const std::array<double, 9> &R, int sign);
  void replace(int kind, std::vector<std::vector<Six>> records);

  std::vector<int> ids_;
  std::vector<int> numbers_;
  KindData kinds_[3];
  std::map<Slot, Values> cache_;
  bool keep_ = true;
  int used_ = 0;
  int limit_ = 0;
  double length_ = 1.0;
  double force_ = 1.0;
};

}  // namespace sbrtest

#endif
