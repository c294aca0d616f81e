// SPDX-License-Identifier: MIT
// What a person at a terminal needs: a question that is not echoed, and text that cannot command the terminal.
#pragma once

#include <optional>
#include <string>
#include <string_view>

// Nothing when there is no terminal.
std::optional<std::string> askPassword(const std::string& path);
// A line from an open file descriptor; nothing when it cannot be read.
std::optional<std::string> readLine(int descriptor);
[[nodiscard]] bool isTerminal(int descriptor);

// UTF-8 text with its control characters (but line ends and tabs) as \x1B and the like.
std::string withoutControls(std::string_view text);
