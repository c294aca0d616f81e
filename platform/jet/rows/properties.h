// SPDX-License-Identifier: MIT
// Property blobs (column LvProp of the catalog): descriptions, formats, defaults, required, zero-length.
//
// A blob is "KKD\0", a block of names, then a block for the object itself (kind 0) and one per column (kind 1). It is
// kept as read, so that encoding what was decoded gives the same bytes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "jet/values/types.h"

namespace jet {

struct Property {
    std::string name;  // UTF-8
    std::uint8_t ddl = 1;
    std::uint8_t type = 0;  // 1 Boolean, 2 Byte, 3 Integer, 4 Long, 10 Text, 11 OLE, 12 Memo, 15 GUID
    Bytes value;            // as stored; text in code page 1252

    [[nodiscard]] std::string text() const;
    [[nodiscard]] bool truth() const;  // any byte not 0
};

struct PropertyBlock {
    std::uint16_t kind = 0;  // 0 the object, 1 a column
    std::string name;        // UTF-8; empty for the object
    std::vector<Property> properties;

    [[nodiscard]] const Property* find(std::string_view name) const;  // ignores case
};

struct PropertySet {
    std::vector<std::string> names;  // the name block, in its order; filled by encode() when empty
    std::vector<PropertyBlock> blocks;

    [[nodiscard]] const PropertyBlock* column(std::string_view name) const;
    [[nodiscard]] const PropertyBlock* object() const;

    static PropertySet decode(ByteView blob);  // Throws Corrupt
    [[nodiscard]] Bytes encode() const;

    static Property textProperty(std::string_view name, std::string_view value);
    static Property memoProperty(std::string_view name, std::string_view value);
    static Property boolProperty(std::string_view name, bool value);
};

}  // namespace jet
