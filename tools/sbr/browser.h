// A browser that works without a window, for pages as PDF.
#ifndef SBRKIT_TOOLS_SBR_BROWSER_H
#define SBRKIT_TOOLS_SBR_BROWSER_H

#include <string>

namespace sbrtool {

// The Chromium of this machine: what the variable CHROMIUM names, else one of its usual names on the path. Empty when
// there is none.
std::string find_chromium();

// A page as PDF: the bytes of the file. Ends the command when the browser fails, with what to do instead.
std::string printed_as_pdf(const std::string &chromium, const std::string &html);

}  // namespace sbrtool

#endif
