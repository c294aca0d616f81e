// SPDX-License-Identifier: MIT
// Page 0 of a file: the mark of the format, sort order, code page, password, page-encryption key.
//
// Bytes 0x18-0x95 are masked with a constant key stream; the password is plain text under that mask. docs/jet3.md has
// the table of offsets.
#pragma once

#include <string>

#include "jet/values/types.h"

namespace jet {

struct Header {
    std::uint16_t engineGeneration = 0;  // 0x38: 0 from Jet 3 engines, 1 from later ones; copied into new columns
    std::uint16_t language = 0x0409;     // 0x3A: default sort order, 0x0409 = General
    std::uint16_t codePage = 1252;       // 0x3C
    std::uint32_t encryptionKey = 0;     // 0x3E: 0 = pages are plain
    std::string password;                // 0x42: up to 20 bytes of code page 1252, given here as UTF-8
    std::uint16_t build = 0;             // 0x56

    // Throws NotADatabase or UnsupportedVersion (with an empty subject: the caller knows the path) or Corrupt.
    static Header parse(ByteView page0);
    // A complete page 0 with unused commit counters. REQUIRES: a password of at most 20 bytes in code page 1252.
    void writeTo(Page& page0) const;
};

// RC4 over a whole page with the key of that page; decrypts and encrypts alike. Page 0 is never encrypted.
void cryptPage(std::span<std::uint8_t> page, std::uint32_t key, PageNo number);

}  // namespace jet
