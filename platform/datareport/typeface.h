// SPDX-License-Identifier: MIT
// Typeface measures and wraps text in Arial of one size. Lengths are points.
//
// Pages must come out the same on every screen and printer. So the font is measured twenty times as large as it is
// (a pixel is a twentieth of a point), without hinting and without kerning, and painted in the same way.
#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QString>
#include <QStringView>
#include <vector>

namespace datareport {

// Pixels of Typeface::font() to a point.
inline constexpr int kUnitsPerPoint = 20;

struct TextLine {
    QString text;
    double width = 0;
};

class Typeface {
 public:
    Typeface(double size, bool bold);

    [[nodiscard]] const QFont& font() const { return m_font; }
    [[nodiscard]] double ascent() const { return m_ascent; }
    [[nodiscard]] double lineHeight() const { return m_lineHeight; }
    [[nodiscard]] double width(QStringView text) const;

    // The text in at most `lines` lines of at most `width`, broken at blanks where it can be; more than that ends in an
    // ellipsis. Line breaks in the text count when there may be several lines, else they are blanks, as control
    // characters always are. At least one line; an empty one when not even the ellipsis fits.
    [[nodiscard]] std::vector<TextLine> wrap(const QString& text, double width, int lines) const;
    // The text on one line, or the width filled with "#".
    [[nodiscard]] TextLine wholeOrFilled(const QString& text, double width) const;

 private:
    [[nodiscard]] double advance(QChar c) const;
    // How many characters at the start of the text fit into the width.
    [[nodiscard]] qsizetype fitting(QStringView text, double width) const;
    [[nodiscard]] TextLine elided(QStringView text, double width, bool always) const;

    QFont m_font;
    QFontMetricsF m_metrics;
    double m_ascent;
    double m_lineHeight;
    mutable std::vector<float> m_advances;  // of simple characters, negative: not yet measured
};

}  // namespace datareport
