// The registry of bodies: a singly linked list through SbrBody::next, in order of creation. The unit owns the list and
// the life of every body on it. One lock guards the list, the references, and what bodies are found by.
#ifndef SBRKIT_BODY_REGISTRY_H
#define SBRKIT_BODY_REGISTRY_H

#include "body/body.h"

namespace sbr {

// Whether a host gave a handle at all; a null handle is reported.
[[nodiscard]] bool require_body(const SbrBody *body) noexcept;
// A new body at the tail of the registry; null when memory is short.
[[nodiscard]] SbrBody *new_body() noexcept;
// A new body that nobody can find yet; null when memory is short. It goes to register_body() or release_body().
[[nodiscard]] SbrBody *unregistered_body() noexcept;
void release_body(SbrBody *body) noexcept;
// The live body of a file, with one reference more; null when there is none. surface_mesh says which of the two bodies
// that a file may have is meant.
[[nodiscard]] SbrBody *share_body(const char *file_name, int surface_mesh) noexcept;
// Puts a body that was read from a file at the tail of the registry. When another thread has read the same file in the
// meantime, that body is shared and this one goes. Gives the one that lives.
[[nodiscard]] SbrBody *register_body(SbrBody *body) noexcept;
// Gives a body that may be on the registry the name of its file. False when memory is short.
[[nodiscard]] bool name_body(SbrBody &body, const char *file_name) noexcept;
// Whether a handle is on the registry.
[[nodiscard]] bool is_registered(const SbrBody *body) noexcept;
// How many bodies are on it.
[[nodiscard]] int registered_bodies() noexcept;
// Takes a body off the registry and releases it. Gives the body behind it; null for a stranger, which is left alone.
SbrBody *destroy_body(SbrBody *body) noexcept;

}  // namespace sbr

#endif
