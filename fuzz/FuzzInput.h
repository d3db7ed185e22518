#pragma once
// How the fuzz targets cut one input into the call's arguments and the files
// it reads. The seed writer (make_seeds.cpp) builds inputs by the same rules.
// All numbers are little-endian; a field cut by the end of the input reads as
// zeros, so every input means something.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "base/ByteIO.h"

namespace quillet::fuzz {

// Takes fields from the front of an input.
class InputCutter {
public:
    InputCutter(const uint8_t* data, size_t size) : data_(data), size_(size) {}

    uint8_t U8() {
        uint8_t b[1];
        Take(b, 1);
        return b[0];
    }
    uint16_t U16() {
        uint8_t b[2];
        Take(b, 2);
        return LoadU16(b);
    }
    int32_t I32() {
        uint8_t b[4];
        Take(b, 4);
        return LoadI32(b);
    }
    // The next count bytes, fewer if the input ends first.
    ByteArray Bytes(size_t count) {
        const size_t n = std::min(count, size_ - pos_);
        ByteArray out(data_ + pos_, data_ + pos_ + n);
        pos_ += n;
        return out;
    }
    ByteArray Rest() { return Bytes(size_ - pos_); }

private:
    void Take(uint8_t* out, size_t count) {
        for (size_t i = 0; i < count; ++i) out[i] = pos_ < size_ ? data_[pos_++] : 0;
    }
    const uint8_t* data_;
    size_t size_;
    size_t pos_ = 0;
};

// ---- The patch file loaders (MUO, UOP, verdata): 11 bytes, then the file.

struct PatchLoadArgs {
    uint8_t Flags = 0;  // bit 0: also write the patch out again (SaveMUO, ExportVerdata) and check it
    uint8_t FromFileID = 0;
    uint8_t ToFileID = 255;
    int32_t FromBlock = 0;
    int32_t ToBlock = 400000;  // above the last block of every classic type; the seeds were made with it
};
inline constexpr uint8_t kWriteBack = 1;

inline PatchLoadArgs CutPatchLoadArgs(InputCutter& in) {
    PatchLoadArgs args;
    args.Flags = in.U8();
    args.FromFileID = in.U8();
    args.ToFileID = in.U8();
    args.FromBlock = in.I32();
    args.ToBlock = in.I32();
    return args;
}

inline ByteArray PatchLoadInput(const PatchLoadArgs& args, const ByteArray& file) {
    ByteArray out;
    LeWriter w(out);
    w.U8(args.Flags);
    w.U8(args.FromFileID);
    w.U8(args.ToFileID);
    w.I32(args.FromBlock);
    w.I32(args.ToBlock);
    w.Bytes(file.data(), file.size());
    return out;
}

// ---- LoadMUL and LoadTiledata: the type, the range, the IDX file's length,
// the IDX file, then the MUL file.

// The low 7 bits of a selector pick the type. With bit 7 clear the files are
// padded with zeros to the length that the walk reads, which by the format
// reads the same as a short file; with bit 7 set they are taken as they come,
// so that the reads past the end are fuzzed too. (Reads past the end of a
// file are much slower than reads inside it, and most inputs are short; the
// compare target pads its 65536-block types always.)
inline constexpr uint8_t kAsTheyCome = 0x80;
// Padding stops at this length: beyond it the file stays short.
inline constexpr size_t kMaxPadding = size_t{2} << 20;

template <size_t N>
uint8_t PickType(uint8_t selector, const std::array<uint8_t, N>& types) {
    return types[(selector & 0x7F) % N];
}

// Zeros appended up to length, when that is not too far.
inline void PadTo(ByteArray& file, int64_t length) {
    if (length > static_cast<int64_t>(file.size()) && length <= static_cast<int64_t>(kMaxPadding))
        file.resize(static_cast<size_t>(length), 0);
}

// The types an input can pick: the 14 of the table and two unused rows.
inline constexpr std::array<uint8_t, 16> kMulTypes{0, 2, 4, 6, 8, 10, 12, 14, 16, 30, 31, 32, 128, 129, 1, 255};
// A walk over more blocks than this is cut short (ToBlock lowered), so that
// one input of a few KB cannot make a 77 MB map import.
inline constexpr int64_t kMaxWalk = 4096;

struct MulLoadArgs {
    uint8_t Selector = 0;  // into kMulTypes, and kAsTheyCome
    int32_t FromBlock = 0;
    int32_t ToBlock = 400000;
    ByteArray Idx;
    ByteArray Mul;
};

inline MulLoadArgs CutMulLoadArgs(InputCutter& in) {
    MulLoadArgs args;
    args.Selector = in.U8();
    args.FromBlock = in.I32();
    args.ToBlock = in.I32();
    const uint16_t idxLength = in.U16();
    args.Idx = in.Bytes(idxLength);
    args.Mul = in.Rest();
    return args;
}

inline ByteArray MulLoadInput(const MulLoadArgs& args) {
    ByteArray out;
    LeWriter w(out);
    w.U8(args.Selector);
    w.I32(args.FromBlock);
    w.I32(args.ToBlock);
    w.U16(static_cast<uint16_t>(args.Idx.size()));
    w.Bytes(args.Idx.data(), args.Idx.size());
    w.Bytes(args.Mul.data(), args.Mul.size());
    return out;
}

// ---- CompareMUL: the type, three lengths, then base IDX, base MUL, altered
// IDX and the altered MUL (the rest).

// Map, Statics and Anim are left out: a compare walks every block of the
// type, and 150000 to 393216 blocks per input would starve the search. Their
// walk is that of Radarcol (constant size) and Art (pairs).
inline constexpr std::array<uint8_t, 12> kCompareTypes{4, 8, 10, 12, 14, 16, 30, 31, 32, 128, 129, 1};

struct CompareArgs {
    uint8_t Selector = 0;  // into kCompareTypes, and kAsTheyCome
    ByteArray Idx1, Mul1, Idx2, Mul2;
};

inline CompareArgs CutCompareArgs(InputCutter& in) {
    CompareArgs args;
    args.Selector = in.U8();
    const uint16_t idx1 = in.U16();
    const uint16_t mul1 = in.U16();
    const uint16_t idx2 = in.U16();
    args.Idx1 = in.Bytes(idx1);
    args.Mul1 = in.Bytes(mul1);
    args.Idx2 = in.Bytes(idx2);
    args.Mul2 = in.Rest();
    return args;
}

inline ByteArray CompareInput(const CompareArgs& args) {
    ByteArray out;
    LeWriter w(out);
    w.U8(args.Selector);
    w.U16(static_cast<uint16_t>(args.Idx1.size()));
    w.U16(static_cast<uint16_t>(args.Mul1.size()));
    w.U16(static_cast<uint16_t>(args.Idx2.size()));
    for (const ByteArray* part : {&args.Idx1, &args.Mul1, &args.Idx2, &args.Mul2})
        w.Bytes(part->data(), part->size());
    return out;
}

// ---- The client UOP container reader: a selector byte (the FileID to open
// the container as, from kContainerTypes), then the container.

inline constexpr std::array<uint8_t, 5> kContainerTypes{4, 12, 8, 0, 2};

inline ByteArray ContainerInput(uint8_t selector, const ByteArray& file) {
    ByteArray out{selector};
    out.insert(out.end(), file.begin(), file.end());
    return out;
}
// The selector of a FileID.
inline uint8_t ContainerSelector(uint8_t fileId) {
    for (size_t i = 0; i < kContainerTypes.size(); ++i)
        if (kContainerTypes[i] == fileId) return static_cast<uint8_t>(i);
    return 0;
}

// ---- The stages of flag 3: a mode byte, then bytes. Mode bit 0 clear: the
// bytes are an inflated flag-3 entry to decode; set: an entry to encode and
// decode again. With bit 1 set as well, the bytes begin with an edit (u16
// place in stage 2's input T, u8 value) that is made to the encoded entry
// before it is decoded: a damaged entry near a valid one.
inline constexpr uint8_t kStagesRoundTrip = 1;
inline constexpr uint8_t kStagesEdited = 2;

inline ByteArray StagesInput(uint8_t mode, const ByteArray& bytes) {
    ByteArray out{mode};
    out.insert(out.end(), bytes.begin(), bytes.end());
    return out;
}

// ---- The registry: a first line "subkey|value name", then system.reg.

inline std::string RegistryInput(const std::string& lookup, const std::string& systemReg) {
    return lookup + "\n" + systemReg;
}

}  // namespace quillet::fuzz
