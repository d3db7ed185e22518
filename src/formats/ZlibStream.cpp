#include "formats/ZlibStream.h"

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <string>

#include "base/Checked.h"

namespace quillet {
namespace {

constexpr size_t kInputPiece = size_t{1} << 16;

class Inflater {
public:
    Inflater() {
        if (inflateInit(&stream) != Z_OK) Fail("zlib could not start inflating");
    }
    ~Inflater() { inflateEnd(&stream); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;
    z_stream stream{};
};

}  // namespace

void InflateExactly(ByteSource& from, int64_t storedSize, uint8_t* out, size_t size) {
    if (size > std::numeric_limits<uInt>::max()) Fail("an entry of " + std::to_string(size) + " bytes is too long");
    // One inflater a thread, reset for each stream: a container's entries
    // are many and small, and zlib's state and window are set up only once.
    thread_local Inflater inflater;
    z_stream& zs = inflater.stream;
    if (inflateReset(&zs) != Z_OK) Fail("zlib could not start inflating");
    zs.next_in = nullptr;  // what an earlier stream left unread is not this one's
    zs.avail_in = 0;
    zs.next_out = out;
    zs.avail_out = static_cast<uInt>(size);
    uint8_t piece[kInputPiece];
    int64_t left = storedSize > 0 ? storedSize : 0;
    // Once the size bytes are there, one more byte of room tells whether the
    // stream would give more.
    uint8_t probe = 0;
    bool probing = false;
    for (;;) {
        if (zs.avail_in == 0 && left > 0) {
            const auto count = static_cast<size_t>(std::min<int64_t>(left, kInputPiece));
            from.Read(piece, count);
            left -= static_cast<int64_t>(count);
            zs.next_in = piece;
            zs.avail_in = static_cast<uInt>(count);
        }
        if (!probing && zs.avail_out == 0) {
            probing = true;
            zs.next_out = &probe;
            zs.avail_out = 1;
        }
        const int result = inflate(&zs, Z_NO_FLUSH);
        if (probing && zs.avail_out == 0)
            Fail("its zlib stream inflates to more than the " + std::to_string(size) + " bytes it should");
        if (result == Z_STREAM_END) {
            if (!probing && zs.avail_out != 0)
                Fail("its zlib stream inflates to " + std::to_string(size - zs.avail_out) + " bytes, not " +
                     std::to_string(size));
            return;
        }
        if (result == Z_OK) continue;
        if (result == Z_BUF_ERROR && zs.avail_in == 0 && left == 0)
            Fail("its zlib stream is cut short: it needs more than its " + std::to_string(storedSize) + " bytes");
        const std::string why = zs.msg != nullptr ? std::string(zs.msg) : "error " + std::to_string(result);
        Fail("its zlib stream is damaged (" + why + ")");
    }
}

ByteArray Deflate(const uint8_t* data, size_t size, int level) {
    uLongf bound = compressBound(static_cast<uLong>(size));
    ByteArray out(bound);
    if (compress2(out.data(), &bound, data, static_cast<uLong>(size), level) != Z_OK)
        Fail("zlib could not compress " + std::to_string(size) + " bytes");
    out.resize(bound);
    return out;
}

uint32_t Adler32(const uint8_t* data, size_t size) {
    uLong sum = adler32(0L, Z_NULL, 0);
    while (size > 0) {
        const auto piece = static_cast<uInt>(std::min<size_t>(size, 1u << 30));
        sum = adler32(sum, data, piece);
        data += piece;
        size -= piece;
    }
    return static_cast<uint32_t>(sum);
}

}  // namespace quillet
