#include "operations/mGumps.h"

#include <string>
#include <vector>

#include "base/Checked.h"
#include "core/mPatch.h"
#include "base/cError.h"
#include "base/ByteIO.h"
#include "support/mConvert.h"

namespace quillet {
namespace {

// A row start is written in the low three bytes of its entry (the fourth
// stays 0), so it can name no 4-byte unit beyond this one. Rather than a
// truncated start that sends the client into the wrong row, such a picture
// is refused.
constexpr int32_t kLargestRowStart = 0xFFFFFF;

// Width and Height are packed as 16-bit signed halves of Extra.
constexpr int32_t kLargestSide = 32767;

// The colours of row y by ColorTo555, in out (the low two bytes of each).
void RowColours(const PixelSource& Picture, int32_t y, std::vector<PixelSource::RGB>& pixels,
                std::vector<uint16_t>& out) {
    Picture.Row(y, pixels.data());
    const ChannelsTo555& channels = ChannelTables555();
    for (size_t x = 0; x < pixels.size(); ++x)
        out[x] = static_cast<uint16_t>(channels.Red[pixels[x].Red] * 1024 + channels.Other[pixels[x].Green] * 32 +
                                       channels.Other[pixels[x].Blue]);
}

// The block buffer as it grows, one run at a time.
class GumpWriter {
public:
    explicit GumpWriter(int32_t Height)
        : buffer_(static_cast<size_t>(MulLong(Height, 4)), uint8_t{0}), used_(Height) {}

    int32_t Used() const { return used_; }

    void AddRun(uint16_t Colour, int32_t Length) {
        used_ = AddLong(used_, 1);
        buffer_.resize(static_cast<size_t>(MulLong(used_, 4)));
        uint8_t* run = buffer_.data() + (buffer_.size() - 4);
        StoreI16(run, static_cast<int16_t>(Colour));
        StoreI16(run + 2, static_cast<int16_t>(Length));
    }

    void SetRowStart(int32_t y, int32_t Start) {
        if (Start > kLargestRowStart)
            Fail("Row " + std::to_string(y) + " would start at 4-byte unit " + std::to_string(Start) +
                 ", beyond the 3 bytes of its row table entry");
        LongToBytes(Start, buffer_, MulLong(y, 4), 3);
    }

    const ByteArray& Bytes() const { return buffer_; }

private:
    ByteArray buffer_;
    int32_t used_;  // 4-byte units in use: the row table, then the runs
};

}  // namespace

bool Gump_LoadBMP(const PixelSource& Picture, int32_t Block, bool Recount) {
    try {
        const int32_t width = Picture.Width();
        const int32_t height = Picture.Height();
        // Everything that can refuse the conversion is settled before the
        // slot or the DataFile is touched.
        Slot(kGumpsFileID, Block);
        const std::string size = std::to_string(width) + " by " + std::to_string(height) + " pixels";
        if (width > kLargestSide || height > kLargestSide)
            Fail("Overflow: a picture of " + size + ", but the halves of Extra hold " + std::to_string(kLargestSide) +
                 " at most");
        if (width < 1 || height < 1) Fail("A picture of " + size + " has nothing to convert");
        const int32_t extra = MakeLong(ToInteger(height), ToInteger(width));

        GumpWriter gump(height);
        std::vector<PixelSource::RGB> pixels(static_cast<size_t>(width));
        std::vector<uint16_t> colours(static_cast<size_t>(width));
        for (int32_t y = 0; y < height; ++y) {
            const int32_t rowStart = gump.Used();
            RowColours(Picture, y, pixels, colours);
            // The row's first pixel opens its first run, so no run has length 0.
            uint16_t current = colours[0];
            int32_t length = 0;
            for (int32_t x = 0; x < width; ++x) {
                const uint16_t colour = colours[static_cast<size_t>(x)];
                if (colour == current) {
                    ++length;
                } else {
                    gump.AddRun(current, length);
                    current = colour;
                    length = 1;
                }
            }
            gump.AddRun(current, length);
            gump.SetRowStart(y, rowStart);
        }

        const ByteArray& bytes = gump.Bytes();
        StoreBlock(kGumpsFileID, Block, ToLong(static_cast<int64_t>(bytes.size())), extra, bytes);
        if (Recount) RecountBlocks(kGumpsFileID);
        return true;
    } catch (...) {
        gError.Log("mGumps.Gump_LoadBMP");
        return false;
    }
}

}  // namespace quillet
