// The surface mesh of a record file: a body of its own, beside the one that SBR_CreateFromSBR gives for the same file.
#include "body/registry.h"
#include "read/reader.h"
#include "surface/discard.h"

extern "C" SBR SBR_CreateFromSBR_SurfaceMesh(const char *file_name) {
  if (file_name == nullptr) return nullptr;
  if (SBR shared = sbr::share_body(file_name, 1); shared != nullptr) return shared;
  return sbr::open_body(file_name, [](SbrBody &body) noexcept {
    sbr::remove_internal_geometry(body);
    body.geometry.is_surface_mesh = 1;
  });
}
