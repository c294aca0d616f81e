// SPDX-License-Identifier: MIT
// A connection string: "key=value;" pairs that say where a database is and how to open it.
//
// Keys ignore case and the blanks around them; "==" in a key stands for "=". A value that begins with " or ' ends with
// the same mark, which is doubled inside; any other value runs to the next ";" and loses the blanks around it. Of a key
// given twice the last value counts.
#pragma once

#include <QString>
#include <utility>
#include <vector>

namespace ado {

class ConnectionString {
 public:
    ConnectionString() = default;
    // Throws error -2147217805 for a pair without "=", an empty key, or a quoted value that does not end as it should.
    explicit ConnectionString(const QString& text);

    // The value, or an empty text when the key is missing.
    [[nodiscard]] QString value(const QString& key) const;
    [[nodiscard]] bool contains(const QString& key) const;
    // Keys as first written, in that order.
    [[nodiscard]] const std::vector<std::pair<QString, QString>>& pairs() const { return m_pairs; }

 private:
    std::vector<std::pair<QString, QString>> m_pairs;
};

// `value` as it is written into a connection string: in quotes where it would otherwise be read differently.
QString connectionValue(const QString& value);

}  // namespace ado
