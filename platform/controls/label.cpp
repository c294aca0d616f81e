// SPDX-License-Identifier: MIT
#include "controls/label.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>

namespace controls {

QString CaptionLabel::elided() const {
    const QFontMetrics metrics = fontMetrics();
    const QString whole = text();
    const int room = contentsRect().width();
    const QString amount = whole.mid(std::max<qsizetype>(0, whole.lastIndexOf(QLatin1String(" = "))));
    const int left = room - metrics.horizontalAdvance(amount);
    if (amount == whole || left < metrics.averageCharWidth() || metrics.horizontalAdvance(whole) <= room)
        return metrics.elidedText(whole, Qt::ElideRight, room);
    return metrics.elidedText(whole.chopped(amount.size()), Qt::ElideRight, left) + amount;
}

void CaptionLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.drawText(contentsRect(), static_cast<int>(alignment()) | Qt::TextSingleLine, elided());
}

bool CaptionLabel::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    const QString tip = elided() == text() ? QString() : text();
    QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), tip.toHtmlEscaped(), this);
    return true;
}

void setCaption(QLabel* label, const QString& caption) {
    label->setTextFormat(Qt::PlainText);
    if (label->buddy() != nullptr) {
        label->setText(caption);
        return;
    }
    QString shown;
    for (qsizetype i = 0; i < caption.size(); ++i) {
        if (caption[i] == u'&' && (++i == caption.size()))
            break;
        shown += caption[i];
    }
    label->setText(shown);
}

QString asCaption(const QString& text) {
    return QString(text).replace(u'&', QStringLiteral("&&"));
}

}  // namespace controls
