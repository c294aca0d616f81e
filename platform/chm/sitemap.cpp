// SPDX-License-Identifier: MIT
#include "chm/sitemap.h"

#include "chm/container.h"
#include "chm/html_text.h"

#include <algorithm>
#include <optional>

namespace chm {

namespace {

constexpr std::string_view kBlank = " \t\r\n\f";
constexpr std::size_t kDeepest = 16;
constexpr std::size_t kLongestTag = 4096;

struct Tag {
    std::string name;  // lower case, "/ul" for an end
    std::string_view attributes;
};

// Takes the next tag off `html`. An ">" within quotes does not end a tag.
std::optional<Tag> takeTag(std::string_view& html) {
    while (true) {
        const std::size_t begin = html.find('<');
        if (begin == std::string_view::npos)
            return {};
        html.remove_prefix(begin + 1);
        if (html.starts_with("!--")) {
            const std::size_t end = html.find("-->");
            if (end == std::string_view::npos)
                return {};
            html.remove_prefix(end);
            continue;
        }
        const std::size_t longest = std::min(html.size(), kLongestTag);
        std::size_t end = 0;
        for (char quote = 0; end < longest && (quote != 0 || html[end] != '>'); ++end) {
            if (quote != 0 ? html[end] == quote : html[end] == '"' || html[end] == '\'')
                quote = quote != 0 ? '\0' : html[end];
        }
        if (end == longest)
            end = html.find('>');  // an unpaired quote
        if (end == std::string_view::npos)
            return {};
        const std::string_view inside = html.substr(0, end);
        html.remove_prefix(end + 1);
        const std::size_t name = std::min(inside.find_first_of(kBlank), inside.size());
        return Tag{lowered(inside.substr(0, name)), inside.substr(name)};
    }
}

// The value of an attribute with its entities replaced.
std::string attribute(std::string_view attributes, std::string_view wanted) {
    while (true) {
        attributes.remove_prefix(std::min(attributes.find_first_not_of(kBlank), attributes.size()));
        if (attributes.empty())
            return {};
        const std::size_t nameEnd = std::min(attributes.find_first_of(" \t\r\n\f="), attributes.size());
        const std::string name = lowered(attributes.substr(0, nameEnd));
        attributes.remove_prefix(nameEnd);
        const std::size_t equals = attributes.find_first_not_of(kBlank);
        std::string_view value;
        if (equals != std::string_view::npos && attributes[equals] == '=') {
            attributes.remove_prefix(equals + 1);
            attributes.remove_prefix(std::min(attributes.find_first_not_of(kBlank), attributes.size()));
            const bool quoted = !attributes.empty() && (attributes[0] == '"' || attributes[0] == '\'');
            const std::size_t end = quoted ? attributes.find(attributes[0], 1) : attributes.find_first_of(kBlank);
            value = attributes.substr(quoted ? 1 : 0, quoted ? end - 1 : end);
            attributes.remove_prefix(
                std::min(end == std::string_view::npos ? end : end + (quoted ? 1 : 0), attributes.size()));
        } else if (nameEnd == 0) {
            attributes.remove_prefix(1);
        }
        if (name == wanted)
            return unescape(value);
    }
}

class Parser {
 public:
    std::vector<Entry> parse(std::string_view html) {
        while (const std::optional<Tag> tag = takeTag(html))
            handle(*tag);
        finishObject();
        return std::move(m_roots);
    }

 private:
    void handle(const Tag& tag) {
        if (tag.name == "object") {
            finishObject();
            m_inObject = lowered(attribute(tag.attributes, "type")) == "text/sitemap";
        } else if (tag.name == "param" && m_inObject) {
            readParam(lowered(attribute(tag.attributes, "name")), attribute(tag.attributes, "value"));
        } else if (tag.name == "/object" || tag.name == "li") {
            finishObject();
        } else if (tag.name == "ul") {
            finishObject();
            m_opened.push_back(openList());
        } else if (tag.name == "/ul" && !m_opened.empty()) {
            finishObject();
            if (m_opened.back())
                m_path.pop_back();
            m_opened.pop_back();
        }
    }

    void readParam(const std::string& name, std::string value) {
        if (name == "name")
            m_names.push_back(std::move(value));
        else if (name == "local")
            m_pages.push_back({m_names.empty() ? std::string() : m_names.back(), tidyPath(value), {}});
    }

    void finishObject() {
        if (m_inObject && (!m_names.empty() || !m_pages.empty())) {
            Entry entry;
            entry.name = m_names.empty() ? m_pages[0].local : m_names[0];
            if (!m_pages.empty())
                entry.local = m_pages[0].local;
            if (m_pages.size() > 1)
                entry.children = std::move(m_pages);
            list().push_back(std::move(entry));
        }
        m_inObject = false;
        m_names.clear();
        m_pages.clear();
    }

    // Children of the entry before; the outermost list, and one that follows no entry, stay where they are.
    bool openList() {
        if (list().empty() || m_path.size() == kDeepest)
            return false;
        m_path.push_back(list().size() - 1);
        return true;
    }

    std::vector<Entry>& list() {
        std::vector<Entry>* result = &m_roots;
        for (const std::size_t at : m_path)
            result = &(*result)[at].children;
        return *result;
    }

    std::vector<Entry> m_roots;
    std::vector<std::size_t> m_path;  // indexes of the entries down to the open list
    std::vector<bool> m_opened;       // for each <ul>, whether it went down a level
    bool m_inObject = false;
    std::vector<std::string> m_names;
    std::vector<Entry> m_pages;
};

}  // namespace

std::string tidyPath(std::string_view path) {
    std::string result(path);
    std::ranges::replace(result, '\\', '/');
    // "ms-its:Other.chm::/html/Page.htm" names the container, too.
    if (const std::size_t inside = result.find("::"); inside != std::string::npos)
        result.erase(0, inside + 2);
    while (result.starts_with("./"))
        result.erase(0, 2);
    result.erase(0, std::min(result.find_first_not_of('/'), result.size()));
    return result;
}

std::vector<Entry> parseSitemap(std::string_view html) {
    return Parser().parse(html);
}

}  // namespace chm
