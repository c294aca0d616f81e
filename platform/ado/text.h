// SPDX-License-Identifier: MIT
// The border between the UTF-8 of the engine and the QString of everything above it. Private to this layer.
#pragma once

#include <QString>
#include <string>
#include <string_view>

namespace ado {

// Half a surrogate pair is an error (a character that cannot be stored), never a replacement character.
std::string toUtf8(QStringView text);

inline QString fromUtf8(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace ado
