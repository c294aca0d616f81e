// SPDX-License-Identifier: MIT
#include "output.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <set>

#include "jet/values/error.h"
#include "terminal.h"
#include "vbrt/date.h"

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

// False, and nothing written, for a number that is no date between the years 100 and 9999.
bool appendDate(jet::Date date, std::string& out) {
    constexpr std::int64_t kDay = 86400000;  // milliseconds
    if (!vbrt::isInRange({date.serial}))
        return false;
    double days = std::trunc(date.serial);
    // The time of day counts forward on negative days too.
    auto time = static_cast<std::int64_t>(std::llround(std::fabs(date.serial - days) * kDay));
    if (time == kDay) {
        time = 0;
        ++days;
    }
    const vbrt::DateParts day = vbrt::partsOf({days});
    appendPadded(day.year, 4, out);
    out += '-';
    appendPadded(day.month, 2, out);
    out += '-';
    appendPadded(day.day, 2, out);
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
        const auto after = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : std::uint8_t{0};
        if (c == 0xC2 && after >= 0x80 && after < 0xA0) {  // U+0080 to U+009F
            out.append(text, done, i - done);
            out += "\\u00";
            appendHex(jet::ByteView(&after, 1), out);
            done = ++i + 1;
            continue;
        }
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
    std::string escaped;
    for (const char c : text) {
        if (c == '\t')
            escaped += "\\t";
        else if (c == '\n')
            escaped += "\\n";
        else if (c == '\r')
            escaped += "\\r";
        else if (c == '\\')
            escaped += "\\\\";
        else
            escaped += c;
    }
    out += withoutControls(escaped);
}

// Writes a value; what only one of the forms needs is left to Form.
template <typename Form>
struct Writer {
    std::string& out;

    void operator()(jet::Null) const { Form::null(out); }
    void operator()(bool v) const { out += v ? "true" : "false"; }
    void operator()(std::uint8_t v) const { appendNumber(v, out); }
    void operator()(std::int16_t v) const { appendNumber(v, out); }
    void operator()(std::int32_t v) const { appendNumber(v, out); }
    void operator()(jet::Currency v) const { out += jet::toText(v); }
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
    static void null(std::string& out) { out += "\\N"; }
    static void quote(std::string& /*out*/) {}
    static void text(std::string_view v, std::string& out) { appendPlainText(v, out); }
};

struct Csv {
    static void null(std::string& /*out*/) {}
    static void quote(std::string& /*out*/) {}
    static void text(std::string_view v, std::string& out) {
        if (!v.empty() && v.find_first_of(",\"\r\n") == std::string_view::npos && v.front() != ' ' && v.back() != ' ') {
            out += v;
            return;
        }
        out += '"';
        for (const char c : v) {
            out += c;
            if (c == '"')
                out += c;
        }
        out += '"';
    }
};

}  // namespace

Output::Output() : m_terminal(isTerminal(1)) {}

void Output::flush() {
    if (m_terminal) {
        for (std::size_t at = 0; (at = m_text.find("\r\n", at)) != std::string::npos;)
            m_text.erase(at, 1);
        m_text = withoutControls(m_text);
    }
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

void appendCsv(const jet::Value& value, std::string& out) {
    std::visit(Writer<Csv>{out}, value);
}

std::vector<std::string> jsonKeys(const std::vector<std::string>& names) {
    std::vector<std::string> keys;
    std::set<std::string> taken;
    for (const std::string& name : names) {
        std::string own = name;
        for (int n = 2; !taken.insert(own).second; ++n)
            own = name + " (" + std::to_string(n) + ")";
        std::string key = keys.empty() ? "{" : ",";
        appendJsonText(own, key);
        keys.push_back(key + ":");
    }
    return keys;
}
