// The registry of bodies: a singly linked list through SbrBody::next, in order of creation. The unit owns the list and
// the life of every body on it.
#ifndef SBRKIT_BODY_REGISTRY_H
#define SBRKIT_BODY_REGISTRY_H

#include "body/body.h"

namespace sbr {

// Whether a host gave a handle at all; a null handle is reported.
[[nodiscard]] bool require_body(const SbrBody *body) noexcept;
// The head of the registry, for the creators that look a body up by its file name.
[[nodiscard]] SbrBody *registry_head() noexcept;
// A new body at the tail of the registry; null when memory is short.
[[nodiscard]] SbrBody *new_body() noexcept;
// Whether a handle is on the registry.
[[nodiscard]] bool is_registered(const SbrBody *body) noexcept;
// Takes a body off the registry and releases it. Gives the body behind it; null for a stranger, which is left alone.
SbrBody *destroy_body(SbrBody *body) noexcept;

}  // namespace sbr

#endif
