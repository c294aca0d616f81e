// SPDX-License-Identifier: MIT
// Search over the text of all pages of a help file.
#pragma once

#include "chm/file.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace htmlhelp {

// A page as it reads, without tags.
struct PageText {
    QString path;
    QString title;  // the page's own, else its file name
    QString text;
};

struct Found {
    QString path;
    QString title;
    QString excerpt;  // the text around the first place, one line
};

// All pages that can be read; what is more than some 32 MB of text is left out.
QList<PageText> readPages(const chm::File& file);

// Words are separated by blanks; what stands between double quotes is one of them.
QStringList splitWords(const QString& text);

// The pages that have all of the words, whatever their letter case, at the beginning or within longer ones. Pages with
// a word in their title come first, then those with more places.
QList<Found> search(const QList<PageText>& pages, const QStringList& words);

}  // namespace htmlhelp
