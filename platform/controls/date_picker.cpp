// SPDX-License-Identifier: MIT
#include "controls/date_picker.h"

#include "vbrt/error.h"

#include <QCalendarWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyleOptionComboBox>
#include <QWheelEvent>

namespace controls {

namespace {
const QDate kDayZero(1899, 12, 30);
const QDate kFirst(1601, 1, 1);
const QDate kLast(9999, 12, 31);
constexpr long kInvalidPropertyValue = 380;
}  // namespace

DatePicker::DatePicker(QWidget* parent) : QDateEdit(parent) {
    const QLocale us(QLocale::English, QLocale::UnitedStates);
    setLocale(us);
    setCalendarPopup(true);
    calendarWidget()->setLocale(us);
    calendarWidget()->setFirstDayOfWeek(us.firstDayOfWeek());
    setDateRange(kFirst, kLast);
    setDisplayFormat(QStringLiteral("MM/dd/yyyy"));
    setFocusPolicy(Qt::StrongFocus);
    setValue(vbrt::Today());
}

vbrt::Date DatePicker::value() const {
    return {static_cast<double>(kDayZero.daysTo(date()))};
}

void DatePicker::setValue(vbrt::Date value) {
    const vbrt::DateParts parts = vbrt::partsOf(value);
    const QDate day(parts.year, parts.month, parts.day);
    if (day < kFirst || day > kLast)
        throw vbrt::Error(kInvalidPropertyValue, "Invalid property value");
    setDate(day);
}

void DatePicker::keyPressEvent(QKeyEvent* event) {
    const bool opens =
        event->key() == Qt::Key_F4 || (event->key() == Qt::Key_Down && event->modifiers().testFlag(Qt::AltModifier));
    if (!opens)
        return QDateEdit::keyPressEvent(event);
    // The calendar has no other door than a press on the drop-down arrow.
    QStyleOptionComboBox option;
    option.initFrom(this);
    option.editable = true;
    option.subControls = QStyle::SC_All;
    const QPointF arrow =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxArrow, this).center();
    QMouseEvent press(QEvent::MouseButtonPress, arrow, mapToGlobal(arrow), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    mousePressEvent(&press);
    event->accept();
}

// QDateEdit would go from month to day to year first, three stops in one field.
bool DatePicker::focusNextPrevChild(bool next) {
    return QWidget::focusNextPrevChild(next);
}

// Scrolling over a form must not change a date in passing.
void DatePicker::wheelEvent(QWheelEvent* event) {
    if (hasFocus())
        QDateEdit::wheelEvent(event);
    else
        event->ignore();
}

}  // namespace controls
