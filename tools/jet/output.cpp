// SPDX-License-Identifier: MIT
#include "output.h"

#include <charconv>
#include <cmath>
#include <cstdio>

#include "jet/error.h"

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

template <typename T>
void appendNumber(T value, std::string& out) {
    char buffer[32];
    out.append(buffer, std::to_chars(buffer, buffer + sizeof buffer, value).ptr);
}

void appendPadded(std::int64_t value, std::size_t width, std::string& out) {
    char buffer[24];
    const char* const end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    const auto length = static_cast<std::size_t>(end - buffer);
    if (length < width)
        out.append(width - length, '0');
    out.append(buffer, length);
}

void appendHex(jet::ByteView bytes, std::string& out) {
    for (const std::uint8_t b : bytes) {
        out += kHexDigits[b >> 4U];
        out += kHexDigits[b & 15U];
    }
}

void appendMoney(jet::Currency money, std::string& out) {
    const bool negative = money.units < 0;
    // Unsigned, so that the smallest number has an opposite.
    const std::uint64_t units =
        negative ? 0 - static_cast<std::uint64_t>(money.units) : static_cast<std::uint64_t>(money.units);
    if (negative)
        out += '-';
    appendNumber(units / 10000, out);
    if (const auto fraction = static_cast<std::int64_t>(units % 10000); fraction != 0) {
        out += '.';
        appendPadded(fraction, 4, out);
        out.erase(out.find_last_not_of('0') + 1);
    }
}

// The calendar day of a number of days since 1970-01-01, counted in eras of 400 years that begin on March 1.
void appendDay(std::int64_t days, std::string& out) {
    days += 719468;  // to 0000-03-01
    const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    const std::int64_t day = dayOfYear - (153 * monthFromMarch + 2) / 5 + 1;
    const std::int64_t month = monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9;
    appendPadded(yearOfEra + era * 400 + (month <= 2 ? 1 : 0), 4, out);
    out += '-';
    appendPadded(month, 2, out);
    out += '-';
    appendPadded(day, 2, out);
}

// False, and nothing written, for a number that is no date between the years 100 and 9999.
bool appendDate(jet::Date date, std::string& out) {
    constexpr double kFirst = -657434;
    constexpr double kEnd = 2958466;
    constexpr std::int64_t kDaysTo1970 = 25569;
    constexpr std::int64_t kDay = 86400000;  // milliseconds
    if (!(date.serial > kFirst - 1 && date.serial < kEnd))
        return false;
    auto days = static_cast<std::int64_t>(date.serial);
    // The time of day counts forward on negative days too.
    auto time = static_cast<std::int64_t>(std::llround(std::fabs(date.serial - static_cast<double>(days)) * kDay));
    if (time == kDay) {
        time = 0;
        ++days;
    }
    appendDay(days - kDaysTo1970, out);
    if (time == 0)
        return true;
    out += 'T';
    appendPadded(time / 3600000, 2, out);
    out += ':';
    appendPadded(time / 60000 % 60, 2, out);
    out += ':';
    appendPadded(time / 1000 % 60, 2, out);
    if (time % 1000 != 0) {
        out += '.';
        appendPadded(time % 1000, 3, out);
    }
    return true;
}

void appendEscaped(std::string_view text, std::string& out) {
    std::size_t done = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (c >= 0x20 && c != '"' && c != '\\' && c != 0x7F)
            continue;
        out.append(text, done, i - done);
        done = i + 1;
        out += '\\';
        switch (c) {
            case '"':
            case '\\':
                out += static_cast<char>(c);
                break;
            case '\n':
                out += 'n';
                break;
            case '\r':
                out += 'r';
                break;
            case '\t':
                out += 't';
                break;
            default:
                out += "u00";
                appendHex(jet::ByteView(&c, 1), out);
        }
    }
    out.append(text, done, text.size() - done);
}

void appendPlainText(std::string_view text, std::string& out) {
    for (const char c : text) {
        if (c == '\t')
            out += "\\t";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\r')
            out += "\\r";
        else if (c == '\\')
            out += "\\\\";
        else
            out += c;
    }
}

// Writes a value; what only one of the two forms needs is left to Form.
template <typename Form>
struct Writer {
    std::string& out;

    void operator()(jet::Null) const { Form::null(out); }
    void operator()(bool v) const { out += v ? "true" : "false"; }
    void operator()(std::uint8_t v) const { appendNumber(v, out); }
    void operator()(std::int16_t v) const { appendNumber(v, out); }
    void operator()(std::int32_t v) const { appendNumber(v, out); }
    void operator()(jet::Currency v) const { appendMoney(v, out); }
    void operator()(float v) const { real(v); }
    void operator()(double v) const { real(v); }
    void operator()(jet::Date v) const {
        const std::size_t before = out.size();
        Form::quote(out);
        if (appendDate(v, out)) {
            Form::quote(out);
        } else {
            out.resize(before);
            real(v.serial);
        }
    }
    void operator()(const std::string& v) const { Form::text(v, out); }
    void operator()(const jet::Bytes& v) const {
        quoted([&] { appendHex(v, out); });
    }
    void operator()(const jet::Guid& v) const {
        quoted([&] { out += jet::toDebugString(v); });
    }

    template <typename T>
    void real(T v) const {
        if (std::isfinite(v))
            appendNumber(v, out);
        else
            quoted([&] { appendNumber(v, out); });  // JSON has no such numbers
    }
    template <typename Work>
    void quoted(Work&& work) const {
        Form::quote(out);
        work();
        Form::quote(out);
    }
};

struct Json {
    static void null(std::string& out) { out += "null"; }
    static void quote(std::string& out) { out += '"'; }
    static void text(std::string_view v, std::string& out) { appendJsonText(v, out); }
};

struct Plain {
    static void null(std::string& /*out*/) {}
    static void quote(std::string& /*out*/) {}
    static void text(std::string_view v, std::string& out) { appendPlainText(v, out); }
};

}  // namespace

void Output::flush() {
    const bool written = std::fwrite(m_text.data(), 1, m_text.size(), stdout) == m_text.size();
    m_text.clear();
    if (!written || std::fflush(stdout) != 0)
        throw jet::Error(jet::Errc::Io, "standard output");
}

void appendJsonText(std::string_view text, std::string& out) {
    out += '"';
    appendEscaped(text, out);
    out += '"';
}

void appendJson(const jet::Value& value, std::string& out) {
    std::visit(Writer<Json>{out}, value);
}

void appendPlain(const jet::Value& value, std::string& out) {
    std::visit(Writer<Plain>{out}, value);
}
