// SPDX-License-Identifier: MIT
#include "controls/tree_view.h"

#include "activate.h"
#include "vbrt/error.h"

#include <QLineEdit>
#include <QPixmap>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>

using controls::TreeView;

namespace {

QIcon coloured(Qt::GlobalColor color) {
    QPixmap pixmap(16, 16);
    pixmap.fill(color);
    return pixmap;
}

// A root "r" with children a, b, c, shown beside a button that can take the focus.
class Window : public QWidget {
 public:
    TreeView tree;
    QPushButton other{"other"};

    Window() {
        auto* layout = new QVBoxLayout(this);
        layout->addWidget(&tree);
        layout->addWidget(&other);
        tree.setImage("closed", coloured(Qt::red));
        tree.setImage("open", coloured(Qt::green));
        tree.addNode("", "r", "Envelopes", "closed", "open");
        for (const char* name : {"a", "b", "c"})
            tree.addNode("r", name, name, "closed", "open");
        tree.expandNode(1);
        resize(300, 300);
        show();
        activate(this);
        tree.setFocus();
        QTest::qWait(1);
    }

    [[nodiscard]] QPoint at(int node) const {
        const QModelIndex root = tree.model()->index(0, 0);
        const QRect row = tree.visualRect(node == 1 ? root : tree.model()->index(node - 2, 0, root));
        return {row.left() + 25, row.center().y()};
    }
    void click(int node, Qt::MouseButton button = Qt::LeftButton) {
        QTest::mouseClick(tree.viewport(), button, {}, at(node));
    }
    [[nodiscard]] QLineEdit* editor() const { return tree.findChild<QLineEdit*>(); }
};

QString dump(const TreeView& tree) {
    QStringList nodes;
    for (int node = 1; node <= tree.nodeCount(); ++node)
        nodes += (node == tree.selectedNode() ? "*" : "") + tree.nodeKey(node) + "=" + tree.nodeText(node);
    return nodes.join(" ");
}

}  // namespace

class tst_tree_view : public QObject {
    Q_OBJECT

 private slots:
    void nodes();
    void images();
    void removal_data();
    void removal();
    void clicks();
    void rightClick();
    void keyboard();
    void keyDown();
    void collapse();
    void manyNodes();

    void labelEdit_data();
    void labelEdit();
    void labelEditByClick();
    void firstClickOnlyFocuses();
    void leavingCommitsBeforeTheNextClick();
    void handlerMayTakeTheFocus();
    void handlerMayReload();
    void removalEndsTheEdit();
    void beforeLabelEdit();
};

void tst_tree_view::nodes() {
    Window window;
    TreeView& tree = window.tree;
    QCOMPARE(dump(tree), "r=Envelopes a=a b=b c=c");
    QCOMPARE(tree.selectedNode(), 0);
    QCOMPARE(tree.nodeOfKey("b"), 3);
    QCOMPARE(tree.nodeOfKey("x"), 0);
    // An envelope may be called as the root's key is; the root still answers to it.
    QCOMPARE(tree.addNode("r", "r", "r", "closed", "open"), 5);
    QCOMPARE(tree.addNode("r", "123", "Tom & Jerry", "closed", "open"), 6);
    QCOMPARE(tree.nodeOfKey("r"), 1);
    tree.selectNode(6);
    tree.ensureVisible(6);
    tree.setNodeText(6, "Jerry");
    QCOMPARE(dump(tree), "r=Envelopes a=a b=b c=c r=r *123=Jerry");
    try {
        tree.addNode("nobody", "k", "t", "closed", "open");
        QFAIL("a parent that does not exist");
    } catch (const vbrt::Error& error) {
        QCOMPARE(error.number(), 35601L);
    }
    tree.clearNodes();
    QCOMPARE(tree.nodeCount(), 0);
    QCOMPARE(tree.selectedNode(), 0);
    QCOMPARE(tree.addNode("", "r", "again", "closed", "open"), 1);
}

void tst_tree_view::images() {
    Window window;
    window.tree.selectNode(2);
    QCOMPARE(window.tree.nodeImage(2), "open");
    QCOMPARE(window.tree.nodeImage(3), "closed");
    // Pixels of exactly that colour: a selected picture is not tinted either.
    const auto pixels = [&window](int node, Qt::GlobalColor color) {
        const QImage image = window.tree.viewport()->grab().toImage();
        int count = 0;
        for (int x = 0; x < image.width(); ++x)
            count += image.pixelColor(x, window.at(node).y()) == QColor(color) ? 1 : 0;
        return count;
    };
    QCOMPARE(pixels(2, Qt::green), 16);
    QCOMPARE(pixels(3, Qt::red), 16);
    window.tree.selectNode(3);
    QCOMPARE(pixels(3, Qt::green), 16);
    QCOMPARE(pixels(2, Qt::red), 16);
}

void tst_tree_view::removal_data() {
    QTest::addColumn<int>("selected");
    QTest::addColumn<int>("removed");
    QTest::addColumn<QString>("left");
    QTest::newRow("selected: the next sibling") << 2 << 2 << "r=Envelopes *b=b c=c";
    QTest::newRow("selected last: the parent") << 4 << 4 << "*r=Envelopes a=a b=b";
    QTest::newRow("another: the selection stays") << 4 << 2 << "r=Envelopes b=b *c=c";
    QTest::newRow("nothing selected") << 0 << 3 << "r=Envelopes a=a c=c";
    QTest::newRow("root, with the selection inside") << 3 << 1 << "";
}

void tst_tree_view::removal() {
    QFETCH(int, selected);
    QFETCH(int, removed);
    Window window;
    window.tree.selectNode(selected);
    QSignalSpy clicks(&window.tree, &TreeView::nodeClick);
    window.tree.removeNode(removed);
    QTEST(dump(window.tree), "left");
    QCOMPARE(clicks.count(), 0);
}

void tst_tree_view::clicks() {
    Window window;
    QList<int> clicked;
    connect(&window.tree, &TreeView::nodeClick, this, [&clicked](int node) { clicked += node; });
    window.click(3);
    QCOMPARE(clicked, QList<int>({3}));
    QCOMPARE(window.tree.selectedNode(), 3);
    window.click(1);
    window.click(1);
    QCOMPARE(clicked, QList<int>({3, 1, 1}));
    QTest::mouseClick(window.tree.viewport(), Qt::LeftButton, {}, QPoint(100, 200));  // below the nodes
    QCOMPARE(clicked.size(), 3);
    QTest::mousePress(window.tree.viewport(), Qt::LeftButton, {}, window.at(2));
    QCOMPARE(clicked.size(), 3);  // not before the release
    QTest::mouseRelease(window.tree.viewport(), Qt::LeftButton, {}, QPoint(100, 200));
    QCOMPARE(clicked.last(), window.tree.selectedNode());
    QTest::mouseClick(window.tree.viewport(), Qt::LeftButton, Qt::ControlModifier, window.at(2));
    QCOMPARE(window.tree.selectedNode(), 2);
    window.tree.selectNode(4);  // by program
    QCOMPARE(clicked.last(), 2);
}

void tst_tree_view::rightClick() {
    Window window;
    QStringList events;
    connect(&window.tree, &TreeView::nodeClick, this, [&](int node) { events += QString::number(node); });
    connect(&window.tree, &TreeView::rightMouseUp, this, [&](const QPoint&) { events += "menu"; });
    window.click(4, Qt::RightButton);
    QContextMenuEvent menuKey(QContextMenuEvent::Keyboard, {}, {});
    QCoreApplication::sendEvent(window.tree.viewport(), &menuKey);
    QCOMPARE(events, QStringList({"4", "menu", "menu"}));
}

void tst_tree_view::keyboard() {
    Window window;
    QList<int> clicked;
    connect(&window.tree, &TreeView::nodeClick, this, [&clicked](int node) { clicked += node; });
    QTest::keyClick(&window.tree, Qt::Key_Down);  // nothing was selected, although the tree has the focus
    QTest::keyClick(&window.tree, Qt::Key_Down);
    QTest::keyClick(&window.tree, Qt::Key_End);
    QTest::keyClick(&window.tree, Qt::Key_End);  // no move, no click
    QTest::keyClick(&window.tree, 'b');
    QCOMPARE(clicked, QList<int>({1, 2, 4, 3}));
    QCOMPARE(window.tree.selectedNode(), 3);
}

void tst_tree_view::keyDown() {
    Window window;
    window.tree.selectNode(2);
    connect(&window.tree, &TreeView::keyDown, this, [&](QKeyEvent* event) {
        if (event->key() == Qt::Key_Down)
            event->accept();
    });
    QTest::keyClick(&window.tree, Qt::Key_Down);
    QCOMPARE(window.tree.selectedNode(), 2);
    QTest::keyClick(&window.tree, Qt::Key_Up);
    QCOMPARE(window.tree.selectedNode(), 1);
}

void tst_tree_view::collapse() {
    Window window;
    window.tree.selectNode(1);
    QSignalSpy collapsed(&window.tree, &TreeView::nodeCollapsed);
    connect(&window.tree, &TreeView::nodeCollapsed, &window.tree, &TreeView::expandNode);
    QTest::keyClick(&window.tree, Qt::Key_Left);
    QCOMPARE(collapsed.count(), 1);
    QCOMPARE(collapsed.first().first().toInt(), 1);
    QVERIFY(window.tree.isNodeExpanded(1));
}

void tst_tree_view::manyNodes() {
    Window window;
    for (int i = 0; i < 5'000; ++i)
        window.tree.addNode("r", QString::number(i), QString::number(i), "closed", "open");
    window.tree.selectNode(window.tree.nodeCount());
    window.tree.ensureVisible(window.tree.nodeCount());
    QCOMPARE(window.tree.nodeText(window.tree.selectedNode()), "4999");
    window.tree.removeNode(2'000);
    QCOMPARE(window.tree.nodeOfKey("4999"), 5'003);
}

void tst_tree_view::labelEdit_data() {
    QTest::addColumn<QString>("typed");
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("cancel");
    QTest::addColumn<QStringList>("handed");
    QTest::addColumn<QString>("label");
    QTest::newRow("Enter") << "Rent" << int(Qt::Key_Return) << false << QStringList{"Rent"} << "Rent";
    QTest::newRow("refused by the handler") << "Rent" << int(Qt::Key_Return) << true << QStringList{"Rent"} << "b";
    QTest::newRow("Esc") << "Rent" << int(Qt::Key_Escape) << false << QStringList{} << "b";
    QTest::newRow("empty text") << "" << int(Qt::Key_Return) << false << QStringList{""} << "";
    QTest::newRow("unchanged") << "b" << int(Qt::Key_Enter) << false << QStringList{"b"} << "b";
    QTest::newRow("leaving by Tab") << "Rent" << int(Qt::Key_Tab) << false << QStringList{"Rent"} << "Rent";
}

void tst_tree_view::labelEdit() {
    QFETCH(QString, typed);
    QFETCH(int, key);
    QFETCH(bool, cancel);
    Window window;
    window.tree.selectNode(3);
    QStringList handed;
    connect(&window.tree, &TreeView::afterLabelEdit, this, [&](const QString& text, bool& refuse) {
        handed += text;
        QVERIFY(!window.tree.isEditing());
        QCOMPARE(window.tree.nodeText(3), "b");
        refuse = cancel;
    });
    int keysSeen = 0;
    connect(&window.tree, &TreeView::keyDown, this, [&keysSeen] { ++keysSeen; });
    window.tree.startLabelEdit();
    QVERIFY(window.tree.isEditing());
    QLineEdit* const editor = window.editor();
    QVERIFY(editor != nullptr && editor->hasFocus());
    QCOMPARE(editor->selectedText(), "b");
    window.tree.startLabelEdit();  // once more changes nothing
    QCOMPARE(window.editor(), editor);
    editor->clear();
    QTest::keyClicks(editor, typed);
    QTest::keyClick(editor, Qt::Key_F2);
    QTest::keyClick(editor, static_cast<Qt::Key>(key));
    QTRY_VERIFY(!window.tree.isEditing());
    QTEST(handed, "handed");
    QTEST(window.tree.nodeText(3), "label");
    QCOMPARE(window.tree.nodeKey(3), "b");
    QCOMPARE(window.tree.selectedNode(), 3);
    QCOMPARE(keysSeen, 0);
    QTRY_VERIFY(window.editor() == nullptr);
    QVERIFY(window.tree.hasFocus());
}

void tst_tree_view::labelEditByClick() {
    Window window;
    window.click(3);
    QTest::qWait(QApplication::doubleClickInterval() + 100);
    QVERIFY(!window.tree.isEditing());
    QTest::mouseDClick(window.tree.viewport(), Qt::LeftButton, {}, window.at(3));
    QTest::qWait(QApplication::doubleClickInterval() + 100);
    QVERIFY(!window.tree.isEditing());
    window.click(3);
    QTRY_VERIFY(window.tree.isEditing());
    QTest::keyClick(window.editor(), Qt::Key_Escape);
    QTRY_VERIFY(!window.tree.isEditing());
}

void tst_tree_view::firstClickOnlyFocuses() {
    Window window;
    window.tree.selectNode(3);
    window.other.setFocus();
    QTRY_VERIFY(window.other.hasFocus());
    window.click(3);
    QVERIFY(window.tree.hasFocus());
    QTest::qWait(QApplication::doubleClickInterval() + 100);
    QVERIFY(!window.tree.isEditing());
}

void tst_tree_view::leavingCommitsBeforeTheNextClick() {
    Window window;
    window.tree.selectNode(3);
    QStringList events;
    connect(&window.tree, &TreeView::afterLabelEdit, this,
            [&](const QString& text, bool&) { events += text + " on " + QString::number(window.tree.selectedNode()); });
    connect(&window.tree, &TreeView::nodeClick, this, [&](int node) { events += QString::number(node); });
    window.tree.startLabelEdit();
    window.editor()->setText("Rent");
    window.click(2);
    QCOMPARE(events, QStringList({"Rent on 3", "2"}));
    QCOMPARE(dump(window.tree), "r=Envelopes *a=a b=Rent c=c");
}

// A message box in the handler takes the focus from the editor; that must not end the edit a second time.
void tst_tree_view::handlerMayTakeTheFocus() {
    Window window;
    window.tree.selectNode(3);
    int calls = 0;
    connect(&window.tree, &TreeView::afterLabelEdit, this, [&](const QString&, bool& cancel) {
        ++calls;
        window.other.setFocus();
        QTest::qWait(10);
        cancel = true;
    });
    window.tree.startLabelEdit();
    window.editor()->setText("taken");
    QTest::keyClick(window.editor(), Qt::Key_Return);
    QTRY_COMPARE(calls, 1);
    QTest::qWait(10);
    QCOMPARE(calls, 1);
    QCOMPARE(window.tree.nodeText(3), "b");
}

void tst_tree_view::handlerMayReload() {
    Window window;
    window.tree.selectNode(3);
    int calls = 0;
    connect(&window.tree, &TreeView::afterLabelEdit, this, [&](const QString&, bool&) {
        ++calls;
        window.tree.clearNodes();
        window.tree.addNode("", "r", "new root", "closed", "open");
    });
    window.tree.startLabelEdit();
    window.editor()->setText("Rent");
    QTest::keyClick(window.editor(), Qt::Key_Return);
    QTRY_COMPARE(calls, 1);
    QCOMPARE(dump(window.tree), "r=new root");
}

void tst_tree_view::removalEndsTheEdit() {
    Window window;
    window.tree.selectNode(3);
    int commits = 0;
    connect(&window.tree, &TreeView::afterLabelEdit, this, [&commits] { ++commits; });
    window.tree.startLabelEdit();
    window.tree.removeNode(3);
    QTRY_VERIFY(window.editor() == nullptr);
    QVERIFY(!window.tree.isEditing());
    window.tree.startLabelEdit();
    window.tree.clearNodes();
    QTRY_VERIFY(window.editor() == nullptr);
    QCOMPARE(commits, 0);
}

void tst_tree_view::beforeLabelEdit() {
    Window window;
    connect(&window.tree, &TreeView::beforeLabelEdit, this,
            [&](bool& cancel) { cancel = window.tree.selectedNode() == 1; });
    window.tree.selectNode(1);
    window.tree.startLabelEdit();
    QVERIFY(!window.tree.isEditing());
    window.tree.selectNode(2);
    window.tree.startLabelEdit();
    QVERIFY(window.tree.isEditing());
}

QTEST_MAIN(tst_tree_view)
#include "tst_tree_view.moc"
