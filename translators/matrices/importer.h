// Matrices of any program in the registry of importers: Craig-Bampton from stiffness, mass, a node table and faces.
#ifndef SBRKIT_TRANSLATORS_MATRICES_IMPORTER_H
#define SBRKIT_TRANSLATORS_MATRICES_IMPORTER_H

#include "common/importer.h"

namespace sbrtranslate {

ImporterEntry matrices_importer();

}  // namespace sbrtranslate

#endif
