// Texts and bytes inside of markup.
#ifndef SBRKIT_VIEWER_PAGE_MARKUP_H
#define SBRKIT_VIEWER_PAGE_MARKUP_H

#include <cstddef>
#include <string>

namespace sbrview {

// A text as HTML or XML: its own characters, also inside of attributes.
std::string escaped(const std::string &text);
// Bytes in base64 (RFC 4648), filled up.
std::string base64(const void *bytes, std::size_t count);

}  // namespace sbrview

#endif
