#include "formats/UOPHash.h"

namespace quillet {
namespace {

constexpr uint32_t Rot(uint32_t x, int k) { return x << k | x >> (32 - k); }

uint32_t Word(const unsigned char* p) {
    return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

// The steps three to a line, as lookup3 gives them.
// clang-format off
void Mix(uint32_t& a, uint32_t& b, uint32_t& c) {
    a -= c; a ^= Rot(c, 4);  c += b;
    b -= a; b ^= Rot(a, 6);  a += c;
    c -= b; c ^= Rot(b, 8);  b += a;
    a -= c; a ^= Rot(c, 16); c += b;
    b -= a; b ^= Rot(a, 19); a += c;
    c -= b; c ^= Rot(b, 4);  b += a;
}

void Final(uint32_t& a, uint32_t& b, uint32_t& c) {
    c ^= b; c -= Rot(b, 14);
    a ^= c; a -= Rot(c, 11);
    b ^= a; b -= Rot(a, 25);
    c ^= b; c -= Rot(b, 16);
    a ^= c; a -= Rot(c, 4);
    b ^= a; b -= Rot(a, 14);
    c ^= b; c -= Rot(b, 24);
}
// clang-format on

}  // namespace

uint64_t UOPNameHash(std::string_view name) {
    const auto* p = reinterpret_cast<const unsigned char*>(name.data());
    size_t left = name.size();
    uint32_t a = 0xDEADBEEFu + static_cast<uint32_t>(left);
    uint32_t b = a;
    uint32_t c = a;
    // Whole groups of 12 while more than 12 bytes remain: a name of 12 n
    // bytes leaves its last 12 to the final step.
    for (; left > 12; left -= 12, p += 12) {
        a += Word(p);
        b += Word(p + 4);
        c += Word(p + 8);
        Mix(a, b, c);
    }
    if (left > 0) {
        unsigned char tail[12] = {};
        for (size_t i = 0; i < left; ++i) tail[i] = p[i];
        a += Word(tail);
        b += Word(tail + 4);
        c += Word(tail + 8);
        Final(a, b, c);
    }
    return uint64_t{b} << 32 | c;
}

}  // namespace quillet
