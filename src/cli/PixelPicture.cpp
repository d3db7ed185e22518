#include "cli/PixelPicture.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include "base/SafeSave.h"

#ifdef QUILLET_HAVE_QTGUI
#include <QImage>
#include <QString>
#else
#include "base/BinaryFile.h"
#include "base/ByteIO.h"
#endif

namespace quillet::cli {

PixelPicture::PixelPicture() : pixels_(static_cast<size_t>(kWidth) * kHeight, kBackground) {}

void PixelPicture::Cls() {
    std::fill(pixels_.begin(), pixels_.end(), kBackground);
    shown_ = false;
}

void PixelPicture::Refresh() {
    shownPixels_ = pixels_;
    shown_ = true;
}

Canvas PixelPicture::hDC() {
    Canvas canvas;
    canvas.pixels = pixels_.data();
    canvas.width = kWidth;
    canvas.height = kHeight;
    canvas.stride = kWidth;
    return canvas;
}

namespace {

#ifndef QUILLET_HAVE_QTGUI
// Without QtGui the PNG is written here: 8-bit RGB, no filter, the image data
// in stored (uncompressed) deflate blocks.
uint32_t Crc32(const uint8_t* data, size_t size, uint32_t crc = 0) {
    static const std::array<uint32_t, 256> table = [] {
        std::array<uint32_t, 256> t{};
        for (uint32_t n = 0; n < 256; ++n) {
            uint32_t c = n;
            for (int k = 0; k < 8; ++k) c = (c & 1) != 0 ? 0xEDB88320u ^ (c >> 1) : c >> 1;
            t[n] = c;
        }
        return t;
    }();
    crc = ~crc;
    for (size_t i = 0; i < size; ++i) crc = table[(crc ^ data[i]) & 0xFF] ^ (crc >> 8);
    return ~crc;
}

void PutU32Big(ByteArray& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<uint8_t>(v >> shift));
}

void Chunk(ByteArray& out, const char* type, const ByteArray& data) {
    PutU32Big(out, static_cast<uint32_t>(data.size()));
    const size_t start = out.size();
    out.insert(out.end(), type, type + 4);
    out.insert(out.end(), data.begin(), data.end());
    PutU32Big(out, Crc32(out.data() + start, out.size() - start));
}

ByteArray PngBytes(const std::vector<uint32_t>& pixels, int32_t width, int32_t height) {
    ByteArray raw;  // the scan lines, each after its filter byte 0
    raw.reserve(static_cast<size_t>(height) * (1 + static_cast<size_t>(width) * 3));
    for (int32_t y = 0; y < height; ++y) {
        raw.push_back(0);
        for (int32_t x = 0; x < width; ++x) {
            const uint32_t p = pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
            raw.push_back(static_cast<uint8_t>(p >> 16));
            raw.push_back(static_cast<uint8_t>(p >> 8));
            raw.push_back(static_cast<uint8_t>(p));
        }
    }
    ByteArray zlib{0x78, 0x01};
    for (size_t at = 0; at < raw.size() || raw.empty();) {
        const size_t n = std::min<size_t>(65535, raw.size() - at);
        const bool last = at + n == raw.size();
        zlib.push_back(last ? 1 : 0);
        zlib.push_back(static_cast<uint8_t>(n));
        zlib.push_back(static_cast<uint8_t>(n >> 8));
        zlib.push_back(static_cast<uint8_t>(~n));
        zlib.push_back(static_cast<uint8_t>(~n >> 8));
        zlib.insert(zlib.end(), raw.begin() + static_cast<std::ptrdiff_t>(at),
                    raw.begin() + static_cast<std::ptrdiff_t>(at + n));
        at += n;
        if (last) break;
    }
    uint32_t a = 1, b = 0;  // Adler-32 of the raw data
    for (const uint8_t byte : raw) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    PutU32Big(zlib, b << 16 | a);

    ByteArray png{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    ByteArray header;
    PutU32Big(header, static_cast<uint32_t>(width));
    PutU32Big(header, static_cast<uint32_t>(height));
    header.insert(header.end(), {8, 2, 0, 0, 0});  // 8 bits, RGB, deflate, no filter method, no interlace
    Chunk(png, "IHDR", header);
    Chunk(png, "IDAT", zlib);
    Chunk(png, "IEND", {});
    return png;
}
#endif

}  // namespace

bool WritePng(const PixelPicture& picture, const std::string& path, std::string& error) {
    const std::string temp = TempNameBeside(path);
    const std::vector<uint32_t>& pixels = picture.ShownPixels();
    if (pixels.size() != static_cast<size_t>(PixelPicture::kWidth) * PixelPicture::kHeight) {
        error = "the picture has not been drawn";
        return false;
    }
#ifdef QUILLET_HAVE_QTGUI
    const QImage image(reinterpret_cast<const uchar*>(pixels.data()), PixelPicture::kWidth, PixelPicture::kHeight,
                       PixelPicture::kWidth * 4, QImage::Format_RGB32);
    if (!image.save(QString::fromLocal8Bit(temp.c_str()), "PNG")) {
        ::unlink(temp.c_str());
        error = "cannot write " + temp;
        return false;
    }
#else
    const ByteArray bytes = PngBytes(pixels, PixelPicture::kWidth, PixelPicture::kHeight);
    BinaryFile file;
    if (!file.Open(temp, BinaryFile::Mode::Create)) {
        error = "cannot write " + temp + ": " + std::strerror(errno);
        return false;
    }
    const bool written = file.WriteAt(0, bytes.data(), bytes.size());
    if (!file.Close() || !written) {
        ::unlink(temp.c_str());
        error = "cannot write " + temp;
        return false;
    }
#endif
    if (!CommitReplace(temp, path)) {
        error = "cannot put the picture in place as " + path;
        return false;
    }
    return true;
}

}  // namespace quillet::cli
