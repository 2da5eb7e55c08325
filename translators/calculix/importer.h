// CalculiX in the registry of importers.
#ifndef SBRKIT_TRANSLATORS_CALCULIX_IMPORTER_H
#define SBRKIT_TRANSLATORS_CALCULIX_IMPORTER_H

#include "common/importer.h"

namespace sbrtranslate {

ImporterEntry calculix_importer();

}  // namespace sbrtranslate

#endif
