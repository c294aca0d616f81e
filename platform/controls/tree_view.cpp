// SPDX-License-Identifier: MIT
#include "controls/tree_view.h"

#include "controls/pane_focus.h"
#include "vbrt/error.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QStyledItemDelegate>
#include <algorithm>
#include <cassert>
#include <utility>

namespace controls {

namespace {

constexpr long kElementNotFound = 35601;

enum Role { kKey = Qt::UserRole, kImage, kSelectedImage };

// Shows the second picture of a node while it is selected.
class NodeDelegate : public QStyledItemDelegate {
 public:
    NodeDelegate(const QHash<QString, QIcon>& images, QObject* parent)
        : QStyledItemDelegate(parent), m_images(images) {}

 protected:
    bool eventFilter(QObject* editor, QEvent* event) override {
        if (event->type() == QEvent::FocusOut) {
            const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
            if (reason == Qt::MenuBarFocusReason || reason == Qt::PopupFocusReason)
                return false;
        }
        return QStyledItemDelegate::eventFilter(editor, event);
    }

    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        const bool selected = option->state.testFlag(QStyle::State_Selected);
        const QIcon icon = m_images.value(index.data(selected ? kSelectedImage : kImage).toString());
        if (icon.isNull())
            return;
        option->icon = selected ? untinted(icon, *option) : icon;
        option->features |= QStyleOptionViewItem::HasDecoration;
    }

 private:
    // Styles tint the picture of a selected row unless the icon brings one of its own for it.
    static QIcon untinted(const QIcon& icon, const QStyleOptionViewItem& option) {
        const qreal scale = option.widget != nullptr ? option.widget->devicePixelRatioF() : 1;
        const QPixmap picture = icon.pixmap(option.decorationSize, scale);
        QIcon result(picture);
        result.addPixmap(picture, QIcon::Selected);
        return result;
    }

    const QHash<QString, QIcon>& m_images;
};

}  // namespace

TreeView::TreeView(QWidget* parent) : QTreeWidget(parent) {
    setColumnCount(1);
    setHeaderHidden(true);
    setUniformRowHeights(true);
    setExpandsOnDoubleClick(true);
    setSelectionMode(SingleSelection);
    setEditTriggers(SelectedClicked);
    setItemDelegate(new NodeDelegate(m_images, this));
    setTextElideMode(Qt::ElideRight);
    setTabKeyNavigation(false);
    connect(this, &QTreeWidget::itemCollapsed, this,
            [this](QTreeWidgetItem* collapsed) { emit nodeCollapsed(indexOf(collapsed)); });
}

TreeView::~TreeView() = default;

void TreeView::setImage(const QString& key, const QIcon& icon) {
    m_images.insert(key, icon);
    viewport()->update();
}

int TreeView::addNode(const QString& parentKey, const QString& key, const QString& text, const QString& image,
                      const QString& selectedImage) {
    const int parent = parentKey.isEmpty() ? 0 : nodeOfKey(parentKey);
    if (parent == 0 && !parentKey.isEmpty())
        throw vbrt::Error(kElementNotFound, "Element not found");
    auto* node = new QTreeWidgetItem({text});
    node->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsEditable);
    node->setData(0, kKey, key);
    node->setData(0, kImage, image);
    node->setData(0, kSelectedImage, selectedImage);
    if (parent == 0)
        addTopLevelItem(node);
    else
        item(parent)->addChild(node);
    m_nodes.push_back(node);
    return nodeCount();
}

void TreeView::removeNode(int node) {
    QTreeWidgetItem* const gone = item(node);
    m_edited = QModelIndex();
    bool selectionGoes = false;
    for (const QTreeWidgetItem* at = currentItem(); at != nullptr && selectedNode() != 0; at = at->parent())
        selectionGoes = selectionGoes || at == gone;

    QTreeWidgetItem* heir = nullptr;
    if (selectionGoes) {
        QTreeWidgetItem* const parent = gone->parent() != nullptr ? gone->parent() : invisibleRootItem();
        const int place = parent->indexOfChild(gone);
        heir = parent->child(place + 1);
        if (heir == nullptr)
            heir = gone->parent() != nullptr ? gone->parent() : parent->child(place - 1);
    }
    forget(gone);
    delete gone;
    if (selectionGoes)
        setCurrentItem(heir);
}

void TreeView::forget(QTreeWidgetItem* item) {
    for (int i = 0; i < item->childCount(); ++i)
        forget(item->child(i));
    m_nodes.erase(std::find(m_nodes.begin(), m_nodes.end(), item));
}

void TreeView::clearNodes() {
    m_edited = QModelIndex();
    m_nodes.clear();
    clear();
}

int TreeView::nodeCount() const {
    return static_cast<int>(m_nodes.size());
}

int TreeView::nodeOfKey(const QString& key) const {
    for (const QTreeWidgetItem* node : m_nodes) {
        if (node->data(0, kKey).toString() == key)
            return indexOf(node);
    }
    return 0;
}

QString TreeView::nodeKey(int node) const {
    return item(node)->data(0, kKey).toString();
}
QString TreeView::nodeText(int node) const {
    return item(node)->text(0);
}
void TreeView::setNodeText(int node, const QString& text) {
    item(node)->setText(0, text);
}

QString TreeView::nodeImage(int node) const {
    return item(node)->data(0, node == selectedNode() ? kSelectedImage : kImage).toString();
}

int TreeView::selectedNode() const {
    const QTreeWidgetItem* current = currentItem();
    return current != nullptr && current->isSelected() ? indexOf(current) : 0;
}

void TreeView::selectNode(int node) {
    setCurrentItem(node == 0 ? nullptr : item(node));
}

void TreeView::ensureVisible(int node) {
    scrollToItem(item(node));
}
void TreeView::expandNode(int node) {
    item(node)->setExpanded(true);
}
bool TreeView::isNodeExpanded(int node) const {
    return item(node)->isExpanded();
}

void TreeView::startLabelEdit() {
    if (selectedNode() == 0 || isEditing())
        return;
    // Stops the wait for the second half of a double click, during which nothing else may open the editor.
    QTreeWidget::edit(currentIndex(), DoubleClicked, nullptr);
    m_starting = true;
    editItem(currentItem());
    m_starting = false;
}

void TreeView::commitLabelEdit() {
    if (m_edited.isValid())
        commitData(indexWidget(m_edited));
}

bool TreeView::isEditing() const {
    return state() == EditingState;
}

QTreeWidgetItem* TreeView::item(int node) const {
    assert(node >= 1 && node <= nodeCount());
    return m_nodes[static_cast<std::size_t>(node - 1)];
}

int TreeView::indexOf(const QTreeWidgetItem* item) const {
    const auto at = std::find(m_nodes.begin(), m_nodes.end(), item);
    return at == m_nodes.end() ? 0 : static_cast<int>(at - m_nodes.begin()) + 1;
}

// Of the application while a label is edited: Esc may go to a menu.
bool TreeView::eventFilter(QObject* watched, QEvent* event) {
    if (!m_edited.isValid())
        qApp->removeEventFilter(this);
    else if (event->type() == QEvent::KeyPress && watched->isWidgetType() &&
             static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && watched != indexWidget(m_edited)) {
        closeEditor(indexWidget(m_edited), QAbstractItemDelegate::RevertModelCache);
        setFocus(Qt::MenuBarFocusReason);  // a menu bar would give the focus back to the editor
    }
    return QTreeWidget::eventFilter(watched, event);
}

void TreeView::keyPressEvent(QKeyEvent* event) {
    if (isEditing())
        return;  // what the label's editor left over
    event->ignore();
    emit keyDown(event);
    if (event->isAccepted())
        return;
    const int before = selectedNode();
    QTreeWidget::keyPressEvent(event);
    if (const int after = selectedNode(); after != before && after != 0)
        emit nodeClick(after);
}

void TreeView::mousePressEvent(QMouseEvent* event) {
    m_nodeAtPress = selectedNode();
    QTreeWidget::mousePressEvent(event);
}

void TreeView::mouseReleaseEvent(QMouseEvent* event) {
    QTreeWidget::mouseReleaseEvent(event);
    m_focusedByClick = false;
    // The selection may also have moved by dragging, away from the node that was pressed.
    const int selected = selectedNode();
    const bool onSelected = selected != 0 && itemAt(event->position().toPoint()) == currentItem();
    if (selected != 0 && (onSelected || selected != m_nodeAtPress))
        emit nodeClick(selected);
    m_nodeAtPress = selected;
    if (event->button() == Qt::RightButton)
        emit rightMouseUp(event->globalPosition().toPoint());
}

void TreeView::contextMenuEvent(QContextMenuEvent* event) {
    if (event->reason() != QContextMenuEvent::Keyboard || isEditing())
        return;
    const QRect row = visualRect(currentIndex());
    const QPoint at = viewport()->rect().contains(row.bottomLeft()) ? row.bottomLeft() : QPoint();
    emit rightMouseUp(viewport()->mapToGlobal(at));
}

void TreeView::focusInEvent(QFocusEvent* event) {
    m_focusedByClick = event->reason() == Qt::MouseFocusReason;
    // Qt would make the first node current without selecting it.
    const bool none = currentItem() == nullptr;
    QTreeWidget::focusInEvent(event);
    if (none)
        selectionModel()->clearCurrentIndex();
}

bool TreeView::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event) {
    // The click that brings the focus back selects, it does not edit.
    if (trigger == SelectedClicked && m_focusedByClick)
        return false;
    // With a click, too, the editor opens by a second call, when it cannot become a double click any more.
    if (trigger != AllEditTriggers)
        return QTreeWidget::edit(index, trigger, event);
    // A click whose time has come after the focus went elsewhere.
    if (!m_starting && !hasFocus())
        return false;
    bool cancel = false;
    emit beforeLabelEdit(cancel);
    if (!cancel && QTreeWidget::edit(index, trigger, event)) {
        m_edited = index;
        qApp->installEventFilter(this);
    }
    return true;
}

// The editor goes first: the handler may show a message box, and losing the focus to it must not commit again.
void TreeView::commitData(QWidget* editor) {
    const auto* line = qobject_cast<QLineEdit*>(editor);
    const QPersistentModelIndex edited = std::exchange(m_edited, QModelIndex());
    if (line == nullptr || !edited.isValid())
        return;
    const QString text = line->text();
    QTreeWidget::closeEditor(editor, QAbstractItemDelegate::NoHint);
    bool cancel = false;
    emit afterLabelEdit(text, cancel);
    if (!cancel && edited.isValid())  // the handler may have reloaded the tree
        itemFromIndex(edited)->setText(0, text);
}

void TreeView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    if (!isEditing())
        return;  // commitData() has closed it
    m_edited = QModelIndex();
    QTreeWidget::closeEditor(editor, hint);
}

QItemSelectionModel::SelectionFlags TreeView::selectionCommand(const QModelIndex& index, const QEvent* event) const {
    const auto command = QTreeWidget::selectionCommand(index, event);
    return command.testFlag(QItemSelectionModel::Deselect) ? QItemSelectionModel::NoUpdate : command;
}

void TreeView::initViewItemOption(QStyleOptionViewItem* option) const {
    QTreeWidget::initViewItemOption(option);
    // The editor of a name belongs to the tree.
    showPaneFocus(*option, hasFocus() || state() == EditingState);
}

}  // namespace controls
