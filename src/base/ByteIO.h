#pragma once
// Little-endian numbers in byte buffers. The formats read a record (an index
// record, an entry's head, a file header) into a buffer of its own, or a
// window of records, and take its fields through a LeReader over that
// buffer, which checks its bounds: a record shorter than its fields is a
// failure, never a read outside the buffer. Writing appends through a LeWriter (the patch files' headers) or
// stores into a fixed-size record's buffer with StoreI32 and StoreI16.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "base/Checked.h"

namespace quillet {

using ByteArray = std::vector<uint8_t>;

inline int32_t LoadI32(const uint8_t* p) {
    uint32_t v = uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
    return static_cast<int32_t>(v);
}
inline int16_t LoadI16(const uint8_t* p) {
    return static_cast<int16_t>(static_cast<uint16_t>(p[0] | p[1] << 8));
}
inline uint16_t LoadU16(const uint8_t* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint64_t LoadU64(const uint8_t* p) {
    return uint64_t{static_cast<uint32_t>(LoadI32(p))} | uint64_t{static_cast<uint32_t>(LoadI32(p + 4))} << 32;
}

inline void StoreI32(uint8_t* p, int32_t value) {
    const auto v = static_cast<uint32_t>(value);
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
    p[2] = static_cast<uint8_t>(v >> 16);
    p[3] = static_cast<uint8_t>(v >> 24);
}
inline void StoreU64(uint8_t* p, uint64_t value) {
    StoreI32(p, static_cast<int32_t>(static_cast<uint32_t>(value)));
    StoreI32(p + 4, static_cast<int32_t>(static_cast<uint32_t>(value >> 32)));
}
inline void StoreI16(uint8_t* p, int16_t value) {
    const auto v = static_cast<uint16_t>(value);
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}

// Reads little-endian fields from a span, failing past its end.
class LeReader {
public:
    LeReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}
    explicit LeReader(const ByteArray& bytes) : LeReader(bytes.data(), bytes.size()) {}

    int32_t I32() { return LoadI32(Take(4)); }
    int16_t I16() { return LoadI16(Take(2)); }
    uint16_t U16() { return LoadU16(Take(2)); }
    uint8_t U8() { return *Take(1); }
    void Bytes(uint8_t* out, size_t count) {
        const uint8_t* from = Take(count);
        if (count > 0) std::memcpy(out, from, count);  // an empty target may have no address
    }
    void Skip(size_t count) { Take(count); }

    size_t Position() const { return pos_; }
    size_t Remaining() const { return size_ - pos_; }
    void Seek(size_t position) {
        if (position > size_) Fail(kSubscript);
        pos_ = position;
    }

private:
    const uint8_t* Take(size_t count) {
        if (count > size_ - pos_) Fail(kSubscript);
        const uint8_t* p = data_ + pos_;
        pos_ += count;
        return p;
    }
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// Appends little-endian fields to a byte array.
class LeWriter {
public:
    explicit LeWriter(ByteArray& out) : out_(out) {}
    void I32(int32_t v) { uint8_t b[4]; StoreI32(b, v); out_.insert(out_.end(), b, b + 4); }
    void I16(int16_t v) { uint8_t b[2]; StoreI16(b, v); out_.insert(out_.end(), b, b + 2); }
    void U16(uint16_t v) { I16(static_cast<int16_t>(v)); }
    void U8(uint8_t v) { out_.push_back(v); }
    void Bytes(const uint8_t* p, size_t n) { out_.insert(out_.end(), p, p + n); }
    void Bytes(std::string_view s) { out_.insert(out_.end(), s.begin(), s.end()); }
    // A string ended by one 0 byte, as the patch formats keep them.
    void CString(std::string_view s) { Bytes(s); U8(0); }
    void Zeros(size_t n) { out_.insert(out_.end(), n, uint8_t{0}); }

private:
    ByteArray& out_;
};

}  // namespace quillet
