// gmsh meshes that were saved as bytes.
#ifndef SBRKIT_TRANSLATORS_GMSH_BINARY_H
#define SBRKIT_TRANSLATORS_GMSH_BINARY_H

#include <string>

#include "common/mesh.h"

namespace sbrtranslate {

// Reads a binary file of version 2.2 or 4.1, plain or packed, written on a machine with this order of bytes. Throws
// InputError, with the byte, for what is not one.
Mesh read_binary_msh(const std::string &path);

}  // namespace sbrtranslate

#endif
