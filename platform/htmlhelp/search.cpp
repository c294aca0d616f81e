// SPDX-License-Identifier: MIT
#include "htmlhelp/search.h"

#include <QFileInfo>
#include <QTextDocument>
#include <algorithm>
#include <utility>

namespace htmlhelp {

namespace {

constexpr qsizetype kMostText = qsizetype{32} << 20;
constexpr qsizetype kExcerptBefore = 30;
constexpr qsizetype kExcerptLength = 110;

// Reads a page for its words: nothing that it refers to is loaded.
class WordsOnly : public QTextDocument {
 protected:
    QVariant loadResource(int, const QUrl&) override { return {}; }
};

QString excerptAt(const QString& text, qsizetype place) {
    qsizetype start = std::max<qsizetype>(place - kExcerptBefore, 0);
    if (const qsizetype blank = text.indexOf(' ', start); start > 0 && blank >= 0 && blank < place)
        start = blank + 1;
    QString excerpt = text.mid(start, kExcerptLength);
    if (start + kExcerptLength < text.size())
        excerpt = excerpt.section(' ', 0, -2) + " \u2026";
    return start > 0 ? "\u2026 " + excerpt : excerpt;
}

}  // namespace

QList<PageText> readPages(const chm::File& file) {
    QList<PageText> pages;
    qsizetype total = 0;
    for (const std::string& path : file.pages()) {
        try {
            const std::string html = file.readText(path);
            total += static_cast<qsizetype>(html.size());
            if (total > kMostText)
                break;
            WordsOnly document;
            document.setHtml(QString::fromStdString(html));
            PageText page;
            page.path = QString::fromStdString(path);
            page.title = document.metaInformation(QTextDocument::DocumentTitle).simplified();
            if (page.title.isEmpty())
                page.title = QFileInfo(page.path).completeBaseName();
            page.text = document.toPlainText().simplified();
            // The heading repeats the title.
            if (page.text.startsWith(page.title))
                page.text = page.text.mid(page.title.size()).trimmed();
            pages.append(page);
        } catch (const chm::Error&) {
            // The other pages can be searched all the same.
        }
    }
    return pages;
}

QStringList splitWords(const QString& text) {
    QStringList words;
    const QStringList parts = text.split('"');
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (i % 2 == 1)
            words << parts[i].simplified();
        else
            words << parts[i].simplified().split(' ');
    }
    words.removeAll(QString());
    return words;
}

QList<Found> search(const QList<PageText>& pages, const QStringList& words) {
    QList<std::pair<qsizetype, Found>> found;
    for (const PageText& page : pages) {
        qsizetype rank = 0;
        qsizetype first = page.text.size();
        const bool all = !words.isEmpty() && std::ranges::all_of(words, [&](const QString& word) {
            const qsizetype inTitle = page.title.count(word, Qt::CaseInsensitive);
            const qsizetype inText = page.text.count(word, Qt::CaseInsensitive);
            rank += inTitle * 1000 + inText;
            if (inText > 0)
                first = std::min(first, page.text.indexOf(word, 0, Qt::CaseInsensitive));
            return inTitle + inText > 0;
        });
        if (all)
            found.append({rank, {page.path, page.title, excerptAt(page.text, first == page.text.size() ? 0 : first)}});
    }
    std::ranges::stable_sort(found, std::greater(), &std::pair<qsizetype, Found>::first);
    QList<Found> result;
    for (const auto& [rank, page] : found)
        result.append(page);
    return result;
}

}  // namespace htmlhelp
