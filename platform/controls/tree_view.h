// SPDX-License-Identifier: MIT
// TreeView: a tree of nodes with a key, a text and two pictures, one node selected, labels edited in place.
//
// It owns its nodes. A node is named by its index: 1 for the node added first, 2 for the second, ...; removing a node
// moves the indexes behind it down. "No node" is 0. Keys need not be unique: the node added first answers to a key.
#pragma once

#include <QHash>
#include <QIcon>
#include <QPersistentModelIndex>
#include <QTreeWidget>
#include <vector>

namespace controls {

class TreeView : public QTreeWidget {
    Q_OBJECT
    Q_DISABLE_COPY_MOVE(TreeView)

 public:
    explicit TreeView(QWidget* parent = nullptr);
    ~TreeView() override;

    // The pictures that nodes name by key.
    void setImage(const QString& key, const QIcon& icon);

    // Adds a node as the last child of the node with the key `parentKey`, at the top when that is empty, and returns
    // its index. Throws vbrt::Error 35601 when there is no such parent.
    int addNode(const QString& parentKey, const QString& key, const QString& text, const QString& image,
                const QString& selectedImage);
    // With its children. If the selected node goes, its next sibling is selected, else its parent, else the sibling
    // before it. A label edit in progress is given up.
    void removeNode(int node);
    void clearNodes();
    [[nodiscard]] int nodeCount() const;
    [[nodiscard]] int nodeOfKey(const QString& key) const;

    [[nodiscard]] QString nodeKey(int node) const;
    [[nodiscard]] QString nodeText(int node) const;
    void setNodeText(int node, const QString& text);
    [[nodiscard]] QString nodeImage(int node) const;  // the key of the picture shown now

    [[nodiscard]] int selectedNode() const;
    void selectNode(int node);  // by program: no nodeClick; 0 selects none
    void ensureVisible(int node);
    void expandNode(int node);
    [[nodiscard]] bool isNodeExpanded(int node) const;

    // Edits the label of the selected node. A click on the selected node does the same.
    void startLabelEdit();
    // Ends the edit as Enter would. Nothing happens when no label is edited.
    void commitLabelEdit();
    [[nodiscard]] bool isEditing() const;

 signals:
    // A click (either button), or a move of the selection by keyboard. A click on the selected node repeats it.
    void nodeClick(int node);
    void nodeCollapsed(int node);
    // Comes before the tree's own handling, with the event ignored: accept() it to consume the key. Not while editing.
    void keyDown(QKeyEvent* event);
    // Release of the right button, or the keyboard's menu key; after nodeClick.
    void rightMouseUp(const QPoint& globalPos);
    // Set cancel to keep the label from being edited.
    void beforeLabelEdit(bool& cancel);
    // The edit was ended by Enter or by leaving it; a menu does not leave it. Esc, wherever the focus is, brings
    // nothing. The text may be empty or unchanged. Set cancel to keep the old label. The editor is gone by then, so a
    // message box may be shown.
    void afterLabelEdit(const QString& newText, bool& cancel);

 protected:
    void initViewItemOption(QStyleOptionViewItem* option) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) override;
    void commitData(QWidget* editor) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index, const QEvent* event) const override;

 private:
    [[nodiscard]] QTreeWidgetItem* item(int node) const;
    [[nodiscard]] int indexOf(const QTreeWidgetItem* item) const;
    void forget(QTreeWidgetItem* item);

    QHash<QString, QIcon> m_images;
    std::vector<QTreeWidgetItem*> m_nodes;  // in order of adding; owned by the tree widget
    int m_nodeAtPress = 0;
    bool m_focusedByClick = false;
    bool m_starting = false;
    QPersistentModelIndex m_edited;
};

}  // namespace controls
