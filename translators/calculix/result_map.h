// How the nodes of an .frd file stand for the nodes of the body: node by node, and pair by pair where the solver has
// expanded a shell to solids.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_RESULT_MAP_H
#define SBRKIT_TRANSLATORS_CALCULIX_RESULT_MAP_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "calculix/beam_motion.h"
#include "calculix/job.h"
#include "calculix/results.h"
#include "calculix/shell_motion.h"

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
  bool state = false;   // stress of the static step
  bool stress = false;  // of each mode
  bool strain = false;
};

// Takes the values of the body's nodes: a displacement as a whole, stress and strain node by node, six values in the
// order of the record (xx, yy, zz, xy, xz, yz, shear strains as angles).
class ResultReceiver {
 public:
  virtual ~ResultReceiver() = default;
  [[nodiscard]] virtual bool wants(ResultKind kind) const = 0;
  [[nodiscard]] virtual bool wants_node(ResultKind kind, std::size_t node) const = 0;
  virtual void take_shape(const ResultSet &set, const NodalMotion &motion) = 0;
  virtual void take_tensor(const ResultSet &set, std::size_t node, const double *six) = 0;
};

class ResultMap : private ResultHandler {
 public:
  // With `force` nodes may lie elsewhere than in the deck.
  ResultMap(const Model &model, ShellSide side, std::optional<int> modes, bool force = false)
      : model_(model), side_(side), most_modes_(modes.value_or(1 << 30)), force_(force) {}

  // Reads the mesh, which has to be that of the model, and the heads of all sets.
  Survey survey(const std::string &path);
  // Reads the values and hands them out, set after set. One displacement is held at a time, and of stress and strain
  // those of one node, where each node of the body is one of the file.
  void feed(const std::string &path, ResultReceiver &receiver);
  // Takes modes of one step only, and stress and strain of the last state of a static step; 0: of no step in
  // particular, and no state.
  void choose_steps(int modal, int statics) {
    modal_step_ = modal;
    static_step_ = statics;
  }
  // Whether shells came without their expansion: their sides are not there.
  [[nodiscard]] bool flat_shells() const { return flat_shells_; }

 private:
  // The nodes on both sides of a shell that stand for one of its nodes.
  struct Pair {
    std::size_t body = 0;
    int bottom_id = 0, top_id = 0;
    int bottom = -1, top = -1;  // positions among the nodes of the file
    Vec3 normal{};
    double thickness = 0.0;
  };

  [[nodiscard]] bool wants_statics() const override { return static_step_ != 0; }
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
  void forget_file_nodes();
  void begin_mode(const ResultSet &set, const Place &place);
  void check_complete(const Place &place) const;
  [[nodiscard]] bool wanted_node(std::size_t body) const;
  void add_beam(const LineElement &line, int type, std::span<const int> nodes, const Place &place);
  void add_references(const Place &place);
  void add_side(const Pair &pair, double *six) const;
  void give_tensors();
  [[nodiscard]] std::vector<ShellPoint> shell_points() const;

  const Model &model_;
  ShellSide side_;
  int most_modes_;
  bool force_;
  int modal_step_ = 0;
  int static_step_ = 0;
  ResultReceiver *receiver_ = nullptr;  // null during the survey
  Survey survey_;
  bool flat_shells_ = false;

  struct FileNode {
    int id = 0;
    Vec3 place{};
    long line = 0;
  };
  std::vector<FileNode> file_nodes_;                    // while the mesh is compared
  std::vector<int> file_ids_;                           // then their IDs
  std::vector<int> direct_;                             // by body node: position in the file, or -1
  std::vector<int> body_of_;                            // the other way; only while values are handed out
  std::vector<Pair> pairs_;                             // sorted by body node
  std::unique_ptr<ShellMotion> motion_;                 // where there are shells
  std::vector<std::vector<double>> reference_factors_;  // by reference node of the model
  BeamMotion beams_;
  std::vector<char> element_seen_;

  ResultSet set_;
  std::vector<char> mode_has_;  // of the present mode: displacement, stress, strain
  // Whether every node of the body is one of the file, so that values can be passed on as they come.
  bool plain_ = false;
  std::vector<double> raw_;    // six per node of the file, unless it is plain
  std::vector<bool> present_;  // by node of the file: the set has values of it
  std::size_t hint_ = 0;
  std::vector<double> values_;  // of a displacement, by node of the body: three if it is plain, else six
};

}  // namespace sbrtranslate

#endif
