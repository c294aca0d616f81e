// SPDX-License-Identifier: MIT
// The bookmarks of a PDF file. Qt's writer knows none, so they are added to what it has written.
#pragma once

#include <QByteArray>

#include "datareport/layout.h"

namespace datareport {

// The file of these pages with their bookmarks; as it was if they cannot be added.
QByteArray withBookmarks(const QByteArray& pdf, const Pages& pages);

}  // namespace datareport
