// In place of the shell in a build without the viewer.
#include "shell.h"

namespace sbrview {

std::string_view shell_style() { return {}; }
std::string_view shell_script() { return {}; }

}  // namespace sbrview
