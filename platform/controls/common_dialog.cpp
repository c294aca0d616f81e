// SPDX-License-Identifier: MIT
#include "controls/common_dialog.h"

#include "controls/message_box.h"
#include "controls/print_setup.h"
#include "controls/testing.h"

#include <QApplication>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLocale>
#include <QPageSize>
#include <QPrintDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QRegularExpression>
#include <memory>
#include <optional>

namespace controls {

namespace {

std::unique_ptr<QPrinter> processPrinter;

// "Budgets (*.mdb)|*.mdb;*.mda" becomes "Budgets (*.mdb *.mda)": the form in which Qt takes and shows filters. Blanks
// around descriptions and patterns do not count; a description without patterns is left out.
QStringList nameFilters(const QString& filter) {
    static const QRegularExpression ownPatterns(QStringLiteral("\\s*\\([^()]*\\)\\s*$"));
    static const QRegularExpression separators(QStringLiteral("[;\\s]+"));
    const QStringList parts = filter.split(u'|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QStringList patterns = parts[i + 1].split(separators, Qt::SkipEmptyParts);
        if (!patterns.isEmpty())
            filters +=
                QStringLiteral("%1 (%2)").arg(QString(parts[i]).remove(ownPatterns).trimmed(), patterns.join(u' '));
    }
    return filters;
}

QString withoutDot(const QString& extension) {
    return extension.startsWith(u'.') ? extension.mid(1) : extension;
}

// The name typed, made a whole path with an extension.
QString completed(const QString& name, const CommonDialog& dialog) {
    const QFileInfo info(QDir(dialog.initDir), name);
    const QString path = QDir::cleanPath(info.absoluteFilePath());
    const QString extension = withoutDot(dialog.defaultExt);
    if (extension.isEmpty() || info.fileName().contains(u'.') || info.isFile())
        return QDir::toNativeSeparators(path);
    return QDir::toNativeSeparators(path + u'.' + extension);
}

// Why the file cannot be taken, as a sentence; nothing when it can.
QString refusal(const QString& path, int flags) {
    const QFileInfo info(path);
    if ((flags & (kPathMustExist | kFileMustExist)) != 0 && !info.absoluteDir().exists())
        return QStringLiteral("%1\rThe folder does not exist. Check the path and try again.").arg(path);
    if ((flags & kFileMustExist) != 0 && !info.exists())
        return QStringLiteral("%1\rThe file does not exist. Check the name and try again.").arg(path);
    return {};
}

}  // namespace

bool CommonDialog::showOpen() {
    return showFile(false);
}
bool CommonDialog::showSave() {
    return showFile(true);
}

bool CommonDialog::showFile(bool save) {
    const QString title = !dialogTitle.isEmpty() ? dialogTitle
                          : save                 ? QStringLiteral("Save As")
                                                 : QStringLiteral("Open");
    std::optional<QString> chosen;
    if (DialogQueue* queue = DialogQueue::current()) {
        chosen = queue->show(ShownDialog{save ? ShownDialog::Kind::Save : ShownDialog::Kind::Open, dialogTitle,
                                         fileName, filter, defaultExt, initDir, filterIndex, flags});
        if (chosen)
            chosen = completed(*chosen, *this);
    } else {
        chosen = askForFile(title, save);
    }
    if (!chosen) {
        fileTitle.clear();
        return false;
    }
    fileName = *chosen;
    fileTitle = QFileInfo(*chosen).fileName();
    return true;
}

std::optional<QString> CommonDialog::askForFile(const QString& title, bool save) {
    QFileDialog dialog(m_parent, title);
    dialog.setAcceptMode(save ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    // Even for opening: a name that does not exist is the caller's to judge, unless the flags say otherwise.
    dialog.setFileMode(QFileDialog::AnyFile);
    dialog.setOption(QFileDialog::DontConfirmOverwrite, (flags & kOverwritePrompt) == 0);
    dialog.setDefaultSuffix(withoutDot(defaultExt));
    const QStringList filters = nameFilters(filter);
    dialog.setNameFilters(filters);
    if (filterIndex >= 1 && filterIndex <= filters.size())
        dialog.selectNameFilter(filters[filterIndex - 1]);
    if (!initDir.isEmpty())
        dialog.setDirectory(initDir);
    if (!fileName.isEmpty())
        dialog.selectFile(fileName);
    while (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        const QString path = completed(dialog.selectedFiles().constFirst(), *this);
        if (const QString why = refusal(path, flags); !why.isEmpty()) {
            MsgBox(m_parent, why, MsgIcon::Exclamation, MsgButtons::Ok, title);
            continue;
        }
        if (const qsizetype index = filters.indexOf(dialog.selectedNameFilter()); index >= 0)
            filterIndex = static_cast<int>(index) + 1;
        return path;
    }
    return std::nullopt;
}

bool CommonDialog::showPrinter() {
    const bool setup = (flags & kPrintSetup) != 0;
    const QString title = setup ? QStringLiteral("Print Setup") : QStringLiteral("Print");
    if (DialogQueue* queue = DialogQueue::current())
        return queue
            ->show(ShownDialog{ShownDialog::Kind::Printer, dialogTitle, fileName, filter, defaultExt, initDir,
                               filterIndex, flags})
            .has_value();
    if (QPrinterInfo::availablePrinterNames().isEmpty()) {
        MsgBox(m_parent, QStringLiteral("No printer is installed. Install a printer, then try again."),
               MsgIcon::Exclamation, MsgButtons::Ok, title);
        return false;
    }
    if (setup)
        return PrintSetup(printer(), m_parent).exec() == QDialog::Accepted;
    return QPrintDialog(&printer(), m_parent).exec() == QDialog::Accepted;
}

QPageSize ownPaper(const QPrinterInfo& info) {
    const QPageSize paper = info.isNull() ? QPageSize() : info.defaultPageSize();
    if (paper.isValid())
        return paper;
    static const QList<QLocale::Territory> letter = {QLocale::UnitedStates, QLocale::Canada,     QLocale::Mexico,
                                                     QLocale::Colombia,     QLocale::Venezuela,  QLocale::Chile,
                                                     QLocale::Guatemala,    QLocale::PuertoRico, QLocale::Philippines};
    return QPageSize(letter.contains(QLocale::system().territory()) ? QPageSize::Letter : QPageSize::A4);
}

QPrinter& printer() {
    if (!processPrinter) {
        processPrinter = std::make_unique<QPrinter>(QPrinter::HighResolution);
        processPrinter->setPageSize(ownPaper(QPrinterInfo(*processPrinter)));
        qAddPostRoutine([] { processPrinter.reset(); });  // it must not outlive the application
    }
    return *processPrinter;
}

}  // namespace controls
