// SPDX-License-Identifier: MIT
#include "script.h"

#include <algorithm>
#include <string_view>

namespace {

bool isSpace(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}
bool beginsCharacter(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
}
std::size_t charactersIn(std::string_view text) {
    return static_cast<std::size_t>(std::ranges::count_if(text, beginsCharacter));
}

}  // namespace

bool Script::next(ScriptStatement& out) {
    std::string line;
    while (m_ready.empty() && std::getline(m_in, line)) {
        if (m_line++ == 0 && line.starts_with("\xEF\xBB\xBF"))
            line.erase(0, 3);
        take(line);
    }
    if (m_ready.empty())
        finish();
    if (m_ready.empty())
        return false;
    out = std::move(m_ready.front());
    m_ready.pop_front();
    return true;
}

void Script::take(const std::string& line) {
    m_column = 1;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const char after = i + 1 < line.size() ? line[i + 1] : '\n';
        if (m_open == '*') {
            add(c, true);
            if (c == '*' && after == '/') {
                add(line[++i], true);
                m_open = 0;
            }
        } else if (m_open != 0) {
            m_open = c == m_open ? 0 : m_open;
            add(c, false);
        } else if (c == '/' && after == '*') {
            add(c, true);
            add(line[++i], true);
            m_open = '*';
        } else if (c == '-' && after == '-' && (i == 0 || isSpace(line[i - 1])) &&
                   (i + 2 >= line.size() || isSpace(line[i + 2]))) {
            for (; i < line.size(); ++i)
                add(line[i], true);
        } else if (c == ';') {
            finish();
            ++m_column;
        } else {
            if (c == '\'' || c == '"' || c == '`')
                m_open = c;
            else if (c == '[')
                m_open = ']';
            else if (c == '#' && line.find('#', i + 1) != std::string::npos)
                m_open = '#';
            add(c, false);
        }
    }
    add('\n', m_open == '*');
}

void Script::add(char c, bool comment) {
    if (!m_begun && !comment && !isSpace(c)) {
        m_begun = true;
        m_now.line = m_line;
        m_now.column = m_column;
    }
    if (m_begun) {
        m_now.source += c;
        m_now.text += comment && c != '\n' ? ' ' : c;
    }
    m_column += beginsCharacter(c) ? 1 : 0;
}

void Script::finish() {
    if (m_begun) {
        if (m_now.text.ends_with('\n') && m_open == 0)
            m_now.text.pop_back();
        m_ready.push_back(std::move(m_now));
    }
    m_now = {};
    m_begun = false;
    m_open = 0;
}

Place placeOf(const ScriptStatement& statement, std::size_t position) {
    constexpr std::size_t kWide = 76;
    const std::string_view source = statement.source;
    position = std::min(position, source.size());
    // What is missing at the end is shown behind the last word.
    while (position > 0 && (position == source.size() || source[position] == '\n') && isSpace(source[position - 1]))
        --position;
    const std::string_view before = source.substr(0, position);
    const std::size_t newLine = before.rfind('\n');
    std::size_t begin = newLine == std::string_view::npos ? 0 : newLine + 1;
    Place place;
    place.line = statement.line + static_cast<std::size_t>(std::ranges::count(before, '\n'));
    place.column = charactersIn(before.substr(begin)) + (begin == 0 ? statement.column : 1);

    std::size_t end = std::min(source.find('\n', begin), source.size());
    if (position - begin > kWide / 2)
        begin = position - kWide / 2;
    while (begin < position && !beginsCharacter(source[begin]))
        ++begin;
    end = std::min(end, begin + kWide);
    while (end < source.size() && !beginsCharacter(source[end]))
        ++end;
    place.picture = "  " + std::string(source.substr(begin, end - begin)) + "\n  ";
    for (const char c : source.substr(begin, position - begin))
        if (beginsCharacter(c))
            place.picture += c == '\t' ? '\t' : ' ';
    place.picture += '^';
    std::erase(place.picture, '\r');
    return place;
}
