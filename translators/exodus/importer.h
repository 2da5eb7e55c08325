// Exodus II files in the registry of importers: mesh, node sets and side sets, mode shapes as time steps.
#ifndef SBRKIT_TRANSLATORS_EXODUS_IMPORTER_H
#define SBRKIT_TRANSLATORS_EXODUS_IMPORTER_H

#include "common/importer.h"

namespace sbrtranslate {

ImporterEntry exodus_importer();

}  // namespace sbrtranslate

#endif
