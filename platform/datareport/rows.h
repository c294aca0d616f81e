// SPDX-License-Identifier: MIT
// Rows is where a report takes its rows from: read once, from the first to the last. A program puts its own recordsets
// behind it.
#pragma once

#include <QString>
#include <QVariant>
#include <memory>

namespace datareport {

class Rows {
 public:
    Rows() = default;
    Rows(const Rows&) = delete;
    Rows& operator=(const Rows&) = delete;
    virtual ~Rows() = default;

    // The number of the column of that name, case ignored. Throws vbrt::Error when there is none.
    virtual int column(const QString& name) = 0;
    // Goes to the next row; the first call goes to the first. False behind the last.
    virtual bool next() = 0;
    // Of the current row: an invalid QVariant for Null, else bool, int, double, QString or vbrt::Date.
    virtual QVariant value(int column) = 0;
    // The group behind the current row, for a column that holds groups. The rows live as long as `this` stays on the
    // row.
    virtual std::unique_ptr<Rows> children(int column) = 0;
};

}  // namespace datareport
