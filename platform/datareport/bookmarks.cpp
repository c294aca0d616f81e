// SPDX-License-Identifier: MIT
#include "datareport/bookmarks.h"

#include <exception>
#define POINTERHOLDER_TRANSITION 4  // nothing here uses qpdf's old pointer class
#include <qpdf/QPDF.hh>
#include <qpdf/QPDFPageDocumentHelper.hh>
#include <qpdf/QPDFWriter.hh>
#include <vector>

namespace datareport {

namespace {

void addBookmarks(QPDF& pdf, const Pages& pages) {
    std::vector<QPDFPageObjectHelper> sheets = QPDFPageDocumentHelper(pdf).getAllPages();
    QPDFObjectHandle outline = pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
    QPDFObjectHandle last;
    for (const Bookmark& bookmark : pages.bookmarks) {
        // The corner from which the page is shown, from its bottom.
        const double top = pages.paper.size.height() - pages.paper.margin - bookmark.top * pages.scale;
        QPDFObjectHandle entry = pdf.makeIndirectObject(QPDFObjectHandle::newDictionary());
        entry.replaceKey("/Title", QPDFObjectHandle::newUnicodeString(bookmark.title.toStdString()));
        entry.replaceKey("/Parent", outline);
        entry.replaceKey("/Dest",
                         QPDFObjectHandle::newArray({sheets.at(bookmark.page).getObjectHandle(),
                                                     QPDFObjectHandle::newName("/XYZ"), QPDFObjectHandle::newInteger(0),
                                                     QPDFObjectHandle::newReal(top, 2), QPDFObjectHandle::newNull()}));
        if (&bookmark != &pages.bookmarks.front()) {
            entry.replaceKey("/Prev", last);
            last.replaceKey("/Next", entry);
        } else {
            outline.replaceKey("/First", entry);
        }
        last = entry;
    }
    outline.replaceKey("/Last", last);
    outline.replaceKey("/Count", QPDFObjectHandle::newInteger(static_cast<long long>(pages.bookmarks.size())));
    pdf.getRoot().replaceKey("/Outlines", outline);
    pdf.getRoot().replaceKey("/PageMode", QPDFObjectHandle::newName("/UseOutlines"));
}

}  // namespace

QByteArray withBookmarks(const QByteArray& pdf, const Pages& pages) {
    if (pages.bookmarks.empty())
        return pdf;
    try {
        QPDF file;
        file.setSuppressWarnings(true);
        file.processMemoryFile("report", pdf.constData(), static_cast<std::size_t>(pdf.size()));
        addBookmarks(file, pages);
        QPDFWriter writer(file);
        writer.setOutputMemory();
        writer.write();
        const auto written = writer.getBufferSharedPointer();
        return {reinterpret_cast<const char*>(written->getBuffer()), static_cast<qsizetype>(written->getSize())};
    } catch (const std::exception&) {
        return pdf;  // a report without bookmarks is better than none
    }
}

}  // namespace datareport
