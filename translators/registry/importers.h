// The table of the importers that this build has.
#ifndef SBRKIT_TRANSLATORS_REGISTRY_IMPORTERS_H
#define SBRKIT_TRANSLATORS_REGISTRY_IMPORTERS_H

#include "common/importer.h"

namespace sbrtranslate {

// In the order in which the help lists them.
const std::vector<ImporterEntry> &importers();

}  // namespace sbrtranslate

#endif
