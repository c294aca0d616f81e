// SPDX-License-Identifier: MIT
#include "datareport/pdf.h"

#include "datareport/bookmarks.h"
#include "datareport/painter.h"
#include "vbrt/error.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QPageLayout>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>
#include <cerrno>

namespace datareport {

namespace {

constexpr long kDeviceError = 57;
constexpr int kPointsPerInch = 72;

bool isFull(const QSaveFile& file) {
    if (file.error() == QFileDevice::ResourceError)
        return true;
    const QString why = file.errorString();
#ifdef EDQUOT
    if (why == qt_error_string(EDQUOT))
        return true;
#endif
    return why == qt_error_string(EFBIG);
}

[[noreturn]] void failToOpen(const QSaveFile& file, const QString& path) {
    if (!QFileInfo(path).absoluteDir().exists())
        vbrt::raise(vbrt::kPathNotFound);
    vbrt::raise(isFull(file) ? vbrt::kDiskFull : vbrt::kPathFileAccess);
}

[[noreturn]] void failToWrite(const QSaveFile& file) {
    if (file.error() == QFileDevice::RenameError)
        vbrt::raise(vbrt::kPermissionDenied);
    vbrt::raise(isFull(file) ? vbrt::kDiskFull : kDeviceError);
}

}  // namespace

void writePdf(const Pages& pages, const QString& title, const QString& path, const Progress& progress) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        failToOpen(file, path);
    // Only what gets bookmarks passes through the memory.
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    QIODevice& target = pages.bookmarks.empty() ? static_cast<QIODevice&>(file) : buffer;
    {
        QPdfWriter writer(&target);
        writer.setTitle(title);
        writer.setCreator(QCoreApplication::applicationName());
        writer.setResolution(kPointsPerInch * kUnitsPerPoint);
        writer.setPageSize(QPageSize(pages.paper.size, QPageSize::Point, {}, QPageSize::ExactMatch));
        writer.setPageMargins({});
        QPainter painter;
        if (!painter.begin(&writer))
            vbrt::raise(kDeviceError);
        painter.scale(kUnitsPerPoint, kUnitsPerPoint);
        for (std::size_t page = 0; page < pages.pages.size(); ++page) {
            if (progress && !progress(page, pages.pages.size()))
                throw Cancelled();
            if (page > 0 && !writer.newPage())
                vbrt::raise(kDeviceError);
            paintPage(painter, pages, page);
        }
    }
    if (&target == &buffer)
        file.write(withBookmarks(buffer.data(), pages));
    if (!file.commit())
        failToWrite(file);
}

}  // namespace datareport
