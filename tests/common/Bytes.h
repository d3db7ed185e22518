#pragma once
// Files for the tests, built byte by byte here, independent of the readers
// and writers under test.
#include <cstdint>
#include <string>

#include "base/ByteIO.h"

namespace quillet::test {

struct Bytes {
    ByteArray b;
    Bytes& le(int32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
        return *this;
    }
    Bytes& le16(int32_t v) { return u8(static_cast<uint8_t>(v & 0xFF)).u8(static_cast<uint8_t>((v >> 8) & 0xFF)); }
    Bytes& u8(uint8_t v) {
        b.push_back(v);
        return *this;
    }
    Bytes& raw(const ByteArray& data) {
        b.insert(b.end(), data.begin(), data.end());
        return *this;
    }
    Bytes& text(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& str(const std::string& s) { return text(s).u8(0); }  // ended by its 0 byte
    Bytes& fill(size_t n, uint8_t v) {
        b.insert(b.end(), n, v);
        return *this;
    }

    // MUO: "MUOP", version, three strings, count (45 bytes with the strings
    // the program writes); entries FileID, Block, Extra, Size, data.
    Bytes& muoHeader(int32_t count, int32_t version = 1, const std::string& name = "MUO",
                     const std::string& description = "Created by Quillet", const std::string& author = "Sir Patch") {
        return text("MUOP").le(version).str(name).str(description).str(author).le(count);
    }
    Bytes& muo(int32_t fileId, int32_t block, int32_t extra, int32_t size, const ByteArray& data = {}) {
        return le(fileId).le(block).le(extra).le(size).raw(data);
    }
    // UOP: magic, version byte, count, reserved (version 5: 10 more bytes);
    // entries FileID byte, Block, Size, Extra, data.
    Bytes& uopHeader(uint8_t version, int32_t count, const std::string& magic = "UOP", int32_t reserved = 0) {
        text(magic).u8(version).le(count).le(reserved);
        return version == 5 ? text("OtherTool!") : *this;
    }
    Bytes& uop(uint8_t fileId, int32_t block, int32_t size, int32_t extra, const ByteArray& data = {}) {
        return u8(fileId).le(block).le(size).le(extra).raw(data);
    }
    // verdata.mul entry: FileID, Block, Position, Size, Extra.
    Bytes& verdata(int32_t fileId, int32_t block, int32_t position, int32_t size, int32_t extra) {
        return le(fileId).le(block).le(position).le(size).le(extra);
    }
    Bytes& reservedVerdata() { return verdata(255, 0, 0, -1, 0); }  // not in use
    // IDX record: Position, Size, Extra.
    Bytes& record(int32_t position, int32_t size, int32_t extra) { return le(position).le(size).le(extra); }
};

inline ByteArray Text(const std::string& s) { return ByteArray(s.begin(), s.end()); }

// n bytes counting up from start (mod 256).
inline ByteArray Counting(size_t n, int start = 0) {
    ByteArray out(n);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(start + static_cast<int>(i));
    return out;
}

}  // namespace quillet::test
