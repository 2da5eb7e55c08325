// What the pages of `sbr view` and `sbr sheet` ask the viewer for.
#ifndef SBRKIT_TOOLS_SBR_VIEWREQUEST_H
#define SBRKIT_TOOLS_SBR_VIEWREQUEST_H

#include <string>
#include <vector>

#include "page/page.h"
#include "session.h"

namespace sbrtool {

inline constexpr int kUsualMostNodes = 100000;  // a surface of more is coarsened for display

// One body, or two side by side with their modes matched, under the names of their files. The bodies stay the caller's.
sbrview::Request view_request(const std::vector<std::string> &files, const std::vector<Body> &bodies, int most_nodes);

}  // namespace sbrtool

#endif
