// Construction of a body: entries of the generalized matrices, whose lists belong to body/matrices.
#ifndef SBRKIT_BODY_MATRIX_ENTRY_H
#define SBRKIT_BODY_MATRIX_ENTRY_H

#include "body/body.h"

namespace sbr {

// Enters a value of the generalized mass at two mode indices. False after a report when memory is short.
bool enter_generalized_mass(SbrBody &body, int row, int column, double value) noexcept;

}  // namespace sbr

#endif
