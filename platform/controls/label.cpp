// SPDX-License-Identifier: MIT
#include "controls/label.h"

#include <QLabel>

namespace controls {

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
