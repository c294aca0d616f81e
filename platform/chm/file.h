// SPDX-License-Identifier: MIT
// chm::File: a compiled help file (CHM), read only: its pages, its contents and its index.
//
//     const chm::File help("Coinvale.chm");
//     std::string html = help.readText("html/item.htm");
//
// The whole file is held in memory, and is no longer needed once it is open. All texts are UTF-8; names of pages are
// paths with forward slashes and no leading one, and their letter case does not count. A file may be damaged or
// hostile: chm::Error says so, at the opening or at the reading of a page; nothing is allocated for what a file merely
// claims.
#pragma once

#include "chm/container.h"
#include "chm/error.h"
#include "chm/sitemap.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace chm {

// One way to show the file, as its author laid it down. What is not laid down is empty or 0.
struct WindowType {
    std::string name;
    std::string title;
    std::string defaultPage;
    std::string homePage;
    int width = 0;  // of the window, pixels
    int height = 0;
    int paneWidth = 0;  // of contents and index
};

class File {
 public:
    // Throws Error when the file cannot be read or is no sound help file.
    explicit File(const std::filesystem::path& path);

    // The name as stored, without anchor ("#transfers"), of the page that a path leads to; empty when there is none.
    [[nodiscard]] std::string resolve(std::string_view path) const;

    // The bytes of a page, picture or style sheet. Throws Error when there is none, or it is damaged.
    [[nodiscard]] std::string read(std::string_view path) const;

    // A page as UTF-8. Throws Error as read() does.
    [[nodiscard]] std::string readText(std::string_view path) const;

    // The names of all .htm and .html pages, sorted.
    [[nodiscard]] std::vector<std::string> pages() const;

    [[nodiscard]] const std::string& title() const { return m_title; }
    [[nodiscard]] const std::string& defaultPage() const { return m_defaultPage; }
    [[nodiscard]] const std::vector<WindowType>& windows() const { return m_windows; }
    [[nodiscard]] const std::vector<Entry>& contents() const { return m_contents; }
    [[nodiscard]] const std::vector<Entry>& index() const { return m_index; }

 private:
    [[nodiscard]] const Container::Entry* findEntry(std::string_view path) const;
    void readSystem();
    void readWindows();
    [[nodiscard]] std::vector<Entry> readSitemap(const std::string& name, std::string_view extension) const;

    Container m_container;
    std::string m_title;
    std::string m_defaultPage;
    std::string m_contentsFile;
    std::string m_indexFile;
    std::vector<WindowType> m_windows;
    std::vector<Entry> m_contents;
    std::vector<Entry> m_index;
};

}  // namespace chm
