// SPDX-License-Identifier: MIT
// The order of texts in a sorted list, as bytes that compare like the texts.
//
// Blanks, then punctuation, digits and letters; case does not count; "é" is an "e" and counts as more only between
// texts that are otherwise equal; "ß" is "ss". The same on every machine, whatever its locale.
#pragma once

#include <string>
#include <string_view>

namespace controls {

// Appends to `key` bytes whose order under memcmp (a shorter prefix first) is the order of the texts.
void appendSortKey(std::string_view utf8, std::string& key);

}  // namespace controls
