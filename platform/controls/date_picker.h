// SPDX-License-Identifier: MIT
// DatePicker: a box for a date, which is typed freely or taken from a calendar (F4, Alt+Down or the arrow).
//
// What is typed is read when the box is left for another field, at Enter, and whenever the form asks: month, day and
// year in US order whatever the machine's locale, as readDate() tells. It is then shown as mm/dd/yyyy. A text that is
// no date is refused with a message and stays, with the focus. A button that gets the focus reads for itself, so that
// Cancel needs no date. Up and Down change the part the cursor is in, the day when all is selected.
#pragma once

#include <QComboBox>
#include <QDate>
#include <optional>

class QCalendarWidget;

namespace controls {

// The day that a typed text names, from 1/1/100 to 12/31/9999, if it names exactly one. Parts are separated by "/",
// "-",
// "." or blanks, or follow each other as mmddyy or mmddyyyy; the year may be missing (this one) or stand first, with
// four digits; the month may be a name. 12/31/2025, 1-2-26, 2025-12-31, 12312025, Jan 5, 2026. Day before month is read
// only where it cannot be meant otherwise: 31/12/2025. Years 00 to 29 are 2000 to 2029. No times.
std::optional<QDate> readDate(const QString& text);

class DatePicker : public QComboBox {
    Q_OBJECT

 public:
    explicit DatePicker(QWidget* parent = nullptr);  // shows today

    [[nodiscard]] QString text() const;  // as it stands there, typed or shown
    [[nodiscard]] QDate date() const { return m_date; }
    // A null date empties the box, which may then be left empty, too.
    void setDate(QDate date);
    // Reads what was typed. False when it is no date: the user has been told and the box has the focus.
    bool interpretText();

    void showPopup() override;
    void hidePopup() override;

 signals:
    void dateChanged(QDate date);

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

 private:
    void stepBy(int steps);
    void takeFromCalendar(QDate date);

    QDate m_date;
    bool m_mayBeEmpty = false;
    QWidget* m_popup = nullptr;             // child, made when it is first needed
    QCalendarWidget* m_calendar = nullptr;  // in it
};

}  // namespace controls
