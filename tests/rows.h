// SPDX-License-Identifier: MIT
// The columns and rows of a test's data table, each in one call.
#pragma once

#include <QTest>
#include <type_traits>

// addColumns<int, QString>("number", "text");
template <class... Types>
void addColumns(const std::enable_if_t<true || sizeof(Types) != 0, char>*... names) {
    (QTest::addColumn<Types>(names), ...);
}

// addRow("a phrase", 1, "one");
template <class... Cells>
void addRow(const char* name, const Cells&... cells) {
    (QTest::newRow(name) << ... << cells);
}
