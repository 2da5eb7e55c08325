// Universal files in the registry of importers: meshes and modes, computed or measured.
#ifndef SBRKIT_TRANSLATORS_UNIVERSAL_IMPORTER_H
#define SBRKIT_TRANSLATORS_UNIVERSAL_IMPORTER_H

#include "common/importer.h"

namespace sbrtranslate {

ImporterEntry universal_importer();

}  // namespace sbrtranslate

#endif
