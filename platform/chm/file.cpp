// SPDX-License-Identifier: MIT
#include "chm/file.h"

#include "chm/html_text.h"

#include <algorithm>
#include <fstream>

namespace chm {

namespace {

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t{256} << 20;

std::vector<std::uint8_t> load(const std::filesystem::path& path) {
    std::error_code fault;
    const std::uintmax_t size =
        std::filesystem::is_regular_file(path, fault) ? std::filesystem::file_size(path, fault) : 0;
    if (fault || size == 0)
        throw Error("the help file is missing or empty");
    if (size > kMaxFileSize)
        throw Error("the help file is too large");
    std::vector<std::uint8_t> bytes(size);
    std::ifstream stream(path, std::ios::binary);
    if (!stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(size)))
        throw Error("the help file cannot be read");
    return bytes;
}

std::uint32_t numberAt(std::string_view bytes, std::size_t at, unsigned size = 4) {
    std::uint32_t value = 0;
    for (unsigned i = size; i > 0; --i)
        value = value << 8 | static_cast<std::uint8_t>(at + i <= bytes.size() ? bytes[at + i - 1] : 0);
    return value;
}

std::string textAt(std::string_view bytes, std::size_t at) {
    if (at >= bytes.size())
        return {};
    const std::string_view rest = bytes.substr(at);
    return decode1252(rest.substr(0, rest.find('\0')));
}

std::string unescapePercent(std::string_view text) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string pair = lowered(text.substr(i, 3));
        if (pair.size() == 3 && pair[0] == '%' && kDigits.find(pair[1]) != std::string_view::npos &&
            kDigits.find(pair[2]) != std::string_view::npos) {
            result.push_back(static_cast<char>(kDigits.find(pair[1]) * 16 + kDigits.find(pair[2])));
            i += 2;
        } else {
            result.push_back(text[i]);
        }
    }
    return result;
}

}  // namespace

File::File(const std::filesystem::path& path) : m_container(load(path)) {
    readSystem();
    readWindows();
    m_contents = readSitemap(m_contentsFile, ".hhc");
    m_index = readSitemap(m_indexFile, ".hhk");
}

const Container::Entry* File::findEntry(std::string_view path) const {
    const std::string name = "/" + tidyPath(path.substr(0, path.find('#')));
    if (const Container::Entry* found = m_container.find(name))
        return found;
    return m_container.find(unescapePercent(name));
}

std::string File::resolve(std::string_view path) const {
    const Container::Entry* entry = findEntry(path);
    return entry == nullptr || entry->name.ends_with('/') ? std::string() : entry->name.substr(1);
}

std::string File::read(std::string_view path) const {
    const Container::Entry* entry = findEntry(path);
    if (entry == nullptr || entry->name.ends_with('/'))
        throw Error("the help file has no page " + std::string(path));
    return m_container.read(*entry);
}

std::string File::readText(std::string_view path) const {
    return decodeHtml(read(path));
}

std::vector<std::string> File::pages() const {
    std::vector<std::string> result;
    for (const auto& [key, entry] : m_container.entries()) {
        if (key.starts_with('/') && (key.ends_with(".htm") || key.ends_with(".html")))
            result.push_back(entry.name.substr(1));
    }
    return result;
}

// #SYSTEM: a version, then entries of a code (16 bits), a size (16 bits) and so many bytes.
void File::readSystem() {
    const Container::Entry* entry = m_container.find("/#SYSTEM");
    if (entry == nullptr)
        return;
    const std::string bytes = m_container.read(*entry);
    for (std::size_t at = 4; at + 4 <= bytes.size();) {
        const std::uint32_t code = numberAt(bytes, at, 2);
        const std::uint32_t size = numberAt(bytes, at + 2, 2);
        const std::string text = textAt(std::string_view(bytes).substr(at + 4, size), 0);
        if (code == 0)
            m_contentsFile = tidyPath(text);
        else if (code == 1)
            m_indexFile = tidyPath(text);
        else if (code == 2)
            m_defaultPage = tidyPath(text);
        else if (code == 3)
            m_title = text;
        at += 4 + size;
    }
}

// #WINDOWS: a count and a size, then so many records of that size, whose texts are offsets into #STRINGS.
void File::readWindows() {
    const Container::Entry* windows = m_container.find("/#WINDOWS");
    const Container::Entry* strings = m_container.find("/#STRINGS");
    if (windows == nullptr || strings == nullptr)
        return;
    const std::string records = m_container.read(*windows);
    const std::string texts = m_container.read(*strings);
    const std::size_t size = numberAt(records, 4);
    constexpr std::size_t kLeastSize = 0x70;
    if (size < kLeastSize)
        return;
    for (std::size_t at = 8; at < records.size() && size <= records.size() - at; at += size) {
        const std::string_view record = std::string_view(records).substr(at, size);
        const auto text = [&](std::size_t offset) { return textAt(texts, numberAt(record, offset)); };
        const auto length = [&](std::size_t from, std::size_t to) {
            const std::uint32_t value = numberAt(record, to) - numberAt(record, from);
            return value <= 0x7FFF ? static_cast<int>(value) : 0;
        };
        WindowType window;
        window.name = text(0x08);
        window.title = text(0x14);
        window.width = length(0x20, 0x28);
        window.height = length(0x24, 0x2C);
        window.paneWidth = static_cast<int>(std::min<std::uint32_t>(numberAt(record, 0x4C), 0x7FFF));
        window.defaultPage = tidyPath(text(0x68));
        window.homePage = tidyPath(text(0x6C));
        m_windows.push_back(std::move(window));
    }
}

// The file that #SYSTEM names; else the first with the extension.
std::vector<Entry> File::readSitemap(const std::string& name, std::string_view extension) const {
    const Container::Entry* entry = name.empty() ? nullptr : m_container.find("/" + name);
    if (entry == nullptr) {
        const auto& entries = m_container.entries();
        const auto found = std::ranges::find_if(entries, [&](const auto& e) { return e.first.ends_with(extension); });
        if (found == entries.end())
            return {};
        entry = &found->second;
    }
    return parseSitemap(decodeHtml(m_container.read(*entry)));
}

}  // namespace chm
