// A gmsh mesh (MSH 2.2 and 4.1, text) as geometry for a source that has nodes and no elements.
#ifndef SBRKIT_TRANSLATORS_GMSH_FILE_H
#define SBRKIT_TRANSLATORS_GMSH_FILE_H

#include <string>

#include "common/mesh.h"

namespace sbrtranslate {

// Reads a mesh, plain or gzip-packed. Its elements are those of the highest dimension, solids before shells; physical
// groups of any dimension are node sets, by their names in capitals or as PHYSICAL_<tag>. Element types that the
// translators do not know are refused, as are binary files and other versions. Throws InputError with file and line.
Mesh read_msh(const std::string &path);

// The nodes and node sets of a source with the elements and groups of a mesh. A node of the mesh is the node of the
// source at its place, within 1e-5 of the mesh's extent (files of six digits
// round that much); its number in the mesh does not count. Throws
// InputError for a node of an element that the source does not have, and for two nodes of the source at one such place.
Mesh mesh_on_nodes(Mesh source, const Mesh &mesh);

}  // namespace sbrtranslate

#endif
