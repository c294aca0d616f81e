// SPDX-License-Identifier: MIT
#include "jet/rows/properties.h"

#include <algorithm>

#include "jet/values/bytes.h"
#include "jet/values/codepage.h"
#include "jet/values/text_order.h"

// The bytes, without padding anywhere:
//
//   blob      "KKD\0"  names  block*
//   names     u32 length of all of it | u16 0x80 | { u16 length, text }*
//   block     u32 length of all of it | u16 kind | u32 6 + name length | u16 name length, name | property*
//   property  u16 8 + value length | u8 ddl | u8 type | u16 index into names | u16 value length, value

namespace jet {

namespace {

constexpr std::array<std::uint8_t, 4> kMagic = {'K', 'K', 'D', 0};
constexpr std::uint16_t kNamesKind = 0x80;

enum PropertyType : std::uint8_t { kBoolean = 1, kText = 10, kMemo = 12 };

[[noreturn]] void bad(const char* why) {
    corrupt(0, std::string("property blob: ") + why);
}

// Takes bytes from the front of a view.
class Reader {
 public:
    explicit Reader(ByteView bytes) : m_rest(bytes) {}

    [[nodiscard]] bool atEnd() const { return m_rest.empty(); }
    ByteView take(std::size_t length) {
        const ByteView taken = slice(m_rest, 0, length);
        m_rest = m_rest.subspan(length);
        return taken;
    }
    template <typename T>
    T number() {
        return getLe<T>(take(sizeof(T)), 0);
    }
    std::string text() {
        const auto length = number<std::uint16_t>();
        return fromCodePage(take(length));
    }

 private:
    ByteView m_rest;
};

Property readProperty(Reader& block, const std::vector<std::string>& names) {
    const auto length = block.number<std::uint16_t>();
    if (length < 2)
        bad("a property without content");
    Reader in(block.take(length - 2U));
    Property p;
    p.ddl = in.number<std::uint8_t>();
    p.type = in.number<std::uint8_t>();
    const auto name = in.number<std::uint16_t>();
    if (name >= names.size())
        bad("a property without a name");
    p.name = names[name];
    const ByteView value = in.take(in.number<std::uint16_t>());
    if (!in.atEnd())
        bad("a property longer than its value");
    p.value.assign(value.begin(), value.end());
    return p;
}

PropertyBlock readBlock(std::uint16_t kind, Reader in, const std::vector<std::string>& names) {
    PropertyBlock block;
    block.kind = kind;
    const auto headerLength = in.number<std::uint32_t>();
    block.name = in.text();
    if (headerLength != 6 + toCodePage(block.name).size())
        bad("a block header of the wrong length");
    while (!in.atEnd())
        block.properties.push_back(readProperty(in, names));
    return block;
}

void appendText(Bytes& out, std::string_view text) {
    const Bytes bytes = toCodePage(text);
    appendLe(out, static_cast<std::uint16_t>(bytes.size()));
    out.insert(out.end(), bytes.begin(), bytes.end());
}

// Fills in the length of a block that begins at `start` and ends here.
void closeBlock(Bytes& out, std::size_t start) {
    putU32(out, start, static_cast<std::uint32_t>(out.size() - start));
}

// The names to write: those given, then the ones that the properties use besides, in order of first use.
std::vector<std::string> allNames(const PropertySet& set) {
    std::vector<std::string> names = set.names;
    for (const PropertyBlock& block : set.blocks)
        for (const Property& p : block.properties)
            if (std::find(names.begin(), names.end(), p.name) == names.end())
                names.push_back(p.name);
    return names;
}

Property makeProperty(std::string_view name, PropertyType type, Bytes value) {
    Property p;
    p.name = name;
    p.type = type;
    p.value = std::move(value);
    return p;
}

}  // namespace

std::string Property::text() const {
    return fromCodePage(value);
}

bool Property::truth() const {
    return std::any_of(value.begin(), value.end(), [](std::uint8_t b) { return b != 0; });
}

const Property* PropertyBlock::find(std::string_view wanted) const {
    const auto it = std::find_if(properties.begin(), properties.end(),
                                 [&](const Property& p) { return equalText(p.name, wanted); });
    return it == properties.end() ? nullptr : &*it;
}

const PropertyBlock* PropertySet::column(std::string_view wanted) const {
    const auto it = std::find_if(blocks.begin(), blocks.end(),
                                 [&](const PropertyBlock& b) { return b.kind == 1 && equalText(b.name, wanted); });
    return it == blocks.end() ? nullptr : &*it;
}

const PropertyBlock* PropertySet::object() const {
    const auto it = std::find_if(blocks.begin(), blocks.end(), [](const PropertyBlock& b) { return b.kind == 0; });
    return it == blocks.end() ? nullptr : &*it;
}

PropertySet PropertySet::decode(ByteView blob) {
    Reader in(blob);
    const ByteView magic = in.take(kMagic.size());
    if (!std::equal(magic.begin(), magic.end(), kMagic.begin()))
        bad("it does not begin as one");
    PropertySet set;
    for (bool first = true; !in.atEnd(); first = false) {
        const auto length = in.number<std::uint32_t>();
        if (length < 6)
            bad("a block without content");
        Reader block(in.take(length - 4U));
        const auto kind = block.number<std::uint16_t>();
        if (first != (kind == kNamesKind))
            bad("the names are not first");
        if (!first) {
            set.blocks.push_back(readBlock(kind, block, set.names));
            continue;
        }
        while (!block.atEnd())
            set.names.push_back(block.text());
    }
    return set;
}

Bytes PropertySet::encode() const {
    const std::vector<std::string> all = allNames(*this);
    Bytes out(kMagic.begin(), kMagic.end());
    std::size_t start = out.size();
    appendLe<std::uint32_t>(out, 0);
    appendLe(out, kNamesKind);
    for (const std::string& name : all)
        appendText(out, name);
    closeBlock(out, start);
    for (const PropertyBlock& block : blocks) {
        start = out.size();
        appendLe<std::uint32_t>(out, 0);
        appendLe(out, block.kind);
        appendLe(out, static_cast<std::uint32_t>(6 + toCodePage(block.name).size()));
        appendText(out, block.name);
        for (const Property& p : block.properties) {
            const auto index = std::find(all.begin(), all.end(), p.name) - all.begin();
            appendLe(out, static_cast<std::uint16_t>(8 + p.value.size()));
            appendLe(out, p.ddl);
            appendLe(out, p.type);
            appendLe(out, static_cast<std::uint16_t>(index));
            appendLe(out, static_cast<std::uint16_t>(p.value.size()));
            out.insert(out.end(), p.value.begin(), p.value.end());
        }
        closeBlock(out, start);
    }
    return out;
}

Property PropertySet::textProperty(std::string_view name, std::string_view value) {
    return makeProperty(name, kText, toCodePage(value));
}

Property PropertySet::memoProperty(std::string_view name, std::string_view value) {
    return makeProperty(name, kMemo, toCodePage(value));
}

Property PropertySet::boolProperty(std::string_view name, bool value) {
    return makeProperty(name, kBoolean, {static_cast<std::uint8_t>(value ? 1 : 0)});
}

}  // namespace jet
