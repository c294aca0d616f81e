// SPDX-License-Identifier: MIT
#include "vbrt/error.h"

#include <algorithm>
#include <array>

namespace vbrt {

namespace {

struct Text {
    long number;
    const char* text;
};

constexpr std::array kTexts{
    Text{5, "Invalid procedure call or argument"},
    Text{6, "Overflow"},
    Text{9, "Subscript out of range"},
    Text{11, "Division by zero"},
    Text{13, "Type mismatch"},
    Text{52, "Bad file name or number"},
    Text{53, "File not found"},
    Text{55, "File already open"},
    Text{57, "Device I/O error"},
    Text{58, "File already exists"},
    Text{61, "Disk full"},
    Text{68, "Device unavailable"},
    Text{70, "Permission denied"},
    Text{71, "Disk not ready"},
    Text{75, "Path/File access error"},
    Text{76, "Path not found"},
    Text{91, "Object variable or With block variable not set"},
    Text{94, "Invalid use of Null"},
    Text{380, "Invalid property value"},
    Text{424, "Object required"},
    Text{429, "ActiveX component can't create object"},
    Text{35600, "Index out of bounds"},
    Text{35601, "Element not found"},
    Text{35602, "Key is not unique in collection"},
    Text{35603, "Invalid key"},
};

}  // namespace

void raise(long number) {
    throw Error(number, standardText(number));
}

std::string standardText(long number) {
    const auto found = std::ranges::find(kTexts, number, &Text::number);
    return found != kTexts.end() ? found->text : "Application-defined or object-defined error";
}

}  // namespace vbrt
