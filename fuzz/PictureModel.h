#pragma once
// A model of the picture blocks and of the WAV file of a Sound block, kept
// apart from the decoders it checks: it is the plainest reading of the
// formats, every byte fetched through a checked lookup that says when it lies
// outside the block, every pixel written by its position, and the colours
// worked out from their 5-bit channels here. Where a decoder checks a row
// before it draws, the model draws as it reads and gives up at the first
// fault; both must end the same.
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <vector>

#include "base/ByteIO.h"

namespace quillet::fuzz {

struct ModelPicture {
    int32_t Width = 0;
    int32_t Height = 0;
    std::vector<uint32_t> Pixels;  // 0xAARRGGBB row by row; 0 is transparent

    ModelPicture(int32_t width, int32_t height)
        : Width(width), Height(height), Pixels(static_cast<size_t>(width) * static_cast<size_t>(height), 0) {}
    // False for a position outside the picture.
    bool Put(int64_t x, int64_t y, uint32_t pixel) {
        if (x < 0 || y < 0 || x >= Width || y >= Height) return false;
        Pixels[static_cast<size_t>(y * Width + x)] = pixel;
        return true;
    }
};
using MaybePicture = std::optional<ModelPicture>;

// The most pixels a picture may claim: 4096 by 4096.
inline constexpr int64_t kModelMostPixels = int64_t{4096} * 4096;

// The bytes of a block, looked up one field at a time.
class ModelBlock {
public:
    explicit ModelBlock(const ByteArray& bytes) : bytes_(bytes) {}
    int64_t Size() const { return static_cast<int64_t>(bytes_.size()); }
    std::optional<uint32_t> U8(int64_t at) const {
        if (at < 0 || at >= Size()) return std::nullopt;
        return bytes_[static_cast<size_t>(at)];
    }
    std::optional<uint32_t> U16(int64_t at) const {
        const auto low = U8(at), high = U8(at + 1);
        if (!low || !high) return std::nullopt;
        return *low + (*high << 8);
    }
    std::optional<uint32_t> U32(int64_t at) const {
        const auto low = U16(at), high = U16(at + 2);
        if (!low || !high) return std::nullopt;
        return *low + (*high << 16);
    }

private:
    const ByteArray& bytes_;
};

// A 16-bit colour of the client as an opaque pixel: the top bit means
// nothing, then 5 bits each of red, green and blue, each times 8.
inline uint32_t ModelColour(uint32_t value) {
    const uint32_t red = value / 1024 % 32, green = value / 32 % 32, blue = value % 32;
    return 0xFF000000u + red * 8 * 65536 + green * 8 * 256 + blue * 8;
}

// A colour of the radar colour table (red in the low byte) as a pixel.
inline uint32_t ModelRadarPixel(int32_t colour) {
    const auto c = static_cast<uint32_t>(colour);
    return 0xFF000000u + (c % 256) * 65536 + (c / 256 % 256) * 256 + (c / 65536 % 256);
}

inline MaybePicture ModelLand(const ByteArray& bytes) {
    const ModelBlock block(bytes);
    if (block.Size() < 1012 * 2) return std::nullopt;
    ModelPicture picture(44, 44);
    int64_t next = 0;
    // The diamond: the pixels whose centres lie within 22 of the middle.
    for (int64_t y = 0; y < 44; ++y)
        for (int64_t x = 0; x < 44; ++x)
            if (std::llabs(2 * x - 43) + std::llabs(2 * y - 43) <= 44) {
                picture.Put(x, y, ModelColour(*block.U16(2 * next)));
                ++next;
            }
    return picture;
}

inline MaybePicture ModelItem(const ByteArray& bytes) {
    const ModelBlock block(bytes);
    const auto width = block.U16(4), height = block.U16(6);
    if (!width || !height || *width == 0 || *height == 0) return std::nullopt;
    if (int64_t{*width} * *height > kModelMostPixels) return std::nullopt;
    const int64_t runsStart = 8 + 2 * int64_t{*height};
    if (runsStart > block.Size()) return std::nullopt;
    ModelPicture picture(static_cast<int32_t>(*width), static_cast<int32_t>(*height));
    for (int64_t y = 0; y < *height; ++y) {
        int64_t at = runsStart + 2 * int64_t{*block.U16(8 + 2 * y)};
        int64_t x = 0;
        for (;;) {
            const auto skip = block.U16(at), length = block.U16(at + 2);
            if (!skip || !length) return std::nullopt;
            at += 4;
            if (*skip == 0 && *length == 0) break;
            x += *skip;
            if (x + *length > *width) return std::nullopt;
            for (uint32_t i = 0; i < *length; ++i, ++x, at += 2) {
                const auto colour = block.U16(at);
                if (!colour) return std::nullopt;
                if (*colour != 0) picture.Put(x, y, ModelColour(*colour));
            }
        }
    }
    return picture;
}

inline MaybePicture ModelGump(const ByteArray& bytes, int32_t extra) {
    const ModelBlock block(bytes);
    const uint32_t packed = static_cast<uint32_t>(extra);
    const int64_t width = packed / 65536, height = packed % 65536;
    if (width == 0 || height == 0 || width * height > kModelMostPixels) return std::nullopt;
    const int64_t units = block.Size() / 4;
    if (4 * height > block.Size()) return std::nullopt;
    ModelPicture picture(static_cast<int32_t>(width), static_cast<int32_t>(height));
    for (int64_t y = 0; y < height; ++y) {
        const int64_t first = *block.U32(4 * y);
        const int64_t end = y + 1 < height ? int64_t{*block.U32(4 * y + 4)} : units;
        if (first < height || first >= units) return std::nullopt;
        int64_t x = 0;
        for (int64_t unit = first; unit < end; ++unit) {
            const auto colour = block.U16(4 * unit), count = block.U16(4 * unit + 2);
            // Runs beyond the block: the next row starts there, and is refused.
            if (!colour || !count) return std::nullopt;
            if (x + *count > width) return std::nullopt;
            for (uint32_t i = 0; i < *count; ++i, ++x)
                if (*colour != 0) picture.Put(x, y, ModelColour(*colour));
        }
        if (x != width) return std::nullopt;
    }
    return picture;
}

inline MaybePicture ModelTexmap(const ByteArray& bytes) {
    const ModelBlock block(bytes);
    int32_t side = 0;
    if (block.Size() == 8192) side = 64;
    if (block.Size() == 32768) side = 128;
    if (side == 0) return std::nullopt;
    ModelPicture picture(side, side);
    for (int64_t y = 0; y < side; ++y)
        for (int64_t x = 0; x < side; ++x) picture.Put(x, y, ModelColour(*block.U16(2 * (y * side + x))));
    return picture;
}

inline MaybePicture ModelLight(const ByteArray& bytes, int32_t extra) {
    const ModelBlock block(bytes);
    const uint32_t packed = static_cast<uint32_t>(extra);
    const int64_t width = packed % 65536, height = packed / 65536;
    if (width == 0 || height == 0 || width * height > block.Size()) return std::nullopt;
    ModelPicture picture(static_cast<int32_t>(width), static_cast<int32_t>(height));
    for (int64_t y = 0; y < height; ++y)
        for (int64_t x = 0; x < width; ++x) {
            const uint32_t b = *block.U8(y * width + x);
            // A negative light -n is stored as 255 - n.
            const uint32_t level = b < 32 ? b : (255 - b) % 32;
            if (level != 0) picture.Put(x, y, 0xFF000000u + level * 8 * 0x10101u);
        }
    return picture;
}

inline MaybePicture ModelHues(const ByteArray& bytes) {
    const ModelBlock block(bytes);
    int64_t stride = 0;
    if (block.Size() == 708) stride = 88;
    if (block.Size() == 1220) stride = 152;
    if (stride == 0) return std::nullopt;
    ModelPicture picture(256, 64);
    for (int64_t y = 0; y < 64; ++y)
        for (int64_t x = 0; x < 256; ++x)
            picture.Put(x, y, ModelColour(*block.U16(4 + stride * (y / 8) + 2 * (x / 8))));
    return picture;
}

inline MaybePicture ModelMapBlock(const ByteArray& bytes, const std::vector<int32_t>& radar) {
    const ModelBlock block(bytes);
    if (block.Size() < 196) return std::nullopt;
    ModelPicture picture(8, 8);
    for (int64_t cell = 0; cell < 64; ++cell)
        picture.Put(cell % 8, cell / 8, ModelRadarPixel(radar.at(*block.U16(4 + 3 * cell))));
    return picture;
}

// The WAV file of a Sound block; none for a block without samples.
inline std::optional<ByteArray> ModelWave(const ByteArray& block) {
    if (block.size() <= 40) return std::nullopt;
    const uint32_t d = static_cast<uint32_t>(block.size() - 40);
    ByteArray wave;
    const auto text = [&](const char* four) { wave.insert(wave.end(), four, four + 4); };
    const auto number = [&](uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) wave.push_back(static_cast<uint8_t>(value >> (8 * i)));
    };
    text("RIFF");
    number(36 + d + d % 2, 4);
    text("WAVE");
    text("fmt ");
    number(16, 4);
    number(1, 2);
    number(1, 2);
    number(22050, 4);
    number(44100, 4);
    number(2, 2);
    number(16, 2);
    text("data");
    number(d, 4);
    wave.insert(wave.end(), block.begin() + 40, block.end());
    if (d % 2 == 1) wave.push_back(0);
    return wave;
}

}  // namespace quillet::fuzz
