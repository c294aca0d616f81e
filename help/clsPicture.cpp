// SPDX-License-Identifier: MIT
#include "help/clsPicture.h"

#include <QPainter>

clsPicture::clsPicture(QWidget* objParent) : QWidget(objParent) {}

void clsPicture::setImage(const QString& strName) {
    strImage = strName;
    objRenderer.load(":/images/" + strName);
    update();
}

void clsPicture::paintEvent(QPaintEvent*) {
    QPainter objPainter(this);
    objRenderer.render(&objPainter, rect());
}
