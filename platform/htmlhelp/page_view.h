// SPDX-License-Identifier: MIT
// PageView shows one page of a help file, with its pictures and style sheets, and follows its links.
//
// Pages have addresses "chm:/html/Item.htm#anchor". Everything is read from the help file; nothing ever from the disk
// or the network. Colours come from the palette, and pictures are made no wider than the page.
#pragma once

#include "chm/file.h"

#include <QImage>
#include <QStringList>
#include <QTextBrowser>
#include <memory>

namespace htmlhelp {

class PageView : public QTextBrowser {
    Q_OBJECT

 public:
    explicit PageView(QWidget* parent = nullptr);

    // Forgets the history, too.
    void setFile(std::shared_ptr<const chm::File> file);

    // Shows a page by its path within the file ("html/Item.htm#anchor"). False, and nothing changes, when there is
    // none.
    bool showPage(const QString& path);

    // The path of the page shown, without an anchor.
    [[nodiscard]] QString page() const;

    // The same with the anchor.
    [[nodiscard]] QString place() const;

    // Marks every place of the words in this page, and scrolls to the first; until another page comes.
    void highlight(const QStringList& words);

    // Size of the text, in percent.
    void setZoom(int percent);
    [[nodiscard]] int zoom() const { return m_zoom; }

    QVariant loadResource(int type, const QUrl& name) override;

 signals:
    void pageMissing(const QString& path);
    void zoomWanted(int steps);

 protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

 private:
    void followLink(const QUrl& link);
    void fitPictures();
    [[nodiscard]] QImage picture(const QUrl& url) const;
    [[nodiscard]] QSize naturalSize(const QString& name) const;
    [[nodiscard]] QByteArray bytesOf(const QUrl& url) const;
    [[nodiscard]] static QUrl addressOf(const QString& path);

    std::shared_ptr<const chm::File> m_file;
    QUrl m_address;  // of the page that is shown or being read
    int m_zoom = 100;
    qreal m_fontSize;  // points, at 100 percent
};

}  // namespace htmlhelp
