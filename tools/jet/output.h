// SPDX-License-Identifier: MIT
// Standard output through one buffer, and values as text: as JSON, or plain between tabs.
#pragma once

#include <string>
#include <string_view>

#include "jet/value.h"

// Collects text and writes it in large pieces. flush() throws when standard output cannot be written.
class Output {
 public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    std::string& text() { return m_text; }
    // After each line: writes when enough has been collected.
    void endLine() {
        m_text += '\n';
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
};

// Numbers with as many digits as tell them from their neighbours, dates as ISO text, bytes in hexadecimal.
void appendJson(const jet::Value& value, std::string& out);
void appendJsonText(std::string_view text, std::string& out);
// The same without quotes. Tabs, line ends and backslashes in a text are escaped (\t \n \r \\); Null is nothing.
void appendPlain(const jet::Value& value, std::string& out);
