// An Exodus II file, read through its library: the mesh with its sets, and one variable at one time step at a time.
#ifndef SBRKIT_TRANSLATORS_EXODUS_FILE_H
#define SBRKIT_TRANSLATORS_EXODUS_FILE_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/mesh.h"

namespace sbrtranslate {

// A block of elements of one type.
struct ExodusBlock {
  std::int64_t id = 0;
  std::string name;       // its name, or BLOCK_<id>
  std::string type;       // as in the file
  std::size_t first = 0;  // the block's first element in the order of the file, counted from 0
  std::size_t count = 0;
};

class ExodusFile {
 public:
  // Throws InputError for a file that is not of this format, or is damaged.
  explicit ExodusFile(std::string path);
  ~ExodusFile();
  ExodusFile(const ExodusFile &) = delete;
  ExodusFile &operator=(const ExodusFile &) = delete;

  // The mesh. A node set or a side set is known by its name, and as NODESET_<id> or SIDESET_<id>; a name that sets of
  // both kinds have is not taken. Elements that the translators do not know, and two-dimensional meshes, are refused.
  Mesh read_mesh();
  [[nodiscard]] const std::string &path() const { return path_; }
  // What follows is known after read_mesh().
  [[nodiscard]] const std::vector<ExodusBlock> &blocks() const { return blocks_; }
  [[nodiscard]] std::size_t node_count() const { return nodes_; }
  [[nodiscard]] std::size_t element_count() const { return elements_; }
  // IDs of nodes and elements in the order of the file.
  [[nodiscard]] const std::vector<int> &node_ids() const { return node_ids_; }
  [[nodiscard]] const std::vector<int> &element_ids() const { return element_ids_; }
  // The thickness of an element by its place in the file; 0 where the file has none.
  [[nodiscard]] double thickness(std::size_t element) const { return thickness_.empty() ? 0.0 : thickness_[element]; }

  // The values of the time steps, all finite.
  std::vector<double> times();
  std::vector<std::string> nodal_variables();
  std::vector<std::string> element_variables();
  // Whether a block has an element variable; numbers count from 0.
  bool block_has(const ExodusBlock &block, std::size_t variable);
  // The values of a variable at a step (all from 0), finite, one for each node or element of the block.
  void nodal_values(std::size_t step, std::size_t variable, std::vector<double> &values);
  void element_values(std::size_t step, std::size_t variable, const ExodusBlock &block, std::vector<double> &values);

 private:
  [[noreturn]] void fail(const std::string &text) const;
  void require_success(int status, const char *what) const;
  // Refuses counts that the bytes of the file cannot hold.
  std::size_t checked(std::int64_t count, std::size_t bytes_each, const char *what) const;
  void read_counts(Mesh &mesh);
  void read_nodes(Mesh &mesh);
  void read_blocks(Mesh &mesh);
  void read_block(Mesh &mesh, ExodusBlock &block);
  void read_attributes(const ExodusBlock &block, std::size_t attributes);
  void read_sets(Mesh &mesh);
  void read_node_set(std::int64_t id, std::vector<int> &members);
  void read_side_set(const Mesh &mesh, std::int64_t id, std::vector<int> &members);
  std::vector<int> ids_of(int map_type, std::size_t count, const char *what);
  std::vector<std::int64_t> entity_ids(int type, std::size_t count);
  std::string entity_name(int type, std::int64_t id);
  std::vector<std::string> variables(int type);
  void take(const std::vector<double> &values, const char *what) const;

  std::string path_;
  std::uint64_t size_ = 0;
  bool packed_ = false;  // HDF5 inside, which may compress
  int file_ = -1;
  std::size_t nodes_ = 0;
  std::size_t elements_ = 0;
  std::size_t block_count_ = 0;
  std::size_t node_sets_ = 0;
  std::size_t side_sets_ = 0;
  std::vector<ExodusBlock> blocks_;
  std::vector<int> node_ids_;
  std::vector<int> element_ids_;
  std::vector<double> thickness_;
};

}  // namespace sbrtranslate

#endif
