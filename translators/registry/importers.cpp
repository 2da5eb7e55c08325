#include "registry/importers.h"

#include "calculix/importer.h"

namespace sbrtranslate {

const std::vector<ImporterEntry> &importers() {
  static const std::vector<ImporterEntry> kImporters = {calculix_importer()};
  return kImporters;
}

}  // namespace sbrtranslate
