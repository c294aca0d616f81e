// SPDX-License-Identifier: MIT
#include "datareport/typeface.h"

#include <QTextBoundaryFinder>
#include <algorithm>

namespace datareport {

namespace {

constexpr QChar kEllipsis = u'\u2026';
constexpr char16_t kEndOfSimple = 0x2122 + 1;

// Latin letters, figures and the usual marks: one glyph a character, whatever stands beside it.
bool isSimple(QChar c) {
    const char16_t code = c.unicode();
    return code < 0x250 || (code >= 0x2010 && code <= 0x2027) || (code >= 0x2030 && code <= 0x205E) ||
           (code >= 0x20A0 && code <= 0x20BF) || code == 0x2122;
}

bool isSimple(QStringView text) {
    return std::all_of(text.begin(), text.end(), [](QChar c) { return isSimple(c); });
}

bool isLineBreak(QChar c) {
    return c == u'\n' || c == u'\r' || c == QChar::LineSeparator || c == QChar::ParagraphSeparator;
}

bool isControl(QChar c) {
    return c.category() == QChar::Other_Control || isLineBreak(c);
}

// Line breaks as "\n" or as blanks, control characters as blanks.
QString cleaned(const QString& text, bool keepBreaks) {
    if (std::none_of(text.begin(), text.end(), isControl))
        return text;
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n')
            ++i;
        if (!isControl(text[i]))
            result += text[i];
        else
            result += keepBreaks && isLineBreak(text[i]) ? u'\n' : u' ';
    }
    return result;
}

QStringView withoutBlanksBehind(QStringView text) {
    while (!text.isEmpty() && text.back() == u' ')
        text.chop(1);
    return text;
}

}  // namespace

Typeface::Typeface(double size, bool bold)
    : m_font([&] {
          QFont font(QStringLiteral("Arial"));
          font.setPixelSize(std::max(1, qRound(size * kUnitsPerPoint)));
          font.setBold(bold);
          font.setHintingPreference(QFont::PreferNoHinting);
          font.setKerning(false);
          font.setStyleStrategy(QFont::PreferNoShaping);
          return font;
      }()),
      m_metrics(m_font),
      m_ascent(m_metrics.ascent() / kUnitsPerPoint),
      m_lineHeight(m_metrics.lineSpacing() / kUnitsPerPoint),
      m_advances(kEndOfSimple, -1.0F) {}

double Typeface::advance(QChar c) const {
    float& known = m_advances[c.unicode()];
    if (known < 0)
        known = static_cast<float>(m_metrics.horizontalAdvance(c) / kUnitsPerPoint);
    return static_cast<double>(known);
}

double Typeface::width(QStringView text) const {
    if (!isSimple(text))
        return m_metrics.horizontalAdvance(text.toString()) / kUnitsPerPoint;
    double width = 0;
    for (const QChar c : text)
        width += advance(c);
    return width;
}

qsizetype Typeface::fitting(QStringView text, double width) const {
    if (isSimple(text)) {
        double used = 0;
        for (qsizetype i = 0; i < text.size(); ++i) {
            used += advance(text[i]);
            if (used > width)
                return i;
        }
        return text.size();
    }
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    qsizetype fits = 0;
    for (qsizetype end = finder.toNextBoundary(); end > 0; end = finder.toNextBoundary()) {
        if (this->width(text.first(end)) > width)
            break;
        fits = end;
    }
    return fits;
}

TextLine Typeface::elided(QStringView text, double width, bool always) const {
    const double whole = this->width(text);
    if (!always && whole <= width)
        return {text.toString(), whole};
    const double forText = width - advance(kEllipsis);
    if (forText < 0)
        return {};
    QString result = withoutBlanksBehind(text.first(fitting(text, forText))).toString() + kEllipsis;
    const double resultWidth = this->width(result);
    return {std::move(result), resultWidth};
}

std::vector<TextLine> Typeface::wrap(const QString& text, double width, int lines) const {
    const QString clean = cleaned(text, lines > 1);
    QStringView rest = withoutBlanksBehind(clean);
    while (lines > 1 && rest.endsWith(u'\n'))
        rest = withoutBlanksBehind(rest.chopped(1));
    std::vector<TextLine> result;
    for (int line = 1; line < lines; ++line) {
        const qsizetype lineBreak = rest.indexOf(u'\n');
        const QStringView paragraph = lineBreak < 0 ? rest : rest.first(lineBreak);
        qsizetype end = fitting(paragraph, width);
        if (end == paragraph.size()) {
            result.push_back({paragraph.toString(), this->width(paragraph)});
            if (lineBreak < 0)
                return result;
            rest = rest.sliced(lineBreak + 1);
            continue;
        }
        // At the last blank that fits or follows; within the word when there is none.
        qsizetype next = end;
        const qsizetype blank = paragraph.first(end + 1).lastIndexOf(u' ');
        if (blank > 0 && !withoutBlanksBehind(paragraph.first(blank)).isEmpty()) {
            end = blank;
            next = blank + 1;
        }
        if (next == 0)
            break;
        const QStringView shown = withoutBlanksBehind(paragraph.first(end));
        result.push_back({shown.toString(), this->width(shown)});
        rest = rest.sliced(next);
        while (rest.startsWith(u' '))
            rest = rest.sliced(1);
    }
    const qsizetype lineBreak = rest.indexOf(u'\n');
    result.push_back(elided(lineBreak < 0 ? rest : rest.first(lineBreak), width, lineBreak >= 0));
    return result;
}

TextLine Typeface::wholeOrFilled(const QString& text, double width) const {
    const double whole = this->width(text);
    if (whole <= width)
        return {text, whole};
    const double one = advance(u'#');
    const int count = static_cast<int>(width / one);
    return {QString(count, u'#'), count * one};
}

}  // namespace datareport
