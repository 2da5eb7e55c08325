// What a reduction tells its user: interface and residual modes, effective masses, and the comparison with the free
// body.
#ifndef SBRKIT_TOOLS_SBR_REDUCTIONREPORT_H
#define SBRKIT_TOOLS_SBR_REDUCTIONREPORT_H

#include "common/report.h"
#include "session.h"

namespace sbrtool {

// Prints nothing for a body that was not reduced.
void print_reduction(const sbrtranslate::ImportReport &report);
Json reduction_json(const sbrtranslate::ReductionFigures &figures);
// Shows on a terminal where a reduction stands; says nothing elsewhere.
void show_reduction_progress(const sbrtranslate::ReductionProgress &progress);

}  // namespace sbrtool

#endif
