// SPDX-License-Identifier: MIT
// Text of pages: from the bytes of a file to UTF-8, and from entities to characters.
#pragma once

#include <string>
#include <string_view>

namespace chm {

// UTF-8 of an HTML file. Its encoding is the one that its byte order mark or its charset names; none, or one that is
// unknown here: code page 1252. Bytes that break UTF-8 become U+FFFD.
std::string decodeHtml(std::string_view bytes);

// UTF-8 of text in code page 1252.
std::string decode1252(std::string_view bytes);

// Replaces the entities of HTML; what is none stays as it is.
std::string unescape(std::string_view text);

}  // namespace chm
