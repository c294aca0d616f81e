// SPDX-License-Identifier: MIT
#include "controls/date_picker.h"

#include "controls/message_box.h"
#include "vbrt/qstring.h"

#include <QApplication>
#include <QCalendarWidget>
#include <QFrame>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QVBoxLayout>
#include <QWheelEvent>

namespace controls {

namespace {

const QDate kFirst(100, 1, 1);
const QDate kLast(9999, 12, 31);
const QString kShown = QStringLiteral("MM/dd/yyyy");

std::optional<QDate> asCDateReads(const QString& text) {
    try {
        return vbrt::qt::CDate(text);
    } catch (const vbrt::Error&) {
        return std::nullopt;
    }
}

// A number as it was typed: 0150 is a year of four digits.
struct Typed {
    int value;
    qsizetype digits;

    [[nodiscard]] bool isYear(int year) const {
        return year == (digits <= 2 ? vbrt::fullYear(value) : value) && digits != 3 && digits <= 4;
    }
    [[nodiscard]] bool isFullYear(int year) const { return digits == 4 && value == year; }
};

// The calendar closes with Esc, as every list that drops down.
class CalendarFrame : public QFrame {
 public:
    explicit CalendarFrame(QWidget* parent) : QFrame(parent, Qt::Popup) {}

 protected:
    void keyPressEvent(QKeyEvent* event) override {
        if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_F4)
            close();
        else
            QFrame::keyPressEvent(event);
    }
};

}  // namespace

// CDate reads whatever can be made a date of, if need be by taking numbers for another part than they stand for
// ("2/30" is February 1930 to it), and drops the time. What it reads counts here only if it is what was typed.
std::optional<QDate> readDate(const QString& text) {
    static const QRegularExpression run(QStringLiteral("^([0-9]{2})([0-9]{2})([0-9]{2}|[0-9]{4})$"));
    static const QRegularExpression number(QStringLiteral("[0-9]+"));
    static const QRegularExpression letter(QStringLiteral("[A-Za-z]"));

    const QString plain = text.simplified().replace(u'.', u' ').replace(run, QStringLiteral("\\1/\\2/\\3"));
    const auto date = asCDateReads(plain);
    if (!date)
        return std::nullopt;
    std::vector<Typed> typed;
    for (auto match = number.globalMatch(plain); match.hasNext();) {
        const QString digits = match.next().captured();
        typed.push_back({digits.toInt(), digits.size()});
    }
    const auto is = [&date](const Typed& month, const Typed& day) {
        return date->month() == month.value && date->day() == day.value;
    };
    const bool thisYear = date->year() == vbrt::qt::Today().year();
    const int year = date->year();
    const int day = date->day();
    bool meant = false;
    if (plain.contains(letter)) {
        if (typed.size() == 1)
            meant = day == typed[0].value && thisYear;
        else if (typed.size() == 2)
            meant = (day == typed[0].value && typed[1].isYear(year)) ||
                    (typed[0].isFullYear(year) && day == typed[1].value);
    } else if (typed.size() == 2) {
        meant = is(typed[0], typed[1]) && thisYear;
    } else if (typed.size() == 3) {
        meant = (is(typed[0], typed[1]) && typed[2].isYear(year)) ||
                (typed[0].isFullYear(year) && is(typed[1], typed[2])) ||
                (is(typed[1], typed[0]) && typed[2].isFullYear(year));
    }
    return meant ? date : std::nullopt;
}

DatePicker::DatePicker(QWidget* parent) : QComboBox(parent) {
    setEditable(true);
    setCompleter(nullptr);
    setInsertPolicy(NoInsert);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(static_cast<int>(kShown.size()) + 1);
    setFocusPolicy(Qt::StrongFocus);
    setDate(vbrt::qt::Today());
}

QString DatePicker::text() const {
    return lineEdit()->text();
}

void DatePicker::setDate(QDate date) {
    m_mayBeEmpty = m_mayBeEmpty || date.isNull();
    const QString shown = date.isNull() ? QString() : date.toString(kShown);
    if (shown != text())
        lineEdit()->setText(shown);
    if (date == m_date)
        return;
    m_date = date;
    emit dateChanged(date);
}

bool DatePicker::interpretText() {
    const QString typed = text().trimmed();
    if (typed.isEmpty() && m_mayBeEmpty) {
        setDate({});
        return true;
    }
    if (const auto date = readDate(typed)) {
        setDate(*date);
        return true;
    }
    setFocus();
    MsgBox(window(),
           (typed.isEmpty() ? QStringLiteral("You must type a date")
                            : QStringLiteral("'%1' is not a date.\rType month, "
                                             "day and year")
                                  .arg(typed)) +
               QStringLiteral(", for example 12/31/2025."),
           MsgIcon::Critical, MsgButtons::Ok, QStringLiteral("Error reading Date"));
    return false;
}

void DatePicker::keyPressEvent(QKeyEvent* event) {
    const bool plain = (event->modifiers() & ~Qt::KeypadModifier) == Qt::NoModifier;
    if (plain && (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down))
        stepBy(event->key() == Qt::Key_Up ? 1 : -1);
    else
        QComboBox::keyPressEvent(event);
}

void DatePicker::stepBy(int steps) {
    const QString typed = text();
    const auto date = readDate(typed);
    if (!date)
        return;
    // Month, day, year; the day where the cursor does not tell.
    const bool ordered = typed.count(u'/') == 2 && typed.indexOf(u'/') <= 2;
    const bool all = lineEdit()->selectedText() == typed;
    const auto part = ordered && !all ? typed.left(lineEdit()->cursorPosition()).count(u'/') : 1;
    const QDate next = part == 0 ? date->addMonths(steps) : part == 1 ? date->addDays(steps) : date->addYears(steps);
    setDate(next < kFirst || next > kLast ? *date : next);
    lineEdit()->setSelection(static_cast<int>(part) * 3, part == 2 ? 4 : 2);
}

void DatePicker::focusOutEvent(QFocusEvent* event) {
    QComboBox::focusOutEvent(event);
    const QWidget* next = QApplication::focusWidget();
    const bool left = event->reason() != Qt::ActiveWindowFocusReason && event->reason() != Qt::PopupFocusReason &&
                      event->reason() != Qt::MenuBarFocusReason;
    if (!left || next == nullptr || next->window() != window())
        return;
    if (qobject_cast<const QPushButton*>(next) == nullptr || readDate(text()))
        interpretText();
}

void DatePicker::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void DatePicker::showPopup() {
    if (m_popup == nullptr) {
        const QLocale us(QLocale::English, QLocale::UnitedStates);
        auto* const frame = new CalendarFrame(this);
        frame->setFrameStyle(QFrame::StyledPanel | QFrame::Plain);
        frame->setAttribute(Qt::WA_NoMouseReplay);  // a press on the arrow closes it and does not open it again
        m_popup = frame;
        m_calendar = new QCalendarWidget(frame);
        m_calendar->setLocale(us);
        m_calendar->setFirstDayOfWeek(us.firstDayOfWeek());
        m_calendar->setVerticalHeaderFormat(QCalendarWidget::NoVerticalHeader);
        m_calendar->setDateRange(kFirst, kLast);
        auto* const layout = new QVBoxLayout(frame);
        layout->setContentsMargins({});
        layout->addWidget(m_calendar);
        connect(m_calendar, &QCalendarWidget::clicked, this, &DatePicker::takeFromCalendar);
        connect(m_calendar, &QCalendarWidget::activated, this, &DatePicker::takeFromCalendar);
    }
    m_calendar->setSelectedDate(readDate(text()).value_or(vbrt::qt::Today()));
    m_popup->resize(m_popup->sizeHint());
    const QRect room = screen()->availableGeometry();
    QPoint at = mapToGlobal(QPoint(0, height()));
    if (at.y() + m_popup->height() > room.bottom())
        at = mapToGlobal(QPoint(0, -m_popup->height()));
    at.setX(std::max(room.left(), std::min(at.x(), room.right() - m_popup->width())));
    m_popup->move(at);
    m_popup->show();
    m_calendar->setFocus();
}

void DatePicker::hidePopup() {
    if (m_popup != nullptr)
        m_popup->close();
}

void DatePicker::takeFromCalendar(QDate date) {
    hidePopup();
    setDate(date);
    lineEdit()->selectAll();
}

}  // namespace controls
