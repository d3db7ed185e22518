#pragma once
// The two stages that a flag-3 entry of a client UOP container (every gump
// of current clients) goes through after zlib.
//
// Stage 1 is a move-to-front code: after a u32 prefix (the final length
// XOR kStagedLengthKey) every byte is an index into a list of the 256 byte
// values, which moves the value it names to the front. Its output T is
// stage 2's input: a table of 256 i32 counts (the final length S is their
// sum), then one stream of count[s] bytes per symbol s, the symbols taken
// by count descending, equal counts by value. A symbol's first stream byte
// is its first place in a queue of the symbols in the order of their next
// use; each of its later bytes says where it goes back into the queue after
// a use. Stage 2 needs the first 1024 + S bytes of T; writers leave at least
// one spare byte after them.
//
// The decoders read only inside their input and refuse a damaged one with a
// Failure that says what is wrong; a length is checked against the limit of
// a block held in memory (base/BlockLimit.h) before anything is allocated.
#include <cstddef>
#include <cstdint>

#include "base/ByteIO.h"

namespace quillet {

inline constexpr uint32_t kStagedLengthKey = 0x8E2C9A3D;
inline constexpr size_t kStagedCountTable = 1024;  // 256 counts of 4 bytes

// Stage 1 undone in place: count move-to-front indices become the bytes
// they stand for.
void UndoMoveToFront(uint8_t* bytes, size_t count);

// S, the length of stage 2's output: the sum of T's count table. A Failure
// if T is shorter than its table, has a negative count, or its streams
// (S bytes from T[1024]) pass its end.
int64_t StagedLength(const uint8_t* t, size_t size);

// Stage 2 undone: writes the S = StagedLength(t, size) bytes into out,
// which has room for them. A Failure for first places that are not the
// numbers 0 .. n-1 of the n symbols, or a place beyond the symbols still to
// come.
void UndoFrequencyStage(const uint8_t* t, size_t size, uint8_t* out);

// Both stages on the inflated bytes of an entry (prefix and all); stage 1
// runs in place over staged. out becomes the entry. The prefix is not
// looked at: the count table alone says how long the entry is.
void DecodeStages(ByteArray& staged, ByteArray& out);

// What a writer puts through zlib for a flag-3 entry of these bytes: the
// prefix, stage 2's table and streams through stage 1, and one spare byte.
ByteArray EncodeStages(const uint8_t* data, size_t size);
inline ByteArray EncodeStages(const ByteArray& data) { return EncodeStages(data.data(), data.size()); }

}  // namespace quillet
