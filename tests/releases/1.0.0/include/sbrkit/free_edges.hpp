// free_edges.hpp: the rims of a surface mesh, for C++ callers. Header only; the library exports nothing for it.
//
// An edge of the mesh is free when only one side of one face uses it. cSBRFreeEdges takes a flat face list and gives
// the free edges as chains of node numbers:
//
//   cSBRFreeEdges rims;
//   rims.FindFreeEdges(face_count, face_list);
//   for (const std::list<int> &chain : rims.GetFreeEdges()) ...
//
// The C operations SBR_GetFreeEdgeCount, SBR_GetFreeEdgeSize and SBR_GetFreeEdge give the same chains of a body, as
// node IDs. The classes throw std::bad_alloc when memory is short. One thread at a time.
#ifndef SBRKIT_FREE_EDGES_HPP
#define SBRKIT_FREE_EDGES_HPP

#include <cstddef>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class cSBREdge;

// A vertex of the mesh, with the edges that touch it in the order in which they were linked. It does not own them.
class cSBRNode {
 public:
  explicit cSBRNode(int id) : id_(id) {}
  cSBRNode(const cSBRNode &) = delete;
  cSBRNode &operator=(const cSBRNode &) = delete;

  // The number under which the face list knows the node.
  int ID() const { return id_; }
  // How many edges are linked; a degenerate edge, from a node to itself, is linked twice.
  int EdgeCount() const { return static_cast<int>(linked_edges_.size()); }
  // Puts an edge at the end of the linked edges.
  void AddLinkedEdge(cSBREdge *edge) { linked_edges_.push_back(edge); }
  // Takes every occurrence of an edge off the linked edges.
  void RemoveLinkedEdge(cSBREdge *edge) { linked_edges_.remove(edge); }
  // The node with the lowest ID at the other end of a linked edge, or null when there is none. The edge taken, the
  // first one in the order of linking that leads there, is unlinked from both its ends.
  cSBRNode *GetConnectedNode();
  // One chain of node IDs through this node, eating the edges on its way. It runs on as long as exactly one edge leads
  // on, so it ends where a path ends or branches. A closed chain has equal first and last values.
  std::list<int> FindFreeEdge();

 private:
  int id_;
  std::list<cSBREdge *> linked_edges_;
};

// An undirected edge between two nodes. It links itself into both at its construction, out of both at its destruction.
class cSBREdge {
 public:
  cSBREdge(cSBRNode *a, cSBRNode *b) : first_(a->ID() >= b->ID() ? b : a), second_(a->ID() >= b->ID() ? a : b) {
    first_->AddLinkedEdge(this);
    try {
      second_->AddLinkedEdge(this);
    } catch (...) {
      first_->RemoveLinkedEdge(this);
      throw;
    }
  }
  ~cSBREdge() {
    first_->RemoveLinkedEdge(this);
    second_->RemoveLinkedEdge(this);
  }
  cSBREdge(const cSBREdge &) = delete;
  cSBREdge &operator=(const cSBREdge &) = delete;

  // Counts one more face side that uses the edge.
  void AddRef() { reference_count_ += 1; }
  // How many face sides use the edge; 1 at construction.
  int RefCount() const { return reference_count_; }
  // The two IDs as decimal text, lower first, joined by "_".
  std::string Key() const { return std::to_string(first_->ID()) + "_" + std::to_string(second_->ID()); }
  // The other end of the edge: the first node, unless that is the one given.
  cSBRNode *GetAnotherNode(const cSBRNode *node) const { return node != first_ ? first_ : second_; }

 private:
  cSBRNode *first_;   // the end with the lower ID
  cSBRNode *second_;  // the end with the higher or equal ID
  int reference_count_ = 1;
};

// The free edges of a face list. One object serves one list.
class cSBRFreeEdges {
 public:
  // Finds the chains of face_count faces. The list holds per face its vertex count and then that many node numbers, any
  // integers; faces of fewer than three vertices have no edges. The caller vouches for the length of the list.
  void FindFreeEdges(int face_count, const int *face_list) {
    PopulateEdges(face_count, face_list);
    RemoveInternalEdges();
    GenerateFreeEdgeList();
  }
  // The chains found, in ascending order of the nodes they were started from.
  std::vector<std::list<int>> GetFreeEdges() const { return free_edges_; }

 private:
  // The working key of an edge is the pair behind its text: equal texts are equal pairs, and no result depends on the
  // order of the edges.
  using EdgeKey = std::pair<int, int>;

  void AddEdge(int a, int b);
  cSBRNode *FindNode(int id);
  void PopulateEdges(int face_count, const int *face_list);
  void RemoveInternalEdges();
  void GenerateFreeEdgeList();

  std::map<int, std::unique_ptr<cSBRNode>> nodes_;  // outlive the edges, which unlink themselves
  std::map<EdgeKey, std::unique_ptr<cSBREdge>> edges_;
  std::vector<std::list<int>> free_edges_;
};

inline cSBRNode *cSBRNode::GetConnectedNode() {
  cSBREdge *taken = nullptr;
  cSBRNode *other = nullptr;
  for (cSBREdge *edge : linked_edges_) {
    cSBRNode *end = edge->GetAnotherNode(this);
    if (other != nullptr && end->ID() >= other->ID()) continue;
    taken = edge;
    other = end;
  }
  if (taken == nullptr) return nullptr;
  other->RemoveLinkedEdge(taken);
  RemoveLinkedEdge(taken);
  return other;
}

inline std::list<int> cSBRNode::FindFreeEdge() {
  std::list<int> chain;
  cSBRNode *next = GetConnectedNode();
  chain.push_back(ID());
  if (next != nullptr) {
    while (next != nullptr && next != this && next->EdgeCount() == 1) {
      chain.push_back(next->ID());
      next = next->GetConnectedNode();
    }
    if (next != nullptr) chain.push_back(next->ID());
  }
  if (next == this) return chain;
  cSBRNode *before = GetConnectedNode();
  while (before != nullptr && before != this && before->EdgeCount() == 1) {
    chain.push_front(before->ID());
    before = before->GetConnectedNode();
  }
  if (before != nullptr) chain.push_front(before->ID());
  return chain;
}

// One more use of the edge between two nodes. An edge that is known already counts it; a new one is linked behind the
// edges that its nodes have.
inline void cSBRFreeEdges::AddEdge(int a, int b) {
  cSBRNode *first = FindNode(a);
  cSBRNode *second = FindNode(b);
  std::unique_ptr<cSBREdge> &edge = edges_[EdgeKey(a < b ? a : b, a < b ? b : a)];
  if (edge != nullptr)
    edge->AddRef();
  else
    edge = std::make_unique<cSBREdge>(first, second);
}

// The node of an ID, made at its first mention.
inline cSBRNode *cSBRFreeEdges::FindNode(int id) {
  std::unique_ptr<cSBRNode> &node = nodes_[id];
  if (node == nullptr) node = std::make_unique<cSBRNode>(id);
  return node.get();
}

// One edge per side, in the order of the list; the closing side comes last.
inline void cSBRFreeEdges::PopulateEdges(int face_count, const int *face_list) {
  const int *face = face_list;
  for (int f = 0; f < face_count; ++f) {
    const int count = *face++;
    if (count < 0) return;
    if (count >= 3) {
      for (int k = 0; k + 1 < count; ++k) AddEdge(face[k], face[k + 1]);
      AddEdge(face[count - 1], face[0]);
    }
    face += count;
  }
}

// A side that is used twice or more is inner.
inline void cSBRFreeEdges::RemoveInternalEdges() {
  for (auto edge = edges_.begin(); edge != edges_.end();) {
    if (edge->second->RefCount() > 1)
      edge = edges_.erase(edge);
    else
      ++edge;
  }
}

inline void cSBRFreeEdges::GenerateFreeEdgeList() {
  for (auto &entry : nodes_)
    if (entry.second->EdgeCount() > 0) free_edges_.push_back(entry.second->FindFreeEdge());
}

#endif
