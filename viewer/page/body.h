// A body as data of the page: sections of packed numbers and the description of what they are.
#ifndef SBRKIT_VIEWER_PAGE_BODY_H
#define SBRKIT_VIEWER_PAGE_BODY_H

#include <nlohmann/json.hpp>
#include <string>

#include "page.h"

namespace sbrview {

// Writes the sections of a body, their names beginning with `prefix`, and gives its description. The names of the
// description are those of the interface BodyDescription in viewer/src/data.ts.
nlohmann::ordered_json write_body(const ShownBody &shown, const Request &request, const std::string &prefix,
                                  const Sink &sink, Shown &outcome);

// The multipliers on SI of four labels, as the library has them; null for a label that it does not know.
nlohmann::ordered_json describe_units(const std::array<std::string, 4> &labels);

}  // namespace sbrview

#endif
