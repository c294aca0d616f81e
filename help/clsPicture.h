// SPDX-License-Identifier: MIT
// A drawing of the program's resources on a form: painted anew from the SVG, so that it is sharp at every scale factor.
#pragma once

#include <QSvgRenderer>
#include <QWidget>

class clsPicture : public QWidget {
    Q_OBJECT
    // The name of a file in :/images.
    Q_PROPERTY(QString image READ image WRITE setImage)

 public:
    explicit clsPicture(QWidget* objParent = nullptr);

    [[nodiscard]] QString image() const { return strImage; }
    void setImage(const QString& strName);

 protected:
    void paintEvent(QPaintEvent* evt) override;

 private:
    QString strImage;
    QSvgRenderer objRenderer;
};
