// SPDX-License-Identifier: MIT
#include "htmlhelp/html_help.h"

#include "chm/file.h"
#include "htmlhelp/help_window.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFileInfo>
#include <QPointer>
#include <algorithm>
#include <memory>

namespace htmlhelp {

namespace {

struct Address {
    QString path;
    QString page;
    QString window;
};

// Path, "::" and a page, ">" and a window type.
Address parse(const QString& file) {
    Address address;
    address.path = file;
    const qsizetype window = file.lastIndexOf('>');
    if (window > file.lastIndexOf('/')) {
        address.path = file.left(window);
        address.window = file.mid(window + 1);
    }
    const qsizetype page = address.path.lastIndexOf("::");
    if (page >= 0) {
        address.page = address.path.mid(page + 2);
        address.path.truncate(page);
    }
    return address;
}

// The type named, else the first; a file without any is shown by its own title and page.
chm::WindowType windowType(const chm::File& file, const QString& name) {
    const auto& types = file.windows();
    const auto found = std::ranges::find(types, name.toStdString(), &chm::WindowType::name);
    return found != types.end() ? *found : types.empty() ? chm::WindowType() : types.front();
}

// One writing of one file.
struct Writing {
    QString path;
    QDateTime time;
    bool operator==(const Writing&) const = default;
};

QPointer<HelpWindow> window;
Writing shown;  // in the window

// Throws chm::Error before anything is shown.
void show(QWidget* caller, const Address& address, int command) {
    const QFileInfo info(address.path);
    const Writing wanted{info.absoluteFilePath(), info.lastModified()};
    const auto file = std::make_shared<const chm::File>(info.filesystemAbsoluteFilePath());
    const chm::WindowType type = windowType(*file, address.window);
    QString page = address.page;
    if (page.isEmpty())
        page = QString::fromStdString(type.defaultPage.empty() ? file->defaultPage() : type.defaultPage);
    (void)file->read(page.toStdString());

    if (window == nullptr) {
        window = new HelpWindow;
        QObject::connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, window, closeHelp);
        shown = {};
    }
    const bool fresh = shown != wanted;
    if (fresh) {
        window->setFile(file, type);
        shown = wanted;
    }
    // First the window, so that the page is laid out in its size.
    window->present(caller);
    // The index leaves the page that is there.
    if (fresh || command != HH_DISPLAY_INDEX || !address.page.isEmpty())
        window->showPage(page);
    if (command == HH_DISPLAY_INDEX)
        window->showIndex();
    else
        window->showContents();
}

}  // namespace

bool HtmlHelp(QWidget* caller, const QString& file, int command, quintptr) {
    if (command < HH_DISPLAY_TOPIC || command > HH_DISPLAY_INDEX)
        return false;
    try {
        show(caller, parse(file), command);
        return true;
    } catch (const std::exception&) {
        return false;  // missing, damaged, or no such page
    }
}

void closeHelp() {
    delete window;
}

}  // namespace htmlhelp
