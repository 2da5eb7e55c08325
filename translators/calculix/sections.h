// The sections of a deck and their elements: materials, shells whose thickness changes from node to node, and shells
// whose nodes do not lie in their middle.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_SECTIONS_H
#define SBRKIT_TRANSLATORS_CALCULIX_SECTIONS_H

#include <set>

#include "common/mesh.h"

namespace sbrtranslate {

// Gives every element its section; `line_elements` are the numbers of those that have no surface. Throws InputError for
// what does not fit together: sets, materials, elements with nodes that are not there or come twice.
void assign_sections(Mesh &mesh, const std::set<int> &line_elements);
// Reads the thicknesses of *NODAL THICKNESS. Puts the nodes of shells with an OFFSET to the middle of the shell,
// against the mean normal of the elements that share the node: node - offset * thickness * normal, as the solver
// expands them. To be called once the elements have their sections. Throws InputError for a node without the thickness
// that its section asks for, for thicknesses that change within a shell with an OFFSET, and for a node that has two
// middles: of shells with different offsets, or of something else.
void finish_shells(Mesh &mesh);
// Throws InputError for a point mass, a truss or a beam at a node that was moved.
void refuse_lines_at_moved_nodes(const Mesh &mesh);

}  // namespace sbrtranslate

#endif
