// SPDX-License-Identifier: MIT
// ListView: a list in report view: column headers, rows of text cells, one selected row.
//
// Keys: Ctrl+Left and Ctrl+Right choose a column, whose heading is then framed and told to assistive technology;
// Ctrl+Enter is a click on it, Ctrl+Shift+Left and Ctrl+Shift+Right make it narrower and wider.
//
// It owns its rows (kept compactly, see row_store.h) and shows 100,000 of them at once. Rows and columns count from 0;
// column 0 is the row's own text, column n its sub-item n. "No row" is -1. A row carries a 32-bit tag, the id of the
// record it shows. Text goes in as QString or UTF-8; line breaks are kept but shown as blanks.
#pragma once

#include <QIcon>
#include <QStringList>
#include <QTreeView>
#include <array>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace controls {

class ListModel;
class ListHeader;

enum class ColumnAlignment { Left = 0, Right = 1, Center = 2 };

// Fore colours of a cell. Red is shown lighter on dark backgrounds; its value stays 255.
inline constexpr int kBlack = 0;
inline constexpr int kRed = 255;

class ListView : public QTreeView {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(ListView)

 public:
    explicit ListView(QWidget* parent = nullptr);
    ~ListView() override;

    // Columns are added once by the form that owns the list, at most 32. `tag` is the form's own word for the column (a
    // field name); `widthChars` the width in digits that it has where there is room. A column is at least as wide as
    // its heading and its cells need in the font in use; see setElasticColumns for where there is less room.
    void addColumn(const QString& header, const QString& tag, int widthChars,
                   ColumnAlignment alignment = ColumnAlignment::Left);
    [[nodiscard]] int columnCount() const;
    [[nodiscard]] QString columnHeader(int column) const;
    [[nodiscard]] QString columnTag(int column) const;
    [[nodiscard]] ColumnAlignment columnAlignment(int column) const;
    // The columns fill the list: `first` share the room that the others leave, and give way first where it is short;
    // then those of `second` give way. All keep a few letters; where there is not even room for these, the list
    // scrolls, and shows the last column that is never cut without scrolling. The others are never cut. The whole of a
    // text that is cut is its tool tip. A width that the user gives a column stays.
    void setElasticColumns(const QList<int>& first, const QList<int>& second = {});
    // Of a column, for what stands above or below it; pixels.
    void setLeastWidth(int column, int width);

    // The two pictures of the header arrows, image 0 and image 1. At most one column shows one, right of its text.
    void setHeaderImages(const QIcon& ascending, const QIcon& descending);
    // Every other column loses its image.
    void setHeaderArrow(int column, bool descending);
    void clearHeaderArrow();
    [[nodiscard]] int headerImage(int column) const;  // 0 ascending, 1 descending, -1 none

    // A load of many rows. While one is alive the view does not follow each change; when it ends, by an exception too,
    // the list is sorted (if it is sorted at all) and shown once. Nothing is selected afterwards.
    class Loading {
        Q_DISABLE_COPY_MOVE(Loading)
     public:
        explicit Loading(ListView& list);
        ~Loading();

     private:
        ListView& m_list;
    };

    // Adds a row and returns where it went: at the end, or in its place while the list is sorted. Missing cells are
    // empty. Bit n of `redCells` makes cell n red. Inside a Loading the row goes to the end and moves when it is over.
    int addRow(std::span<const std::string_view> cells, qint32 tag = 0, quint32 redCells = 0);
    int addRow(const QStringList& cells = {}, qint32 tag = 0);
    // If it was the selected one, the next row (else the last) becomes selected.
    void removeRow(int row);
    void clear();  // rows only
    [[nodiscard]] int rowCount() const;

    [[nodiscard]] QString text(int row, int column = 0) const;
    // As the list shows it: on one line, blanks where the text has line breaks and tabs.
    [[nodiscard]] QString shownText(int row, int column = 0) const;
    // text() as UTF-8, without a copy; valid until the list changes.
    [[nodiscard]] std::string_view utf8(int row, int column = 0) const;
    // A changed cell does not move its row, sorted or not.
    void setText(int row, int column, const QString& text);
    [[nodiscard]] int foreColor(int row, int column) const;  // kRed or kBlack
    void setForeColor(int row, int column, int color);       // anything but kRed counts as kBlack
    [[nodiscard]] qint32 tag(int row) const;
    void setTag(int row, qint32 tag);
    [[nodiscard]] int rowOfTag(qint32 tag) const;  // tags are unique; -1 when there is none

    [[nodiscard]] int selectedRow() const;
    void selectRow(int row);  // -1 selects none
    void ensureVisible(int row);

    // Sorts the rows by the text of a column, now and, until setSorted(false), whenever a row is added. Case does not
    // count, digits come before letters, accented letters right after the plain one; equal texts keep their order.
    // The selection stays with its row.
    void sortRows(int column, Qt::SortOrder order);
    // False: later rows go to the end; the rows stay where they are. True: sorts by the last column and order.
    void setSorted(bool sorted);
    [[nodiscard]] bool isSorted() const;
    [[nodiscard]] int sortKey() const;
    [[nodiscard]] Qt::SortOrder sortOrder() const;

    void keyboardSearch(const QString& search) override;

 signals:
    void columnClicked(int column);
    void rowDoubleClicked(int row);  // left button, on a row
    // Comes before the list's own handling, with the event ignored: accept() it to consume the key.
    void keyDown(QKeyEvent* event);
    // Release of the right button, or the keyboard's menu key. The row under the pointer is selected by then.
    void rightMouseUp(const QPoint& globalPos);
    // Another row, or the same one in another place; also by program; -1 none.
    void selectedRowChanged(int row);

 protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void changeEvent(QEvent* event) override;
    void initViewItemOption(QStyleOptionViewItem* option) const override;
    void resizeEvent(QResizeEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index, const QEvent* event) const override;

 private:
    struct Width {
        int heading = 0;      // with room for an arrow; pixels, as all here
        int least = 0;        // asked for by setLeastWidth
        int content = 0;      // of the widest cell
        bool chosen = false;  // by the user
    };
    // From the width that a column has where there is room down to the one that it has where there is none.
    struct Share {
        int plenty = 0;
        int whole = 0;
        int shared = 0;
        int readable = 0;
        int least = 0;
    };
    bool columnKey(QKeyEvent* event);
    void chooseColumn(int column);
    void measureFont();
    void measureRows(int first, int last);
    [[nodiscard]] int cellWidth(std::string_view text) const;
    [[nodiscard]] Share shareOf(int column) const;
    void shareWidth();
    void reportSelection();

    ListModel* m_model;             // child
    ListHeader* m_header;           // child
    std::vector<Width> m_widths;    // by column
    std::vector<int> m_widthChars;  // by column
    QList<int> m_first;             // elastic columns
    QList<int> m_second;
    std::array<int, 128> m_advances{};  // of ASCII characters in this font, in 1/64 pixels
    bool m_sharing = false;
    bool m_reports = true;
    bool m_anyReported = false;
};

}  // namespace controls
