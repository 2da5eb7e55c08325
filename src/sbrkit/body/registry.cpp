// A body is released by taking it off the list first, so that no link ever dangles.
#include "body/registry.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

#include "base/reports.h"

namespace {

SbrBody *head = nullptr;
std::mutex lock;

// The functions of this space want the lock held.

// Where the pointer to `body` stands in the list; null when it is not on it.
SbrBody **link_to(const SbrBody *body) noexcept {
  for (SbrBody **link = &head; *link != nullptr; link = &(*link)->next)
    if (*link == body) return link;
  return nullptr;
}

void append(SbrBody *body) noexcept {
  SbrBody **link = &head;
  while (*link != nullptr) link = &(*link)->next;
  *link = body;
}

SbrBody *find_by_name(const char *file_name, int surface_mesh) noexcept {
  for (SbrBody *body = head; body != nullptr; body = body->next) {
    const sbr::Array<char> &path = body->record.path;
    if (path && body->geometry.is_surface_mesh == surface_mesh && std::strcmp(path.data(), file_name) == 0) return body;
  }
  return nullptr;
}

// Takes a body off the list. Gives the body behind it.
SbrBody *unlink_at(SbrBody **link) noexcept {
  SbrBody *next = (*link)->next;
  *link = next;
  return next;
}

}  // namespace

namespace sbr {

bool require_body(const SbrBody *body) noexcept {
  if (body != nullptr) return true;
  report_error("The database has not been initialized.");
  return false;
}

SbrBody *unregistered_body() noexcept {
  auto *body = new (std::nothrow) SbrBody();
  if (body == nullptr) return nullptr;
  body->record.single_scratch = &body->float_buffer;
  for (StreamChannel &channel : body->modes) channel.single_scratch = &body->float_buffer;
  return body;
}

void release_body(SbrBody *body) noexcept { delete body; }

SbrBody *new_body() noexcept {
  SbrBody *body = unregistered_body();
  if (body == nullptr) return nullptr;
  const std::lock_guard hold(lock);
  append(body);
  return body;
}

SbrBody *share_body(const char *file_name, int surface_mesh) noexcept {
  if (file_name == nullptr) return nullptr;
  const std::lock_guard hold(lock);
  SbrBody *body = find_by_name(file_name, surface_mesh);
  if (body != nullptr) body->reference_count += 1;
  return body;
}

SbrBody *register_body(SbrBody *body) noexcept {
  SbrBody *present = nullptr;
  {
    const std::lock_guard hold(lock);
    const Array<char> &path = body->record.path;
    if (path) present = find_by_name(path.data(), body->geometry.is_surface_mesh);
    if (present == nullptr) {
      append(body);
      return body;
    }
    present->reference_count += 1;
  }
  release_body(body);
  return present;
}

bool name_body(SbrBody &body, const char *file_name) noexcept {
  const std::lock_guard hold(lock);
  return body.record.set_path(file_name);
}

int registered_bodies() noexcept {
  const std::lock_guard hold(lock);
  int count = 0;
  for (const SbrBody *body = head; body != nullptr; body = body->next) ++count;
  return count;
}

bool is_registered(const SbrBody *body) noexcept {
  const std::lock_guard hold(lock);
  return body != nullptr && link_to(body) != nullptr;
}

SbrBody *destroy_body(SbrBody *body) noexcept {
  SbrBody *next = nullptr;
  {
    const std::lock_guard hold(lock);
    SbrBody **link = body != nullptr ? link_to(body) : nullptr;
    if (link == nullptr) return nullptr;
    next = unlink_at(link);
  }
  release_body(body);
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
  {
    const std::lock_guard hold(lock);
    SbrBody **link = body != nullptr ? link_to(body) : nullptr;
    if (link == nullptr) return;
    if (body->reference_count != 1) {
      body->reference_count -= 1;
      return;
    }
    unlink_at(link);
  }
  sbr::release_body(body);
}

int SBR_Terminate(void) {
  for (;;) {
    SBR first = nullptr;
    {
      const std::lock_guard hold(lock);
      first = head;
      if (first == nullptr) return 0;
      unlink_at(&head);
    }
    sbr::release_body(first);
  }
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
