#include "support/surface_model.h"

#include <algorithm>
#include <climits>
#include <list>
#include <map>
#include <set>
#include <string>

namespace sbrtest {

// ---- stripping --------------------------------------------------------------------------------------------

namespace {

struct Record {
  std::vector<int> nodes;  // the first of the largest in front
  bool forward;
};

Record normalized(std::vector<int> nodes) {
  if (!nodes.empty()) std::rotate(nodes.begin(), std::max_element(nodes.begin(), nodes.end()), nodes.end());
  const bool forward = nodes.size() > 1 && nodes[1] > nodes.back();
  return {nodes, forward};
}

// -1, 0 or 1.
int compare(const Record &a, const Record &b) {
  const auto order = [](long x, long y) { return x < y ? -1 : x > y ? 1 : 0; };
  const std::size_t n = a.nodes.size();
  if (n != b.nodes.size()) return n < b.nodes.size() ? -1 : 1;
  if (n == 0) return 0;
  if (const int first = order(a.nodes[0], b.nodes[0]); first != 0) return first;
  for (std::size_t k = 1; k < n; ++k) {
    const int x = a.forward ? a.nodes[k] : a.nodes[n - k];
    const int y = b.forward ? b.nodes[k] : b.nodes[n - k];
    if (const int here = order(x, y); here != 0) return here;
  }
  return 0;
}

}  // namespace

Faces strip_by_the_book(const Faces &faces) {
  std::vector<Record> records;
  for (const auto &face : faces) records.push_back(normalized(face));
  std::stable_sort(records.begin(), records.end(), [](const Record &a, const Record &b) { return compare(a, b) < 0; });
  Faces left;
  const std::size_t n = records.size();
  for (std::size_t i = 0; i + 1 < n;) {
    if (compare(records[i], records[i + 1]) != 0) {
      left.push_back(records[i].nodes);
      i += 1;
    } else {
      i += records[i].forward == records[i + 1].forward ? 1 : 2;
    }
  }
  if (n > 0) {
    const bool paired =
        n > 1 && compare(records[n - 2], records[n - 1]) == 0 && records[n - 2].forward != records[n - 1].forward;
    if (!paired) left.push_back(records[n - 1].nodes);
  }
  return left;
}

// ---- free edges -------------------------------------------------------------------------------------------

namespace {

class RimModel {
 public:
  explicit RimModel(const Faces &faces) {
    for (const auto &face : faces)
      if (face.size() >= 3)
        for (std::size_t k = 0; k < face.size(); ++k) add(face[k], face[(k + 1) % face.size()]);
    for (const Side &side : sides_)
      if (side.uses > 1) unlink(&side);
  }

  std::vector<std::vector<int>> chains() {
    std::vector<std::vector<int>> found;
    for (const auto &[node, links] : links_)
      if (!links.empty()) found.push_back(chain_from(node));
    return found;
  }

 private:
  struct Side {
    int first;
    int second;
    int uses;
  };

  void add(int a, int b) {
    links_[a];
    links_[b];
    const std::string key = std::to_string(std::min(a, b)) + "_" + std::to_string(std::max(a, b));
    const auto known = by_key_.find(key);
    if (known != by_key_.end()) {
      known->second->uses += 1;
      return;
    }
    sides_.push_back({std::min(a, b), std::max(a, b), 1});
    by_key_[key] = &sides_.back();
    links_[sides_.back().first].push_back(&sides_.back());
    links_[sides_.back().second].push_back(&sides_.back());
  }
  void unlink(const Side *side) {
    links_[side->first].remove(side);
    links_[side->second].remove(side);
  }
  // Eats the way to the neighbour of the lowest number; false when there is none.
  bool step(int node, int &next) {
    const Side *best = nullptr;
    for (const Side *side : links_[node]) {
      const int other = side->first != node ? side->first : side->second;
      if (best != nullptr && other >= next) continue;
      best = side;
      next = other;
    }
    if (best != nullptr) unlink(best);
    return best != nullptr;
  }
  // Appends the nodes of a walk; true when it came back to its start.
  bool walk(int start, std::vector<int> &nodes) {
    int next = 0;
    bool found = step(start, next);
    while (found && next != start && links_[next].size() == 1) {
      nodes.push_back(next);
      const int from = next;
      found = step(from, next);
    }
    if (found) nodes.push_back(next);
    return found && next == start;
  }
  std::vector<int> chain_from(int start) {
    std::vector<int> chain{start};
    if (walk(start, chain)) return chain;
    std::vector<int> behind;
    walk(start, behind);
    chain.insert(chain.begin(), behind.rbegin(), behind.rend());
    return chain;
  }

  std::list<Side> sides_;
  std::map<std::string, Side *> by_key_;
  std::map<int, std::list<const Side *>> links_;
};

}  // namespace

std::vector<std::vector<int>> free_edges_by_the_book(const Faces &faces) { return RimModel(faces).chains(); }

// ---- discarding -------------------------------------------------------------------------------------------

namespace {

int place_in(const std::vector<int> &list, int value) {
  const auto found = std::find(list.begin(), list.end(), value);
  return found != list.end() ? static_cast<int>(found - list.begin()) : -1;
}

void shorten(NodeModel::ListedKind &kind, const std::vector<int> &keep) {
  std::vector<int> nodes;
  std::vector<double> rows = kind.pre;
  for (std::size_t k = 0; k < keep.size(); ++k) {
    const int former = place_in(kind.nodes, keep[k]);
    if (former < 0) continue;
    const auto source = static_cast<std::size_t>(former);
    // With modes a row moves to the place of its node in the keep list, without to its place in the kind's list.
    const std::size_t target = kind.has_modes ? k : nodes.size();
    const std::vector<double> &from = kind.has_modes ? rows : kind.pre;
    if (target < rows.size() && source < from.size()) rows[target] = from[source];
    nodes.push_back(static_cast<int>(k));
  }
  kind.nodes = nodes;
  kind.pre = rows;
  if (!nodes.empty()) return;
  kind.has_modes = false;
  kind.has_pre = false;
}

}  // namespace

void discard_by_the_book(NodeModel &body, bool keep_load_nodes) {
  std::set<int> wanted;
  for (const auto &face : body.faces) wanted.insert(face.begin(), face.end());
  wanted.insert(body.interface_nodes.begin(), body.interface_nodes.end());
  if (keep_load_nodes)
    for (const auto &load_case : body.loads)
      for (const NodeModel::Load &load : load_case) wanted.insert(load.node);
  const std::vector<int> keep(wanted.begin(), wanted.end());

  std::vector<int> ids;
  for (const int node : keep) ids.push_back(body.ids[static_cast<std::size_t>(node)]);
  body.ids = ids;
  for (auto &face : body.faces)
    for (int &node : face) node = place_in(keep, node);
  for (int &node : body.interface_nodes) node = place_in(keep, node);
  for (auto &load_case : body.loads) {
    std::vector<NodeModel::Load> left;
    for (const NodeModel::Load &load : load_case)
      if (const int place = place_in(keep, load.node); place >= 0) left.push_back({place, load.coordinate, load.value});
    load_case = left;
  }
  shorten(body.stress, keep);
  shorten(body.strain, keep);
}

// ---- renaming ---------------------------------------------------------------------------------------------

RenamingModel::RenamingModel(std::vector<int> ids, const std::vector<int> &stress_nodes,
                             const std::vector<int> &strain_nodes)
    : ids_(std::move(ids)) {
  const auto fill = [&](int kind, const std::vector<int> &nodes) {
    for (std::size_t p = 0; p < nodes.size(); ++p)
      keys_[kind].push_back({ids_[static_cast<std::size_t>(nodes[p])], static_cast<int>(p)});
  };
  for (std::size_t i = 0; i < ids_.size(); ++i) keys_[0].push_back({ids_[i], static_cast<int>(i)});
  fill(1, stress_nodes);
  fill(2, strain_nodes);
}

bool RenamingModel::shift(int offset) {
  for (const int id : ids_)
    if (static_cast<long>(id) + offset < 1 || static_cast<long>(id) + offset > INT_MAX) return false;
  for (int &id : ids_) id += offset;
  for (auto &table : keys_)
    for (Key &key : table) key.id += offset;
  return true;
}

int RenamingModel::position(int kind, int id) const {
  for (const Key &key : keys_[kind])
    if (key.id == id) return key.position;
  return -1;
}

void RenamingModel::set_key_id(int kind, int position, int id) {
  for (Key &key : keys_[kind])
    if (key.position == position) {
      key.id = id;
      return;
    }
}

void RenamingModel::exchange(int p, int q) {
  int &p_id = ids_[static_cast<std::size_t>(p)];
  int &q_id = ids_[static_cast<std::size_t>(q)];
  set_key_id(0, p, q_id);
  set_key_id(0, q, p_id);
  for (int kind = 1; kind <= 2; ++kind) {
    const int a = position(kind, p_id);
    const int b = position(kind, q_id);
    if (a >= 0) set_key_id(kind, a, q_id);
    if (b >= 0) set_key_id(kind, b, p_id);
  }
  std::swap(p_id, q_id);
}

void RenamingModel::rename_interface(const std::vector<int> &interface_nodes, const std::vector<int> &new_ids) {
  for (std::size_t i = 0; i < std::min(interface_nodes.size(), new_ids.size()); ++i) {
    const int p = interface_nodes[i];
    const int q = position(0, new_ids[i]);
    if (q == p) continue;
    if (q >= 0) {
      exchange(p, q);
      continue;
    }
    int &id = ids_[static_cast<std::size_t>(p)];
    set_key_id(0, p, new_ids[i]);
    for (int kind = 1; kind <= 2; ++kind)
      if (const int a = position(kind, id); a >= 0) set_key_id(kind, a, new_ids[i]);
    id = new_ids[i];
  }
}

}  // namespace sbrtest
