// SPDX-License-Identifier: MIT
// Sitemaps: the contents (.hhc) and the index (.hhk) of a help file, lists within lists of named pages.
//
//     <UL><LI><OBJECT type="text/sitemap"><param name="Name" value="Items"><param name="Local" value="html\Item.htm">
//         </OBJECT><UL>...</UL></UL>
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace chm {

struct Entry {
    std::string name;   // UTF-8
    std::string local;  // path within the container with forward slashes, "html/Item.htm#transfers"; empty: a heading
    std::vector<Entry> children;
};

// Reads the text (UTF-8) of a sitemap. Whatever is odd in it is passed over; lists nested deeper than 16 are laid into
// the 16th. An entry of an index that names several pages gets them as children.
std::vector<Entry> parseSitemap(std::string_view html);

// A path as a page writes it, in the form of Entry::local: forward slashes, no leading "/" or "./".
std::string tidyPath(std::string_view path);

}  // namespace chm
