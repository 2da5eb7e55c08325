// The operations on a body's surface and nodes as they are told, rule by rule, on plain lists and without regard to
// cost. The library's results must equal theirs.
#ifndef SBRKIT_TESTS_SUPPORT_SURFACE_MODEL_H
#define SBRKIT_TESTS_SUPPORT_SURFACE_MODEL_H

#include <vector>

#include "support/meshes.h"

namespace sbrtest {

// The faces that stripping leaves, in its order.
Faces strip_by_the_book(const Faces &faces);

// The chains of free edges, as the numbers in the faces.
std::vector<std::vector<int>> free_edges_by_the_book(const Faces &faces);

// A body as far as discarding is concerned. Node indices throughout, but for the IDs.
struct NodeModel {
  struct Load {
    int node;
    int coordinate;
    double value;
  };
  struct ListedKind {
    bool has_modes = false;
    bool has_pre = false;
    std::vector<int> nodes;   // by kind position
    std::vector<double> pre;  // by kind position, the first value of the pre-vector
  };
  std::vector<int> ids;
  Faces faces;
  std::vector<int> interface_nodes;
  std::vector<std::vector<Load>> loads;
  ListedKind stress;
  ListedKind strain;
};
void discard_by_the_book(NodeModel &body, bool keep_load_nodes);

// The tables of IDs, with the operations that rename nodes.
class RenamingModel {
 public:
  RenamingModel(std::vector<int> ids, const std::vector<int> &stress_nodes, const std::vector<int> &strain_nodes);
  bool shift(int offset);
  void rename_interface(const std::vector<int> &interface_nodes, const std::vector<int> &new_ids);
  [[nodiscard]] const std::vector<int> &ids() const { return ids_; }
  // The position of an ID in a kind's table, -1 when it is not there.
  [[nodiscard]] int position(int kind, int id) const;

 private:
  struct Key {
    int id;
    int position;
  };
  void set_key_id(int kind, int position, int id);
  void exchange(int p, int q);

  std::vector<int> ids_;
  std::vector<Key> keys_[3];
};

}  // namespace sbrtest

#endif
