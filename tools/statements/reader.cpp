// SPDX-License-Identifier: MIT
#include "statements/reader.h"

#include "statements/text.h"

namespace statements {

Format formatOf(std::string_view bytes) {
    // Wide characters show the same signs with zeros between them.
    std::string head;
    for (const char c : bytes.substr(0, 4096))
        if (c != '\0')
            head += c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    if (head.find("OFXHEADER") != std::string::npos || head.find("<OFX>") != std::string::npos)
        return Format::Ofx;
    if (head.find("CAMT.05") != std::string::npos || head.find("BKTOCSTMR") != std::string::npos)
        return Format::Camt;
    const std::size_t first = head.find_first_not_of(" \t\r\n\xEF\xBB\xBF\xFF\xFE");
    return first != std::string::npos && head[first] == '!' ? Format::Qif : Format::Csv;
}

Statement read(std::string_view bytes, Format format, const Options& options) {
    if (format == Format::Ofx)
        return readOfx(bytes, options);
    if (format == Format::Camt)
        return readCamt(bytes, options);
    const auto encoding =
        options.encoding.empty() ? std::optional<Encoding>() : std::optional(encodingOf(options.encoding));
    const std::string text = decode(bytes, encoding, format == Format::Csv);
    return format == Format::Qif ? readQif(text, options) : readCsv(text, options);
}

}  // namespace statements
