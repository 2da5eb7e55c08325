// Header texts of a body. The unit owns SbrBody::header.
#ifndef SBRKIT_BODY_HEADER_H
#define SBRKIT_BODY_HEADER_H

#include "body/body.h"

namespace sbr {

// The texts as a caller gets them: each ended, the date without a line feed.
[[nodiscard]] HeaderTexts header_texts(const SbrBody &body) noexcept;

}  // namespace sbr

#endif
