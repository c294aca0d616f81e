// SPDX-License-Identifier: MIT
// Reads statements from a stream, as they come. Each ends with a semicolon outside quotes, brackets and #dates#, or
// with the stream.
//
// Comments: from "--" to the end of the line, where it begins the line or stands between blanks, and between "/*" and
// "*/". They become blanks, so that places in the statement stay places in the stream.
#pragma once

#include <deque>
#include <istream>
#include <string>

struct ScriptStatement {
    std::string text;    // without comments and the semicolon; begins with no blank
    std::string source;  // the same as written
    std::size_t line = 1;
    std::size_t column = 1;  // in characters
};

class Script {
 public:
    explicit Script(std::istream& in) : m_in(in) {}
    // False at the end.
    bool next(ScriptStatement& out);

 private:
    void take(const std::string& line);
    void add(char c, bool comment);
    void finish();

    std::istream& m_in;
    std::deque<ScriptStatement> m_ready;
    ScriptStatement m_now;
    bool m_begun = false;
    char m_open = 0;  // what closes the quote or bracket; '*' in a comment
    std::size_t m_line = 0;
    std::size_t m_column = 1;
};

// The place of a byte of the statement in the stream, and a picture of it: the line, and a caret below.
struct Place {
    std::size_t line = 1;
    std::size_t column = 1;
    std::string picture;
};
Place placeOf(const ScriptStatement& statement, std::size_t position);
