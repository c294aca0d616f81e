// SPDX-License-Identifier: MIT
// Captions of labels, in which "&&" is a visible "&" and a single "&" marks the access key.
#pragma once

#include <QLabel>
#include <QString>

namespace controls {

// A label whose text is cut, with an ellipsis, where it is too long; what stands behind " = " stays whole if there is
// room for it, and half an amount is never taken for one. The whole text is then its tool tip.
class CaptionLabel : public QLabel {
    Q_OBJECT

 public:
    explicit CaptionLabel(QWidget* parent = nullptr) : QLabel(parent) {}

 protected:
    void paintEvent(QPaintEvent* event) override;
    bool event(QEvent* event) override;

 private:
    [[nodiscard]] QString elided() const;
};

// "Tom && Jerry" shows as "Tom & Jerry". Without a buddy a label has no access key, and a single "&" is dropped.
void setCaption(QLabel* label, const QString& caption);
// The opposite for text of the user's: doubles every "&".
QString asCaption(const QString& text);

}  // namespace controls
