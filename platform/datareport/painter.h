// SPDX-License-Identifier: MIT
// Paints laid-out pages on screens, printers and PDF files.
#pragma once

#include "datareport/layout.h"

class QPainter;

namespace datareport {

// Paints the page in black. REQUIRES: one unit of the painter is a point and its origin the corner of the paper.
void paintPage(QPainter& painter, const Pages& pages, std::size_t page);

}  // namespace datareport
