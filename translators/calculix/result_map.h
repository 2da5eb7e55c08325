// How the nodes of an .frd file stand for the nodes of the body: node by node, and pair by pair where the solver has
// expanded a shell to solids.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_RESULT_MAP_H
#define SBRKIT_TRANSLATORS_CALCULIX_RESULT_MAP_H

#include <optional>
#include <string>
#include <vector>

#include "calculix/job.h"
#include "calculix/results.h"

namespace sbrtranslate {

struct SurveyedMode {
  double eigenvalue = 0.0;
  double generalized_mass = 1.0;
  double hz = 0.0;
  long line = 0;  // of the head of its displacement
};

// What the results hold, by the heads of their sets.
struct Survey {
  std::vector<SurveyedMode> modes;
  bool stress = false;  // of each mode
  bool strain = false;
};

// Takes the values of one set at all nodes of the body: six per node in the order of the record (translations and
// rotations; xx, yy, zz, xy, xz, yz, shear strains as angles).
class ResultReceiver {
 public:
  virtual ~ResultReceiver() = default;
  [[nodiscard]] virtual bool wants(ResultKind kind) const = 0;
  [[nodiscard]] virtual bool wants_node(ResultKind kind, std::size_t node) const = 0;
  virtual void take(const ResultSet &set, const std::vector<double> &values) = 0;
};

class ResultMap : private ResultHandler {
 public:
  ResultMap(const Model &model, ShellSide side, std::optional<int> modes)
      : model_(model), side_(side), most_modes_(modes.value_or(1 << 30)) {}

  // Reads the mesh, which has to be that of the model, and the heads of all sets.
  Survey survey(const std::string &path);
  // Reads the values and hands out set after set, each complete. One set is held at a time.
  void feed(const std::string &path, ResultReceiver &receiver);
  // Whether shells came without their expansion.
  [[nodiscard]] bool missing_rotations() const { return missing_rotations_; }

 private:
  // The nodes on both sides of a shell that stand for one of its nodes.
  struct Pair {
    std::size_t body = 0;
    int bottom_id = 0, top_id = 0;
    int bottom = -1, top = -1;  // positions among the nodes of the file
    Vec3 normal{};
    double thickness = 0.0;
  };

  [[nodiscard]] bool wants_mesh() const override { return receiver_ == nullptr; }
  void node(int id, const Vec3 &xyz, const Place &place) override;
  void element(int id, int type, std::span<const int> nodes, const Place &place) override;
  void mesh_done(const Place &place) override;
  bool begin_set(const ResultSet &set, const Place &place) override;
  void value(int node, std::span<const double> values, const Place &place) override;
  void end_set(const Place &place) override;

  void same_nodes(const MeshElement &element, std::span<const int> nodes, const Place &place) const;
  void add_pairs(const MeshElement &element, std::span<const int> nodes);
  void check_pair(const Pair &pair, const Place &place) const;
  [[nodiscard]] int file_position(int id) const;
  void check_file_nodes(const Place &place);
  void merge_pairs(const Place &place);
  void map_nodes(const Place &place);
  void begin_mode(const ResultSet &set, const Place &place);
  void check_complete(const Place &place) const;
  [[nodiscard]] bool wanted_node(std::size_t body) const;
  void add_side(const Pair &pair, double *six) const;

  const Model &model_;
  ShellSide side_;
  int most_modes_;
  ResultReceiver *receiver_ = nullptr;  // null during the survey
  Survey survey_;
  bool missing_rotations_ = false;

  struct FileNode {
    int id = 0;
    Vec3 place{};
    long line = 0;
  };
  std::vector<FileNode> file_nodes_;
  std::vector<int> direct_;  // by body node: position in the file, or -1
  std::vector<Pair> pairs_;  // sorted by body node
  std::vector<char> element_seen_;

  ResultSet set_;
  std::vector<char> mode_has_;  // of the present mode: displacement, stress, strain
  std::vector<double> raw_;     // six per node of the file
  std::vector<long> stamp_;     // the set that a node's values came with
  long set_count_ = 0;
  std::size_t hint_ = 0;
  std::vector<double> values_;  // six per node of the body
};

}  // namespace sbrtranslate

#endif
