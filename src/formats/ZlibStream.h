#pragma once
// zlib streams of the client's UOP containers (RFC 1950: header, deflate
// data, Adler-32 trailer), from the system's zlib.
#include <cstddef>
#include <cstdint>

#include "base/BinaryFile.h"
#include "base/ByteIO.h"

namespace quillet {

// Inflates the zlib stream of storedSize bytes that from gives (a piece at a
// time: the stored bytes are never held whole) into exactly size bytes at
// out. A Failure, saying which, for a stream that is damaged, that is cut
// short, or that inflates to more or fewer than size bytes. Bytes after the
// end of the stream within storedSize are not looked at.
void InflateExactly(ByteSource& from, int64_t storedSize, uint8_t* out, size_t size);

// The zlib stream of the bytes; level as zlib's (-1: its default).
ByteArray Deflate(const uint8_t* data, size_t size, int level = -1);
inline ByteArray Deflate(const ByteArray& data, int level = -1) { return Deflate(data.data(), data.size(), level); }

// zlib's Adler-32 of the bytes.
uint32_t Adler32(const uint8_t* data, size_t size);

}  // namespace quillet
