// SPDX-License-Identifier: MIT
#include "htmlhelp/page_view.h"

#include "chm/html_text.h"

#include <QBuffer>
#include <QDesktopServices>
#include <QImageReader>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextList>
#include <QWheelEvent>
#include <algorithm>

namespace htmlhelp {

namespace {

const QString kScheme = QStringLiteral("chm");
constexpr int kMargin = 14;
constexpr int kLargestPicture = 4000;
constexpr int kMostMarks = 2000;

// What a picture's own width is, when it is shown with less.
constexpr int kFullSize = QTextFormat::UserProperty + 1;

// A picture scaled to a size has it in its address, so that one picture can stand in two sizes: "?640x400".
QString sizeSuffix(QSize size) {
    return QString("?%1x%2").arg(size.width()).arg(size.height());
}

QSize sizeIn(const QUrl& url) {
    const QStringList sides = url.query().split('x');
    return sides.size() == 2 ? QSize(sides[0].toInt(), sides[1].toInt()) : QSize();
}

}  // namespace

PageView::PageView(QWidget* parent) : QTextBrowser(parent), m_fontSize(QFontInfo(font()).pointSizeF()) {
    setOpenLinks(false);
    setUndoRedoEnabled(false);
    document()->setDocumentMargin(kMargin);
    connect(this, &QTextBrowser::anchorClicked, this, &PageView::followLink);
    // sourceChanged() comes too early, before the page is read.
    connect(this, &QTextBrowser::historyChanged, this, &PageView::fitPictures);
}

void PageView::setFile(std::shared_ptr<const chm::File> file) {
    m_file = std::move(file);
    m_address.clear();
    clearHistory();
}

QUrl PageView::addressOf(const QString& path) {
    const qsizetype anchor = path.indexOf('#');
    QUrl url;
    url.setScheme(kScheme);
    url.setPath('/' + path.left(anchor), QUrl::DecodedMode);
    if (anchor >= 0)
        url.setFragment(path.mid(anchor + 1), QUrl::DecodedMode);
    return url;
}

bool PageView::showPage(const QString& path) {
    const QString name = QString::fromStdString(m_file->resolve(path.toStdString()));
    const QUrl address = addressOf(name + (path.contains('#') ? path.mid(path.indexOf('#')) : QString()));
    if (name.isEmpty() || bytesOf(address).isNull())
        return false;
    setExtraSelections({});
    const bool first = m_address.isEmpty();
    setSource(address, QTextDocument::HtmlResource);
    if (first) {
        if (m_address.isEmpty())
            reload();  // the file before had a page of this name
        clearHistory();
        fitPictures();
    }
    // Once more: the pictures above have got their sizes.
    if (address.hasFragment())
        scrollToAnchor(address.fragment());
    return true;
}

QString PageView::page() const {
    return source().path().mid(1);
}

void PageView::followLink(const QUrl& link) {
    const QUrl url = m_address.resolved(link);
    if (url.scheme() == kScheme) {
        const QString path = url.path().mid(1);
        if (!showPage(url.hasFragment() ? path + '#' + url.fragment() : path))
            emit pageMissing(path);
    } else if (url.scheme() == "http" || url.scheme() == "https" || url.scheme() == "mailto") {
        QDesktopServices::openUrl(url);
    }
}

QString PageView::place() const {
    return source().hasFragment() ? page() + '#' + source().fragment() : page();
}

// Null when the file has no such page or it is damaged.
QByteArray PageView::bytesOf(const QUrl& url) const {
    try {
        if (m_file != nullptr && url.scheme() == kScheme)
            return QByteArray::fromStdString(m_file->read(url.path().toStdString()));
    } catch (const chm::Error&) {
        // A page without one of its pictures is better than none.
    }
    return {};
}

QVariant PageView::loadResource(int type, const QUrl& name) {
    // source() is still the page before while a page is read.
    if (type == QTextDocument::HtmlResource)
        m_address = name.adjusted(QUrl::RemoveFragment);
    const QUrl url = m_address.resolved(name);
    switch (type) {
        case QTextDocument::HtmlResource:
        case QTextDocument::StyleSheetResource:
            return QString::fromStdString(chm::decodeHtml(bytesOf(url).toStdString()));
        case QTextDocument::ImageResource:
            return picture(url);
        default:
            return {};
    }
}

// Drawn at the size that its address names, else at its own, for the screen's resolution.
QImage PageView::picture(const QUrl& url) const {
    QByteArray bytes = bytesOf(url);
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize size = sizeIn(url).isEmpty() ? reader.size() : sizeIn(url);
    if (size.isEmpty() || size.width() > kLargestPicture || size.height() > kLargestPicture)
        return {};
    reader.setScaledSize(size * devicePixelRatioF());
    QImage image = reader.read();
    image.setDevicePixelRatio(devicePixelRatioF());
    return image;
}

QSize PageView::naturalSize(const QString& name) const {
    QByteArray bytes = bytesOf(m_address.resolved(QUrl(name)));
    QBuffer buffer(&bytes);
    return QImageReader(&buffer).size();
}

void PageView::fitPictures() {
    struct Picture {
        int position;
        int length;
        QTextImageFormat format;
    };
    QList<Picture> pictures;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        const int indents = block.blockFormat().indent() + (block.textList() ? block.textList()->format().indent() : 0);
        const int room = viewport()->width() - 2 * kMargin - static_cast<int>(indents * document()->indentWidth());
        for (auto it = block.begin(); !it.atEnd(); ++it) {
            const QTextFragment fragment = it.fragment();
            if (!fragment.charFormat().isImageFormat())
                continue;
            QTextImageFormat format = fragment.charFormat().toImageFormat();
            const QString name = format.name().section('?', 0, 0);
            QSize full = format.property(kFullSize).toSize();
            if (full.isEmpty()) {
                const QSize natural = naturalSize(name);
                if (natural.isEmpty())
                    continue;
                full = natural;
                if (format.width() > 0)
                    full = QSizeF(format.width(), format.width() * natural.height() / natural.width()).toSize();
            }
            const QSize limit(std::max(room, kMargin), kLargestPicture);
            const QSize size = full.width() > limit.width() || full.height() > limit.height()
                                   ? full.scaled(limit, Qt::KeepAspectRatio)
                                   : full;
            if (size.isEmpty() || name + sizeSuffix(size) == format.name())
                continue;
            format.setProperty(kFullSize, full);
            format.setName(name + sizeSuffix(size));
            format.setWidth(size.width());
            format.setHeight(size.height());
            pictures.append({fragment.position(), fragment.length(), format});
        }
    }
    for (const Picture& picture : pictures) {
        QTextCursor cursor(document());
        cursor.setPosition(picture.position);
        cursor.setPosition(picture.position + picture.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(picture.format);
    }
}

void PageView::highlight(const QStringList& words) {
    QList<QTextEdit::ExtraSelection> marks;
    for (const QString& word : words) {
        for (QTextCursor place(document()); marks.size() < kMostMarks;) {
            place = document()->find(word, place);
            if (place.isNull())
                break;
            QTextEdit::ExtraSelection mark;
            mark.cursor = place;
            mark.format.setBackground(QColor(0xFF, 0xE0, 0x8A));
            mark.format.setForeground(Qt::black);
            marks.append(mark);
        }
    }
    setExtraSelections(marks);
    const auto first = std::min_element(marks.begin(), marks.end(), [](const auto& a, const auto& b) {
        return a.cursor.selectionStart() < b.cursor.selectionStart();
    });
    if (first == marks.end())
        return;
    QTextCursor start = first->cursor;
    start.setPosition(start.selectionStart());
    setTextCursor(start);
    ensureCursorVisible();
}

void PageView::setZoom(int percent) {
    m_zoom = percent;
    QFont scaled = font();
    scaled.setPointSizeF(m_fontSize * percent / 100);
    setFont(scaled);
}

void PageView::changeEvent(QEvent* event) {
    QTextBrowser::changeEvent(event);
    // Pages get the colours of the palette while they are read.
    if (event->type() == QEvent::PaletteChange && !m_address.isEmpty()) {
        const int place = verticalScrollBar()->value();
        reload();
        fitPictures();
        verticalScrollBar()->setValue(place);
    }
}

void PageView::resizeEvent(QResizeEvent* event) {
    QTextBrowser::resizeEvent(event);
    if (event->size().width() != event->oldSize().width())
        fitPictures();
}

void PageView::wheelEvent(QWheelEvent* event) {
    if (event->modifiers() != Qt::ControlModifier)
        return QTextBrowser::wheelEvent(event);
    if (event->angleDelta().y() != 0)
        emit zoomWanted(event->angleDelta().y() > 0 ? 1 : -1);
    event->accept();
}

}  // namespace htmlhelp
