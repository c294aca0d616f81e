// SPDX-License-Identifier: MIT
// SidePane is the left side of the help window: the tabs Contents, Index and Search.
#pragma once

#include "chm/file.h"
#include "htmlhelp/search.h"

#include <QTabWidget>
#include <memory>
#include <optional>

class QLabel;
class QLineEdit;
class QListWidget;
class QListWidgetItem;
class QTreeWidget;
class QTreeWidgetItem;

namespace htmlhelp {

class SidePane : public QTabWidget {
    Q_OBJECT

 public:
    explicit SidePane(QWidget* parent = nullptr);

    void setFile(std::shared_ptr<const chm::File> file);

    void showContents();
    void showIndex();
    void showSearch();

    // Selects in the contents what is shown: the entry of the anchor, else one of the page.
    void markPlace(const QString& path);

 signals:
    // A page was chosen; the words are those that were searched for.
    void pageChosen(const QString& path, const QStringList& words);

 private:
    QWidget* makeIndex();
    QWidget* makeSearch();
    void fillContents(QTreeWidgetItem* parent, const std::vector<chm::Entry>& entries);
    void fillIndex(const QString& parent, const std::vector<chm::Entry>& entries);
    void openContentsItem(QTreeWidgetItem* item);
    void openListItem(QListWidgetItem* item);
    void openFirst();
    void filterIndex(const QString& text);
    void searchPages(const QString& text);
    bool eventFilter(QObject* watched, QEvent* event) override;

    std::shared_ptr<const chm::File> m_file;
    std::optional<QList<PageText>> m_pages;  // read at the first search
    QTreeWidget* m_contents;
    QLineEdit* m_indexText;
    QListWidget* m_indexList;
    QLineEdit* m_searchText;
    QListWidget* m_searchList;
    QLabel* m_searchCount;
};

}  // namespace htmlhelp
