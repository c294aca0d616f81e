// SPDX-License-Identifier: MIT
#include "vbrt/format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

#include "vbrt/ascii.h"
#include "vbrt/convert.h"
#include "vbrt/digits.h"
#include "vbrt/names.h"

namespace vbrt {

namespace {

enum class Kind { General, Number, Date };

struct NamedPicture {
    std::string_view name;
    Kind kind;
    std::string_view picture;
};

constexpr std::array kNamedPictures{
    NamedPicture{"General Number", Kind::Number, ""},
    NamedPicture{"Currency", Kind::Number, "$#,##0.00;($#,##0.00)"},
    NamedPicture{"Fixed", Kind::Number, "0.00"},
    NamedPicture{"Standard", Kind::Number, "#,##0.00"},
    NamedPicture{"Percent", Kind::Number, "0.00%"},
    NamedPicture{"Scientific", Kind::Number, "0.00E+00"},
    NamedPicture{"Yes/No", Kind::Number, R"("Yes";"Yes";"No")"},
    NamedPicture{"True/False", Kind::Number, R"("True";"True";"False")"},
    NamedPicture{"On/Off", Kind::Number, R"("On";"On";"Off")"},
    NamedPicture{"General Date", Kind::Date, ""},
    NamedPicture{"Long Date", Kind::Date, "dddd, mmmm d, yyyy"},
    NamedPicture{"Medium Date", Kind::Date, "dd-mmm-yy"},
    NamedPicture{"Short Date", Kind::Date, "m/d/yyyy"},
    NamedPicture{"Long Time", Kind::Date, "h:mm:ss AM/PM"},
    NamedPicture{"Medium Time", Kind::Date, "hh:mm AM/PM"},
    NamedPicture{"Short Time", Kind::Date, "hh:mm"},
};

struct Resolved {
    Kind kind;
    std::string_view picture;
};

// Where the quoted or escaped text that begins at `at` ends: behind its last character.
std::size_t literalEnd(std::string_view picture, std::size_t at) {
    if (picture[at] == '"')
        return std::min(picture.find('"', at + 1), picture.size() - 1) + 1;
    return std::min(at + 2, picture.size());
}

// Appends what the quoted or escaped text at `at` stands for and returns its end. A quote left open reaches to the
// end of the picture.
std::size_t appendLiteral(std::string& out, std::string_view picture, std::size_t at) {
    const std::size_t end = literalEnd(picture, at);
    const bool closed = picture[at] == '"' && end > at + 1 && picture[end - 1] == '"';
    out += picture.substr(at + 1, end - at - 1 - (closed ? 1 : 0));
    return end;
}

// A picture is a number's when it has a digit placeholder, else a date's when it has a date letter.
Resolved resolve(std::string_view picture) {
    if (picture.empty())
        return {Kind::General, picture};
    const auto named = std::ranges::find_if(
        kNamedPictures, [picture](const NamedPicture& known) { return equalsIgnoringCase(known.name, picture); });
    if (named != kNamedPictures.end())
        return {named->kind, named->picture};
    Kind kind = Kind::Number;
    for (std::size_t i = 0; i < picture.size();) {
        const char c = toLower(picture[i]);
        if (c == '"' || c == '\\') {
            i = literalEnd(picture, i);
            continue;
        }
        if (c == '0' || c == '#')
            return {Kind::Number, picture};
        if (std::string_view("dmyhns").find(c) != std::string_view::npos)
            kind = Kind::Date;
        ++i;
    }
    return {kind, picture};
}

// --- Numbers

struct Piece {
    enum Type { Literal, Placeholder, Point, Exponent };
    Type type;
    char literal = 0;
};

// One of the sections between semicolons.
struct Section {
    std::vector<Piece> pieces;
    int integers = 0;        // placeholders before the decimal point
    int leastIntegers = 0;   // of which are printed at least, from the first "0" on
    int decimals = 0;        // placeholders behind it
    int leastDecimals = 0;   // of which are printed at least, to the last "0"
    bool thousands = false;  // a comma between two integer placeholders
    int shift = 0;  // the value is multiplied by 10^shift: 2 for "%", -3 for a comma at the end of the integers
    int exponentDigits = 0;  // 0 without an exponent
    bool exponentPlus = false;

    [[nodiscard]] bool showsDigits() const { return integers + decimals > 0; }
};

class SectionParser {
 public:
    explicit SectionParser(std::string_view picture) : m_picture(picture) {}

    std::vector<Section> parse() {
        std::vector<Section> sections(1);
        m_section = &sections.back();
        while (m_at < m_picture.size()) {
            if (m_picture[m_at] == ';') {
                ++m_at;
                endSection();
                m_section = &sections.emplace_back();
            } else {
                parsePiece();
            }
        }
        endSection();
        return sections;
    }

 private:
    void parsePiece() {
        const char c = m_picture[m_at];
        if (c == '"' || c == '\\') {
            std::string text;
            m_at = appendLiteral(text, m_picture, m_at);
            for (const char literal : text)
                addLiteral(literal);
            return;
        }
        ++m_at;
        if (c == '0' || c == '#') {
            addPlaceholder(c == '0');
        } else if (c == '.' && !m_point) {
            m_point = true;
            m_section->pieces.push_back({Piece::Point});
        } else if (c == ',' && !m_point && m_section->integers > 0) {
            ++m_commas;
        } else if (toLower(c) != 'e' || !addExponent()) {
            if (c == '%')
                m_section->shift += 2;
            addLiteral(c);
        }
    }

    void addLiteral(char c) { m_section->pieces.push_back({Piece::Literal, c}); }

    void addPlaceholder(bool zero) {
        Section& section = *m_section;
        section.pieces.push_back({Piece::Placeholder});
        if (m_point) {
            ++section.decimals;
            if (zero)
                section.leastDecimals = section.decimals;
            return;
        }
        ++section.integers;
        if (zero || section.leastIntegers > 0)
            ++section.leastIntegers;
        section.thousands = section.thousands || m_commas > 0;
        m_commas = 0;
    }

    // "E+00" or "E-00" behind a digit; m_at is behind the E.
    bool addExponent() {
        Section& section = *m_section;
        if (!section.showsDigits() || section.exponentDigits > 0 || m_at == m_picture.size() ||
            (m_picture[m_at] != '+' && m_picture[m_at] != '-'))
            return false;
        const std::size_t first = m_at + 1;
        const std::size_t last = std::min(m_picture.find_first_not_of("0#", first), m_picture.size());
        if (last == first)
            return false;
        section.exponentPlus = m_picture[m_at] == '+';
        section.exponentDigits = static_cast<int>(last - first);
        section.pieces.push_back({Piece::Exponent, m_picture[m_at - 1]});
        m_at = last;
        return true;
    }

    void endSection() {
        m_section->shift -= 3 * m_commas;
        m_commas = 0;
        m_point = false;
    }

    std::string_view m_picture;
    std::size_t m_at = 0;
    Section* m_section = nullptr;
    bool m_point = false;
    int m_commas = 0;  // since the last integer placeholder
};

// Lists format row after row by the same picture, so the last one stays parsed.
const std::vector<Section>& sectionsOf(std::string_view picture) {
    thread_local std::string lastPicture;
    thread_local std::vector<Section> sections(1);
    if (picture != lastPicture) {
        sections = SectionParser(picture).parse();
        lastPicture = picture;
    }
    return sections;
}

// The digits that the section shows: scaled, and rounded half up (away from zero for the number).
Digits rounded(Digits number, const Section& section) {
    if (number.count == 0 || !section.showsDigits())
        return number;
    number.exponent += section.shift;
    const int integers = section.exponentDigits > 0 ? section.integers : number.exponent + 1;
    const int keep = std::max(integers + section.decimals, -1);
    if (keep >= number.count)
        return number;
    bool up = keep >= 0 && number.digits[static_cast<std::size_t>(keep)] >= '5';
    number.count = std::max(keep, 0);
    for (; up && number.count > 0; --number.count) {
        char& last = number.digits[static_cast<std::size_t>(number.count - 1)];
        if (last != '9') {
            ++last;
            up = false;
            break;
        }
    }
    if (up) {
        number.digits[0] = '1';
        number.count = 1;
        ++number.exponent;
    }
    number.dropTrailingZeros();
    return number;
}

void appendExponent(std::string& out, const Section& section, char letter, int exponent) {
    out += letter;
    if (exponent < 0)
        out += '-';
    else if (section.exponentPlus)
        out += '+';
    const std::string digits = std::to_string(std::abs(exponent));
    const auto width = static_cast<std::size_t>(section.exponentDigits);
    if (digits.size() < width)
        out.append(width - digits.size(), '0');
    out += digits;
}

void appendNumber(std::string& out, Digits number, const Section& section) {
    int exponent = 0;
    if (section.exponentDigits > 0 && number.count > 0) {
        exponent = number.exponent - (section.integers - 1);
        number.exponent = section.integers - 1;
    }
    const int integers = std::max(number.count > 0 ? number.exponent + 1 : 0, section.leastIntegers);
    const int decimals = std::max(number.count > 0 ? number.count - 1 - number.exponent : 0, section.leastDecimals);
    int place = std::max(integers, section.integers);  // 10^place is the digit printed last
    const auto printIntegersTo = [&](int last) {
        while (place > last) {
            --place;
            if (place >= integers)
                continue;
            out += number.at(place);
            if (section.thousands && place > 0 && place % 3 == 0)
                out += ',';
        }
    };
    int placeholders = 0;
    for (const Piece& piece : section.pieces) {
        switch (piece.type) {
            case Piece::Literal:
                out += piece.literal;
                break;
            case Piece::Placeholder:
                ++placeholders;
                // The first integer placeholder takes all digits that have no placeholder of their own.
                if (placeholders <= section.integers)
                    printIntegersTo(section.integers - placeholders);
                else if (placeholders - section.integers <= decimals)
                    out += number.at(section.integers - placeholders);
                break;
            case Piece::Point:
                printIntegersTo(0);
                out += '.';
                break;
            case Piece::Exponent:
                appendExponent(out, section, piece.literal, exponent);
                break;
        }
    }
}

std::string formatNumber(double value, std::string_view picture) {
    if (!std::isfinite(value))
        return CStr(value);
    const std::vector<Section>& sections = sectionsOf(picture);
    // An empty section stands for the first one.
    const auto sectionOrFirst = [&sections](std::size_t index) -> const Section& {
        return index < sections.size() && !sections[index].pieces.empty() ? sections[index] : sections.front();
    };
    const Digits number = digitsOf(value);
    const Section* section = &sectionOrFirst(value < 0 ? 1 : 0);
    Digits shown = rounded(number, *section);
    bool minus = value < 0 && section == &sections.front();
    if (shown.count == 0) {
        section = &sectionOrFirst(2);
        minus = false;
    }
    std::string out(minus ? "-" : "");
    appendNumber(out, shown, *section);
    return out;
}

// --- Dates

void appendPadded(std::string& out, int number, bool twoDigits) {
    if (twoDigits && number < 10)
        out += '0';
    std::array<char, 12> digits;
    out.append(digits.data(), std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr);
}

// One run of a picture over one date.
class DateFormatter {
 public:
    DateFormatter(Date date, std::string_view picture)
        : m_parts(partsOf(date)), m_picture(picture), m_twelveHours(hasMeridiem()) {}

    std::string run() {
        while (m_at < m_picture.size()) {
            const char c = m_picture[m_at];
            if (c == '"' || c == '\\') {
                m_at = appendLiteral(m_out, m_picture, m_at);
            } else if (const std::size_t length = meridiemLength(m_at); length != 0) {
                appendMeridiem(length);
                m_at += length;
            } else if (!isLetter(c)) {
                m_out += c;
                ++m_at;
            } else {
                std::size_t end = m_at;
                while (end < m_picture.size() && toLower(m_picture[end]) == toLower(c) && end - m_at < longestRun(c))
                    ++end;
                appendField(toLower(c), m_picture.substr(m_at, end - m_at));
                m_at = end;
            }
        }
        return std::move(m_out);
    }

 private:
    static std::size_t longestRun(char letter) {
        switch (toLower(letter)) {
            case 'd':
            case 'm':
            case 'y':
                return 4;
            case 'h':
            case 'n':
            case 's':
                return 2;
            default:
                return 1;
        }
    }

    // "AM/PM", "A/P" and "AMPM" turn the hours to twelve.
    [[nodiscard]] std::size_t meridiemLength(std::size_t at) const {
        if (toLower(m_picture[at]) != 'a')
            return 0;
        for (const std::string_view mark : {"AM/PM", "AMPM", "A/P"})
            if (equalsIgnoringCase(m_picture.substr(at, mark.size()), mark))
                return mark.size();
        return 0;
    }

    [[nodiscard]] bool hasMeridiem() const {
        for (std::size_t i = 0; i < m_picture.size();) {
            if (m_picture[i] == '"' || m_picture[i] == '\\')
                i = literalEnd(m_picture, i);
            else if (meridiemLength(i) != 0)
                return true;
            else
                ++i;
        }
        return false;
    }

    // In the letters that the picture has: "am/pm" prints pm.
    void appendMeridiem(std::size_t length) {
        const std::size_t half = length / 2;
        const bool afternoon = m_parts.hour >= 12;
        m_out += m_picture.substr(afternoon ? m_at + length - half : m_at, half);
    }

    void appendField(char letter, std::string_view run) {
        const std::size_t length = run.size();
        switch (letter) {
            case 'd':
                appendDay(length);
                break;
            case 'm':
                if (m_afterHour && length <= 2)
                    appendPadded(m_out, m_parts.minute, length == 2);
                else
                    appendMonth(length);
                break;
            case 'y':
                appendPadded(m_out, length <= 2 ? m_parts.year % 100 : m_parts.year, true);
                break;
            case 'h':
                appendPadded(m_out, m_twelveHours ? (m_parts.hour + 11) % 12 + 1 : m_parts.hour, length == 2);
                break;
            case 'n':
                appendPadded(m_out, m_parts.minute, length == 2);
                break;
            case 's':
                appendPadded(m_out, m_parts.second, length == 2);
                break;
            default:
                m_out += run;
        }
        m_afterHour = letter == 'h';
    }

    void appendDay(std::size_t length) {
        const auto name = kDayNames[weekday()];
        if (length <= 2)
            appendPadded(m_out, m_parts.day, length == 2);
        else
            m_out += length == 3 ? name.substr(0, 3) : name;
    }

    void appendMonth(std::size_t length) {
        const auto name = kMonthNames[static_cast<std::size_t>(m_parts.month - 1)];
        if (length <= 2)
            appendPadded(m_out, m_parts.month, length == 2);
        else
            m_out += length == 3 ? name.substr(0, 3) : name;
    }

    // 0 is Sunday.
    [[nodiscard]] std::size_t weekday() const {
        const std::chrono::sys_days day = std::chrono::year{m_parts.year} / m_parts.month / m_parts.day;
        return std::chrono::weekday{day}.c_encoding();
    }

    DateParts m_parts;
    std::string_view m_picture;
    bool m_twelveHours;
    std::size_t m_at = 0;
    bool m_afterHour = false;  // the last field was an hour, so "mm" are minutes
    std::string m_out;
};

}  // namespace

std::string Format(double value, std::string_view picture) {
    const Resolved resolved = resolve(picture);
    if (resolved.picture.empty())
        return resolved.kind == Kind::Date ? CStr(Date{value}) : CStr(value);
    if (resolved.kind == Kind::Date)
        return DateFormatter({value}, resolved.picture).run();
    return formatNumber(value, resolved.picture);
}

std::string Format(Date value, std::string_view picture) {
    return picture.empty() ? CStr(value) : Format(value.serial, picture);
}

std::string Format(std::string_view text, std::string_view picture) {
    const Kind kind = resolve(picture).kind;
    if (kind == Kind::Date && IsDate(text))
        return Format(CDate(text), picture);
    if (kind == Kind::General || !IsNumeric(text))
        return std::string(text);
    const double value = CDbl(text);
    return kind == Kind::Date && !isInRange({value}) ? std::string(text) : Format(value, picture);
}

}  // namespace vbrt
