// SPDX-License-Identifier: MIT
// Code page 1252 (in the file) and UTF-8 (everywhere else).
//
// The five bytes that the code page leaves unassigned (81 8D 8F 90 9D) occur in real files; they are carried through
// as U+0081, U+008D, U+008F, U+0090, U+009D and back.
#pragma once

#include <string>
#include <string_view>

#include "jet/values/types.h"

namespace jet {

// Never fails.
std::string fromCodePage(ByteView bytes);
// Appends to `out`, for callers that reuse a buffer.
void appendFromCodePage(ByteView bytes, std::string& out);

// Throws Errc::NotRepresentable, naming the first character that the code page lacks, and for malformed UTF-8.
Bytes toCodePage(std::string_view utf8);
// False instead of an exception; `out` then holds what came before the offending character.
bool tryToCodePage(std::string_view utf8, Bytes& out);

}  // namespace jet
