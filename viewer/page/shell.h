// The program of the page and its styles, as the build made them from viewer/src; empty in a build without the viewer.
#ifndef SBRKIT_VIEWER_PAGE_SHELL_H
#define SBRKIT_VIEWER_PAGE_SHELL_H

#include <string_view>

namespace sbrview {

std::string_view shell_style();
std::string_view shell_script();

}  // namespace sbrview

#endif
