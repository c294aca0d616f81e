// SPDX-License-Identifier: MIT
// Standard output through one buffer, and values as text: as JSON, as CSV, or plain between tabs.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "jet/values/value.h"

// Collects text and writes it in large pieces; to a terminal without control characters. flush() throws when standard
// output cannot be written.
class Output {
 public:
    Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::string& text() { return m_text; }
    // After each line: writes when enough has been collected.
    void endLine() {
        m_text += '\n';
        flushIfEnough();
    }
    void flushIfEnough() {
        if (m_text.size() >= kEnough)
            flush();
    }
    void line(std::string_view text) {
        m_text += text;
        endLine();
    }
    void flush();

 private:
    static constexpr std::size_t kEnough = std::size_t{1} << 16U;
    std::string m_text;
    bool m_terminal;
};

// Numbers with as many digits as tell them from their neighbours, dates as ISO text, bytes in hexadecimal.
void appendJson(const jet::Value& value, std::string& out);
void appendJsonText(std::string_view text, std::string& out);
// What stands before each value of a row: {"a": and then ,"b": and so on; equal names get a number.
std::vector<std::string> jsonKeys(const std::vector<std::string>& names);
// The same without quotes. Tabs, line ends and backslashes in a text are escaped (\t \n \r \\), other control
// characters as \x1B; Null is \N.
void appendPlain(const jet::Value& value, std::string& out);
// In quotes where needed, and where the text is empty; Null is nothing.
void appendCsv(const jet::Value& value, std::string& out);
