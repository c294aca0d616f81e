// SPDX-License-Identifier: MIT
// DatePicker: a date typed as mm/dd/yyyy or taken from a calendar (F4 or Alt+Down).
//
// The arrow keys go between month, day and year; Tab leaves the box. Always in US order, whatever the machine's locale;
// from 1/1/1601 to 12/31/9999; never empty. QDateEdit's date(), setDate() and dateChanged() work as they do there.
#pragma once

#include "vbrt/date.h"

#include <QDateEdit>

namespace controls {

class DatePicker : public QDateEdit {
    Q_OBJECT

 public:
    explicit DatePicker(QWidget* parent = nullptr);

    [[nodiscard]] vbrt::Date value() const;
    // The day of `value`; its time is dropped. Throws vbrt::Error 380 outside the range.
    void setValue(vbrt::Date value);

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    bool focusNextPrevChild(bool next) override;
    void wheelEvent(QWheelEvent* event) override;
};

}  // namespace controls
