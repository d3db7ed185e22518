// Sound blocks as WAV files: the RIFF header byte by byte, the samples, the
// pad byte of an odd length, and blocks without samples.
#include <gtest/gtest.h>

#include "common/Bytes.h"
#include "formats/SoundWave.h"

namespace quillet {
namespace {

using test::Bytes;
using test::Counting;

// The 44-byte header of a 16-bit mono PCM file at 22050 Hz.
Bytes WaveHead(int32_t riffSize, int32_t dataSize) {
    // clang-format off
    return Bytes()
        .text("RIFF").le(riffSize).text("WAVE")
        .text("fmt ").le(16).le16(1).le16(1).le(22050).le(44100).le16(2).le16(16)
        .text("data").le(dataSize);
    // clang-format on
}

ByteArray SoundBlock(const ByteArray& samples) {
    return Bytes().str("bell.wav").fill(31, 0xAB).raw(samples).b;  // a 40-byte header
}

TEST(SoundWaveTest, HeaderAndSamples) {
    const ByteArray samples = Counting(6, 0xF0);
    ByteArray wave{1, 2, 3};
    std::string why;
    ASSERT_TRUE(SoundToWave(SoundBlock(samples), wave, why)) << why;
    EXPECT_EQ(wave, WaveHead(42, 6).raw(samples).b);

    ASSERT_TRUE(SoundToWave(SoundBlock(ByteArray(2000, 0x7F)), wave, why)) << why;
    EXPECT_EQ(wave, WaveHead(2036, 2000).fill(2000, 0x7F).b);
}

TEST(SoundWaveTest, AnOddLengthIsPaddedInTheRiffSizeOnly) {
    ByteArray wave;
    std::string why;
    ASSERT_TRUE(SoundToWave(SoundBlock(Counting(5, 1)), wave, why)) << why;
    EXPECT_EQ(wave, WaveHead(42, 5).raw(Counting(5, 1)).u8(0).b);
    ASSERT_TRUE(SoundToWave(SoundBlock({0xFF}), wave, why)) << why;
    EXPECT_EQ(wave, WaveHead(38, 1).u8(0xFF).u8(0).b);
}

TEST(SoundWaveTest, BlocksWithoutSamplesGiveNoFile) {
    for (const size_t size : {0, 1, 39, 40}) {
        ByteArray wave;
        std::string why;
        EXPECT_FALSE(SoundToWave(ByteArray(size, 1), wave, why)) << size;
        EXPECT_NE(why.find(std::to_string(size) + " bytes"), std::string::npos) << why;
        EXPECT_TRUE(wave.empty());
    }
}

}  // namespace
}  // namespace quillet
