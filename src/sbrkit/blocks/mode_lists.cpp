#include "blocks/mode_lists.h"

#include "body/node_table.h"
#include "modes/access.h"

namespace sbr {
namespace {

bool mark_nonzero(const double *values, Array<unsigned char> &keep) noexcept {
  if (values == nullptr) return false;
  for (std::size_t i = 0; i < keep.size(); ++i, values += 6)
    if (keep[i] == 0 && any_nonzero(values)) keep[i] = 1;
  return true;
}

// The sparse list: the nodes whose pre-vector or data in any exported mode is not zero.
bool form_sparse_list(Emission &run, Kind kind, ModeList &list) noexcept {
  SbrBody &body = run.body;
  Array<unsigned char> keep;
  if (!keep.allocate(body.nodes.kinds[kind].count)) return run.no_memory();
  if (run.plan.has(*kKindFacts[kind].pre_block) && !mark_nonzero(whole_mode(body, kPreVector, kind), keep))
    return false;
  if (run.plan.has(kKindFacts[kind].block))
    for (int m = run.plan.first_mode; m < run.plan.end_mode; ++m)
      if (!mark_nonzero(whole_mode(body, m, kind), keep)) return false;
  for (int i = 0; i < keep.count(); ++i)
    if (keep[i] != 0) list.position[list.kept++] = i;
  return true;
}

// An old layout lists every node of the body when stress or strain is known at only some of them.
bool is_expanded(const Emission &run, Kind kind) noexcept {
  return is_old(run.plan.word) && run.body.nodes.kinds[kind].count != node_count(run.body);
}

}  // namespace

bool form_list(Emission &run, Kind kind) noexcept {
  ModeList &list = run.lists[kind];
  if (list.formed) return true;
  SbrBody &body = run.body;
  const bool expanded = is_expanded(run, kind);
  const int length = expanded ? node_count(body) : body.nodes.kinds[kind].count;
  if (!list.position.allocate(length)) return run.no_memory();
  if (run.plan.sparse && !expanded) {
    if (!form_sparse_list(run, kind, list)) return false;
  } else {
    list.kept = length;
    for (int i = 0; i < length; ++i) list.position[i] = expanded ? kind_position(body, kind, node_id(body, i)) : i;
  }
  list.formed = true;
  return true;
}

bool put_list_ids(Emission &run, Kind kind) noexcept {
  const ModeList &list = run.lists[kind];
  const bool expanded = is_expanded(run, kind);
  for (int i = 0; i < list.kept; ++i) {
    const std::int32_t position = list.position[i];
    const int id = expanded ? node_id(run.body, i) : kind_node_id(run.body, kind, position);
    if (!run.out.integer(id)) return false;
  }
  return true;
}

}  // namespace sbr
