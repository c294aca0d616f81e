// SPDX-License-Identifier: MIT
// HelpWindow shows one help file: contents, index and search at the left, the page at the right.
//
// It has no parent, so that no dialog of the program blocks it, and does not keep the program running. Closing hides
// it; it is shown again where it was.
#pragma once

#include "chm/file.h"

#include <QMainWindow>
#include <memory>

class QSplitter;

namespace htmlhelp {

class FindBar;
class PageView;
class SidePane;

class HelpWindow : public QMainWindow {
    Q_OBJECT

 public:
    HelpWindow();

    // Shows another file, in the way of one of its window types.
    void setFile(std::shared_ptr<const chm::File> file, const chm::WindowType& type);

    // False, and nothing changes, when the file has no such page.
    bool showPage(const QString& path);

    void showContents();
    void showIndex();

    // Brings the window to the front; the first time beside `caller`, if there is one and the screen has room.
    void present(const QWidget* caller);

 private:
    void makeToolBar();
    QAction* addCommand(const QString& name, const QString& text, const QString& icon, const QList<QKeySequence>& keys);
    void openChosen(const QString& path, const QStringList& words);
    void changeZoom(int steps);
    void printPage();
    void goHome();
    void switchSide();
    void escape();

    QSplitter* m_splitter;
    SidePane* m_side;
    PageView* m_page;
    FindBar* m_findBar;
    QString m_home;
    QSize m_size;
    bool m_placed = false;
};

// Where a window of `size` stands well: to the right of the caller, to the left of it, or, narrowed down to no less
// than two thirds, where there is more room; with no room at either side it covers the caller at the right of the
// screen.
QRect placeBeside(const QRect& caller, QSize size, const QRect& screen);

}  // namespace htmlhelp
