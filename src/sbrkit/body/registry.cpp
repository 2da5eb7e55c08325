// A body is released by taking it off the list first, so that no link ever dangles.
#include "body/registry.h"

#include <cstdlib>
#include <new>

#include "base/reports.h"

namespace {

SbrBody *head = nullptr;

// Where the pointer to `body` stands in the list; null when it is not on it.
SbrBody **link_to(const SbrBody *body) noexcept {
  for (SbrBody **link = &head; *link != nullptr; link = &(*link)->next)
    if (*link == body) return link;
  return nullptr;
}

}  // namespace

namespace sbr {

bool require_body(const SbrBody *body) noexcept {
  if (body != nullptr) return true;
  report_error("The database has not been initialized.");
  return false;
}

SbrBody *registry_head() noexcept { return head; }

SbrBody *new_body() noexcept {
  auto *body = new (std::nothrow) SbrBody();
  if (body == nullptr) return nullptr;
  SbrBody **link = &head;
  while (*link != nullptr) link = &(*link)->next;
  *link = body;
  body->record.single_scratch = &body->float_buffer;
  for (StreamChannel &channel : body->modes) channel.single_scratch = &body->float_buffer;
  return body;
}

bool is_registered(const SbrBody *body) noexcept { return body != nullptr && link_to(body) != nullptr; }

SbrBody *destroy_body(SbrBody *body) noexcept {
  SbrBody **link = body != nullptr ? link_to(body) : nullptr;
  if (link == nullptr) return nullptr;
  SbrBody *next = body->next;
  *link = next;
  delete body;
  return next;
}

}  // namespace sbr

extern "C" {

SBR SBR_Create(int node_capacity, int mode_capacity) {
  SBR body = sbr::new_body();
  if (body == nullptr) return nullptr;
  body->nodes.node_capacity = node_capacity;
  body->mode_table.mode_capacity = mode_capacity;
  return body;
}

int CheckSBR(SBR body) { return sbr::require_body(body) ? 1 : 0; }

int SBR_IsValid(SBR body) { return sbr::is_registered(body) ? 1 : 0; }

SBR SBR_Destroy(SBR body) { return sbr::destroy_body(body); }

void SBR_UnLink(SBR body) { sbr::destroy_body(body); }

void SBR_DeReference(SBR body) {
  if (!sbr::is_registered(body)) return;
  if (body->reference_count == 1)
    sbr::destroy_body(body);
  else
    body->reference_count -= 1;
}

int SBR_Terminate(void) {
  while (head != nullptr) sbr::destroy_body(head);
  return 0;
}

void SBR_FreeMemory(void *block) { std::free(block); }

void _terminate(void) {}

const char *sbrcoarse_VersionId(void) { return "sbrcoarse 1.0.0"; }
const char *sbrcreate_VersionId(void) { return "sbrcreate 1.0.0"; }
const char *sbrdata_VersionId(void) { return "sbrdata 1.0.0"; }
const char *sbrinvar_VersionId(void) { return "sbrinvar 1.0.0"; }
const char *sbrread_VersionId(void) { return "sbrread 1.0.0"; }
const char *sbrset_VersionId(void) { return "sbrset 1.0.0"; }
const char *sbrtoc_VersionId(void) { return "sbrtoc 1.0.0"; }
const char *sbrtools_VersionId(void) { return "sbrtools 1.0.0"; }
const char *sbrunits_VersionId(void) { return "sbrunits 1.0.0"; }
const char *sbrwrite_VersionId(void) { return "sbrwrite 1.0.0"; }

}  // extern "C"
