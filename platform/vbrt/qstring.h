// SPDX-License-Identifier: MIT
// The conversions, formats and errors for code that speaks QString and QDate.
//
// Namespace vbrt::qt: the same names, with QString for text and QDate for dates, so that a form says
// `using namespace vbrt::qt;` and then CStr(amount) or Format(date, "mm/dd/yyyy"). Don't mix that with
// `using namespace vbrt;`. This header is the one place of this layer that knows Qt; whoever includes it links Qt Core.
//
// A QDate has no time: dates with one travel as vbrt::Date. A null QDate is Null, error 94.
#pragma once

#include <QAnyStringView>
#include <QDate>
#include <QString>
#include <QVariant>
#include <concepts>
#include <string>
#include <type_traits>

#include "vbrt/convert.h"
#include "vbrt/date.h"
#include "vbrt/error.h"
#include "vbrt/format.h"

namespace vbrt::qt {

inline std::string utf8(QAnyStringView text) {
    return text.visit([](auto view) -> std::string {
        using View = decltype(view);
        if constexpr (std::is_same_v<View, QUtf8StringView>)
            return {view.data(), static_cast<std::size_t>(view.size())};
        else if constexpr (std::is_same_v<View, QStringView>)
            return view.toUtf8().toStdString();
        else
            return QString(view).toStdString();
    });
}
inline QString toQString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// --- Errors

[[noreturn]] inline void raiseError(long number, QAnyStringView description) {
    throw Error(number, utf8(description));
}
inline QString description(const Error& error) {
    return toQString(error.description());
}

// --- Dates

inline constexpr qint64 kJulianDayZero = 2415019;  // of 1899-12-30

inline QDate toQDate(Date date) {
    const DateParts parts = partsOf(date);
    return {parts.year, parts.month, parts.day};
}
inline Date toDate(QDate date) {
    if (!date.isValid())
        raise(kInvalidNull);
    const Date serial{static_cast<double>(date.toJulianDay() - kJulianDayZero)};
    if (!isInRange(serial))
        raise(kOverflow);
    return serial;
}
inline QDate Today() {
    return toQDate(vbrt::Today());
}
inline void setToday(QDate today) {
    vbrt::setToday(today.isValid() ? std::optional(toDate(today)) : std::nullopt);
}
inline QDate DateSerial(int year, int month, int day) {
    return toQDate(vbrt::DateSerial(year, month, day));
}

// --- Text to values

inline double CDbl(QAnyStringView text) {
    return vbrt::CDbl(utf8(text));
}
inline std::int32_t CLng(QAnyStringView text) {
    return vbrt::CLng(utf8(text));
}
inline std::int32_t CLng(double value) {
    return vbrt::CLng(value);
}
inline std::int16_t CInt(double value) {
    return vbrt::CInt(value);
}
inline double Round(double value, int digits = 0) {
    return vbrt::Round(value, digits);
}
// The day alone; a time in the text is read and dropped.
inline QDate CDate(QAnyStringView text) {
    return toQDate(vbrt::CDate(utf8(text)));
}

// --- Values to text

inline QString CStr(std::floating_point auto value) {
    return toQString(vbrt::CStr(value));
}
inline QString CStr(std::integral auto value) {
    return QString::number(value);
}
inline QString CStr(bool value) {
    return toQString(vbrt::CStr(value));
}
inline QString CStr(QDate date) {
    return toQString(vbrt::CStr(toDate(date)));
}

inline QString Format(double value, QAnyStringView picture) {
    return toQString(vbrt::Format(value, utf8(picture)));
}
inline QString Format(QDate date, QAnyStringView picture) {
    return toQString(vbrt::Format(toDate(date), utf8(picture)));
}
inline QString Format(QAnyStringView text, QAnyStringView picture) {
    return toQString(vbrt::Format(utf8(text), utf8(picture)));
}
// A field of a row: Null is shown as nothing.
inline QString Format(const std::same_as<QVariant> auto& field, QAnyStringView picture) {
    if (field.isNull())
        return {};
    if (field.metaType() == QMetaType::fromType<Date>())
        return toQString(vbrt::Format(field.template value<Date>(), utf8(picture)));
    switch (field.typeId()) {
        case QMetaType::QString:
            return Format(field.toString(), picture);
        case QMetaType::QDate:
            return Format(field.toDate(), picture);
        default:
            return Format(field.toDouble(), picture);
    }
}

}  // namespace vbrt::qt
