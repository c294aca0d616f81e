// SPDX-License-Identifier: MIT
// Captions of labels, in which "&&" is a visible "&" and a single "&" marks the access key.
#pragma once

#include <QString>

class QLabel;

namespace controls {

// "Tom && Jerry" shows as "Tom & Jerry". Without a buddy a label has no access key, and a single "&" is dropped.
void setCaption(QLabel* label, const QString& caption);
// The opposite for text of the user's: doubles every "&".
QString asCaption(const QString& text);

}  // namespace controls
