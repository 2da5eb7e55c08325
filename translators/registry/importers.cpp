#include "registry/importers.h"

#include "calculix/importer.h"
#ifdef SBRKIT_HAVE_EXODUS
#include "exodus/importer.h"
#endif

namespace sbrtranslate {

const std::vector<ImporterEntry> &importers() {
  static const std::vector<ImporterEntry> kImporters = {
      calculix_importer(),
#ifdef SBRKIT_HAVE_EXODUS
      exodus_importer(),
#endif
  };
  return kImporters;
}

}  // namespace sbrtranslate
