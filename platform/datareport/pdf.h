// SPDX-License-Identifier: MIT
// Writes laid-out pages as a PDF file, with the text as text.
#pragma once

#include "datareport/layout.h"

namespace datareport {

// A file of that name is replaced only when the new one is complete. Throws vbrt::Error: 76 no such folder, 75 no
// right to write there, 70 the old file is in use, 61 disk full, 57 any other failure of the disk.
// Cancelled leaves no new file and the old one as it was.
void writePdf(const Pages& pages, const QString& title, const QString& path, const Progress& progress = {});

}  // namespace datareport
