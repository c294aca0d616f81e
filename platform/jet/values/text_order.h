// SPDX-License-Identifier: MIT
// The "General" text order of Access 97: one implementation for index keys, =, ORDER BY and GROUP BY.
//
// Case and trailing blanks are ignored; accents count only between texts that are otherwise equal; ß equals ss. The
// table was read off real index keys; it differs from the order of later versions (hyphens have ordinary codes here).
#pragma once

#include <string_view>

#include "jet/values/types.h"

namespace jet {

// Appends the key bytes of a text in code page 1252 (first 255 bytes only), as an ascending index holds them behind
// the flag byte: inline codes, accent part, end.
void appendTextKey(ByteView text, Bytes& key);

// UTF-8 texts in that order: negative, 0, positive. Texts with characters that the code page lacks come after all
// others, by code point, and equal only their own like. Unlike index keys this looks at all characters.
int compareText(std::string_view a, std::string_view b);
inline bool equalText(std::string_view a, std::string_view b) {
    return compareText(a, b) == 0;
}

// Bytes that compare (memcmp) as compareText does; for sorting and hashing many texts. Appends to `key`.
void appendSortKey(std::string_view utf8, Bytes& key);

}  // namespace jet
