// A host in C++: weighs a body, finds the rim of a square by the classes, and names a library.
#include <sbrkit/sbrkit.h>

#include <cstdio>
#include <sbrkit/dynamic_library.hpp>
#include <sbrkit/free_edges.hpp>

int main() {
  SBR body = SBR_Create(2, 1);
  SBR_SetNodalMass(body, 10, 1.25);
  SBR_SetNodalMass(body, 20, 2.5);
  const double mass = SBR_Invar1(body);
  SBR_DeReference(body);

  int square[] = {4, 1, 2, 3, 4};
  cSBRFreeEdges rims;
  rims.FindFreeEdges(1, square);
  const std::size_t corners = rims.GetFreeEdges().front().size();

  ktxDynamicLibrary none;
  const bool held = none.reference_count_of("libwing") != 0;
  std::printf("mass %g, rim of %zu, library held: %s\n", mass, corners, held ? "yes" : "no");
  return mass == 3.75 ? 0 : 2;
}
