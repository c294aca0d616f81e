// SPDX-License-Identifier: MIT
#include "find/basFind.h"

#include <algorithm>

#include "controls/list_view.h"

namespace {

bool IsAscii(std::string_view str) {
    return std::all_of(str.begin(), str.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// The list shows blanks instead.
bool HasControls(std::string_view str) {
    return std::any_of(str.begin(), str.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

char Lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// A row's cell compared without making a QString of it wherever that gives the same answer.
class Matcher {
 public:
    Matcher(const QString& strFind, FindMatch fmtMatch)
        : strText(strFind), strUtf8(strFind.toStdString()), match(fmtMatch), blnAscii(IsAscii(strUtf8)) {
        std::transform(strUtf8.begin(), strUtf8.end(), std::back_inserter(strLower), Lower);
    }

    [[nodiscard]] bool operator()(std::string_view strCell) const {
        if (match == FindMatch::WholeField)
            return strCell == strUtf8;
        if (match == FindMatch::StartOfField)
            return strCell.starts_with(strUtf8);
        if (blnAscii && IsAscii(strCell)) {
            const auto same = [](char a, char b) { return Lower(a) == b; };
            return std::search(strCell.begin(), strCell.end(), strLower.begin(), strLower.end(), same) !=
                       strCell.end() ||
                   strLower.empty();
        }
        const QString str = QString::fromUtf8(strCell.data(), static_cast<qsizetype>(strCell.size()));
        return FindMatches(str, strText, match);
    }

 private:
    QString strText;
    std::string strUtf8;
    std::string strLower;
    FindMatch match;
    bool blnAscii;
};

}  // namespace

bool FindMatches(const QString& strCell, const QString& strFind, FindMatch match) {
    switch (match) {
        case FindMatch::WholeField:
            return strCell == strFind;
        case FindMatch::StartOfField:
            return strCell.startsWith(strFind);
        case FindMatch::AnyPart:
            break;
    }
    return strCell.contains(strFind, Qt::CaseInsensitive);
}

int FindRow(const controls::ListView& lvw, int intColumn, const QString& strFind, FindMatch match, int intStart,
            bool blnDown) {
    const Matcher blnMatches(strFind, match);
    const int intStep = blnDown ? 1 : -1;
    for (int intRow = intStart + intStep; intRow >= 0 && intRow < lvw.rowCount(); intRow += intStep)
        if (const std::string_view strCell = lvw.utf8(intRow, intColumn);
            HasControls(strCell) ? FindMatches(lvw.shownText(intRow, intColumn), strFind, match) : blnMatches(strCell))
            return intRow;
    return -1;
}
