// Nodal masses that have the mass, the center and the inertia tensor of the mesh.
#ifndef SBRKIT_TRANSLATORS_COMMON_CONSISTENT_MASS_H
#define SBRKIT_TRANSLATORS_COMMON_CONSISTENT_MASS_H

#include "common/model.h"

namespace sbrtranslate {

// Makes the lumped masses of the model's nodes those of its elements in the large, and works out `model.lumped` anew.
// Lumping keeps the mass of an element, and not its second moments: a mass m at node i becomes
//
//   m_i exp(p(r_i)),  p a polynomial of degree 2 in the coordinates,
//
// with the one p whose ten coefficients give mass, first moments and second moments of `model.exact`. Of all masses
// that have these moments, these are nearest to the lumped ones in the sense of relative entropy (Kullback,
// "Information Theory and Statistics", 1959, chapter 3), and they are positive. No mass falls below a twentieth of what
// it was. What then is left of the second moments is shared out by mass as nodal inertia, and may be negative there: a
// mesh with one layer of linear elements has all its nodes on the outside, where any positive masses have too much
// inertia.
//
// The nodes hold what the elements gave them when this is called; what else has mass comes afterwards, to `exact` and
// to the nodes alike. Throws InputError when the nodes cannot have the center of mass, and for moments that are not
// finite.
MassCorrection correct_masses(Model &model);

// The moments of the nodal masses and nodal inertias.
Moments nodal_moments(const Model &model);

}  // namespace sbrtranslate

#endif
