#include "support/mode_model.h"

#include <algorithm>
#include <cstdlib>

#include "sbrkit/sbrkit.h"

namespace sbrtest {
namespace {

Values three_of(const Six &six, int part) { return {six.begin() + 3 * part, six.begin() + 3 * part + 3}; }

// A value times a factor in the library's own decimal arithmetic.
void convert(double *values, int count, double factor) { SBR_Convert_Units(values, count, factor); }

void turn_six(Six &six, int kind, const std::array<double, 9> &R, int sign) {
  if (kind == 0) {
    Vector_Transform(six.data(), R.data(), 1);
    Vector_Transform(six.data() + 3, R.data(), sign);
    return;
  }
  double T[9] = {six[0], six[3], six[4], six[3], six[1], six[5], six[4], six[5], six[2]};
  Tensor_Transform(T, R.data(), 1);
  six = {T[0], T[4], T[8], T[3], T[2], T[7]};
}

}  // namespace

// ---- tables ---------------------------------------------------------------------------------------------------------

int ModeModel::index_of(int number) const {
  const auto found = std::find(numbers_.begin(), numbers_.end(), number);
  return found == numbers_.end() ? -1 : static_cast<int>(found - numbers_.begin());
}

int ModeModel::index_or_add(int number) {
  if (index_of(number) < 0) numbers_.push_back(number);
  return index_of(number);
}

int ModeModel::position_of(int kind, int id) const {
  const std::vector<int> &list = kind == 0 ? ids_ : kinds_[kind].list;
  const auto found = std::find(list.begin(), list.end(), id);
  return found == list.end() ? -1 : static_cast<int>(found - list.begin());
}

int ModeModel::node_or_add(int id) {
  if (position_of(0, id) < 0) ids_.push_back(id);
  return position_of(0, id);
}

int ModeModel::position_or_add(int kind, int id) {
  const int index = node_or_add(id);
  if (kind == 0) return index;
  if (position_of(kind, id) < 0) kinds_[kind].list.push_back(id);
  return position_of(kind, id);
}

int ModeModel::nodes(int kind) const { return static_cast<int>(kind == 0 ? ids_.size() : kinds_[kind].list.size()); }

int ModeModel::named(int number, int kind) const { return number == 0 && kind != 0 ? kPre : index_of(number); }

double ModeModel::scale(int kind) const { return kind == 0 ? length_ : kind == 1 ? force_ / length_ / length_ : 1.0; }

// ---- entry ----------------------------------------------------------------------------------------------------------

void ModeModel::add_node(int id) { node_or_add(id); }

Six &ModeModel::stored(int kind, int index, int position) {
  auto &records = kinds_[kind].records;
  if (records.size() <= static_cast<std::size_t>(index)) records.resize(static_cast<std::size_t>(index) + 1);
  auto &record = records[static_cast<std::size_t>(index)];
  if (record.size() <= static_cast<std::size_t>(position)) record.resize(static_cast<std::size_t>(position) + 1);
  return record[static_cast<std::size_t>(position)];
}

void ModeModel::set_six(int number, int id, int kind, const Six &six) {
  const int index = index_or_add(number);
  stored(kind, index, position_or_add(kind, id)) = six;
  kinds_[kind].has_modes = true;
}

void ModeModel::set_one(int number, int id, int kind, int position, double value) {
  const int index = index_or_add(number);
  stored(kind, index, position_or_add(kind, id))[static_cast<std::size_t>(position)] = value;
  kinds_[kind].has_modes = true;
}

void ModeModel::set_pre(int id, int kind, const Six &six) {
  const auto position = static_cast<std::size_t>(position_or_add(kind, id));
  KindData &data = kinds_[kind];
  if (data.pre.size() <= position) data.pre.resize(position + 1);
  data.pre[position] = six;
  data.has_pre = true;
}

// ---- access ---------------------------------------------------------------------------------------------------------

// The record that was loaded last stays as it is, also when its mode is entered into.
bool ModeModel::load(int mode, int kind) {
  KindData &data = kinds_[kind];
  if (mode == kNothing || (mode == kPre && !data.has_pre) || nodes(kind) < 1) return false;
  const auto count = static_cast<std::size_t>(nodes(kind));
  if (data.record.size() == count && data.current == mode) return true;
  data.record.assign(count, Six{});
  data.current = mode;
  for (std::size_t p = 0; p < count; ++p)
    if (mode != kPre)
      data.record[p] = stored(kind, mode, static_cast<int>(p));
    else if (p < data.pre.size())
      data.record[p] = data.pre[p];
  if (scale(kind) != 1.0)
    for (Six &six : data.record) convert(six.data(), kind == 0 ? 3 : 6, scale(kind));
  return true;
}

Values ModeModel::split(int kind, int part) const {
  Values values;
  for (const Six &six : kinds_[kind].record)
    values.insert(values.end(), six.begin() + 3 * part, six.begin() + 3 * part + 3);
  return values;
}

const Values *ModeModel::kept(int mode, int kind, int part) const {
  const auto found = cache_.find({kind, part, mode});
  // A part for fewer nodes than there are now is no answer.
  if (found == cache_.end() || found->second.size() < 3 * static_cast<std::size_t>(nodes(kind))) return nullptr;
  return &found->second;
}

bool ModeModel::store(int mode, int kind, int part, const Values &values) {
  if (limit_ == 0) {
    const char *text = std::getenv("SBR_MAX_MODE_MEMORY");
    const long long budget = (text != nullptr && std::atoi(text) > 0 ? std::atoi(text) : 200LL) << 20;
    const int largest = std::max({nodes(0), nodes(1), nodes(2)});
    if (largest > 0) limit_ = static_cast<int>(std::min<long long>(6LL * modes(), budget / largest / 3 / 8));
  }
  if (used_ >= limit_ || nodes(kind) < 1 || mode < 0) return false;
  cache_[{kind, part, mode}] = Values(values.begin(), values.begin() + 3 * nodes(kind));
  used_ += 1;
  return true;
}

std::optional<Values> ModeModel::part(int number, int kind, int part) {
  const int mode = named(number, kind);
  if (keep_)
    if (const Values *values = kept(mode, kind, part))
      return Values(values->begin(), values->begin() + 3 * nodes(kind));
  if (!load(mode, kind)) return std::nullopt;
  const Values values = split(kind, part);
  if (keep_) store(mode, kind, part, values);
  return values;
}

std::optional<Values> ModeModel::at_node(int number, int kind, int id, int part) {
  const int mode = named(number, kind);
  const int position = position_of(kind, id);
  const Values *values = keep_ ? kept(mode, kind, part) : nullptr;
  if (values != nullptr && position >= 0)
    return Values(values->begin() + 3 * position, values->begin() + 3 * position + 3);
  if (!load(mode, kind) || position < 0) return std::nullopt;
  if (keep_) store(mode, kind, part, split(kind, part));
  return three_of(kinds_[kind].record[static_cast<std::size_t>(position)], part);
}

std::optional<Values> ModeModel::from_file(int number, int kind, int id, int part) {
  const int position = position_of(kind, id);
  if (number == 0 || index_of(number) < 0 || position < 0) return std::nullopt;
  Values three = three_of(stored(kind, index_of(number), position), part);
  if ((kind == 1 || part == 0) && scale(kind) != 1.0) convert(three.data(), 3, scale(kind));
  return three;
}

std::optional<Values> ModeModel::from_memory(int number, int kind, int part) const {
  const Values *values = kept(index_of(number), kind, part);
  if (values == nullptr) return std::nullopt;
  return Values(values->begin(), values->begin() + 3 * nodes(kind));
}

bool ModeModel::to_memory(int number, int kind, int part, const Values &values) {
  return store(index_of(number), kind, part, values);
}

void ModeModel::clean() {
  cache_.clear();
  used_ = limit_ = 0;
}

void ModeModel::keep(bool flag) {
  if (keep_ && !flag) clean();
  keep_ = flag;
}

// ---- changes --------------------------------------------------------------------------------------------------------

void ModeModel::change_units(double length_ratio, double force_ratio) {
  length_ *= length_ratio;
  force_ *= force_ratio;
  clean();
  for (KindData &data : kinds_) data.current = kNothing;
}

// New mode data makes what the cache holds of the kind void; what was stored still counts.
void ModeModel::replace(int kind, std::vector<std::vector<Six>> records) {
  kinds_[kind].records = std::move(records);
  kinds_[kind].current = kNothing;
  std::erase_if(cache_, [&](const auto &entry) { return std::get<0>(entry.first) == kind; });
}

// Every node of the kind for which there is a row, entered or not. Rows come a thousand at a time.
void ModeModel::turn_pre(int kind, const std::array<double, 9> &R, int sign) {
  std::vector<Six> &pre = kinds_[kind].pre;
  const std::size_t rows = (pre.size() + 999) / 1000 * 1000;
  pre.resize(std::max(pre.size(), std::min(rows, static_cast<std::size_t>(nodes(kind)))));
  for (Six &six : pre) turn_six(six, kind, R, sign);
}

void ModeModel::turn(const std::array<double, 9> &R, int sign) {
  for (int kind = 0; kind < 3; ++kind) {
    if (kind != 0 && !kinds_[kind].has_modes) continue;
    const bool before = keep_;
    keep(false);
    std::vector<std::vector<Six>> records;
    for (int m = 0; m < modes(); ++m) {
      load(m, kind);
      records.push_back(kinds_[kind].record);
      for (Six &six : records.back()) {
        if (kind == 0) convert(six.data(), 3, 1.0 / scale(0));
        if (kind == 1) convert(six.data(), 6, 1.0 / scale(1));
        turn_six(six, kind, R, sign);
      }
    }
    replace(kind, std::move(records));
    if (kind != 0 && kinds_[kind].has_pre) turn_pre(kind, R, sign);
    keep(before);
  }
}

void ModeModel::transform(int kind, const Values &matrix, bool orthogonal) {
  const bool before = keep_;
  keep(false);
  const auto count = static_cast<std::size_t>(nodes(kind));
  const auto n = static_cast<std::size_t>(modes());
  std::vector<std::vector<Six>> records(n, std::vector<Six>(count, Six{}));
  for (std::size_t j = 0; j < n; ++j) {
    if (orthogonal && matrix[j * n + j] == 0.0 && j > 0) records[j] = records[j - 1];
    for (std::size_t s = 0; s < n; ++s) {
      const double c = matrix[s * n + j];
      if (c == 0.0 || (orthogonal && s != j)) continue;
      for (std::size_t p = 0; p < count; ++p)
        for (std::size_t v = 0; v < 6; ++v) {
          const double product = c * stored(kind, static_cast<int>(s), static_cast<int>(p))[v];
          records[j][p][v] = orthogonal ? product : records[j][p][v] + product;
        }
    }
  }
  replace(kind, std::move(records));
  keep(before);
}

}  // namespace sbrtest
