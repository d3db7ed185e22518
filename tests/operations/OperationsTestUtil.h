#pragma once
// Client files for the operation tests, built byte by byte here, independent
// of the code under test.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "support/ByteIO.h"

namespace quillet::test {

struct Bytes {
    ByteArray b;
    Bytes& le(int32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(static_cast<uint32_t>(v) >> (8 * i)));
        return *this;
    }
    Bytes& le16(int32_t v) {
        b.push_back(static_cast<uint8_t>(v & 0xFF));
        b.push_back(static_cast<uint8_t>((v >> 8) & 0xFF));
        return *this;
    }
    Bytes& raw(const ByteArray& data) {
        b.insert(b.end(), data.begin(), data.end());
        return *this;
    }
    Bytes& text(const std::string& s) {
        b.insert(b.end(), s.begin(), s.end());
        return *this;
    }
    Bytes& record(int32_t position, int32_t size, int32_t extra) { return le(position).le(size).le(extra); }
};

inline ByteArray Text(const std::string& s) { return ByteArray(s.begin(), s.end()); }

// n bytes counting up from start (mod 256).
inline ByteArray Counting(size_t n, int start = 0) {
    ByteArray out(n);
    for (size_t i = 0; i < n; ++i) out[i] = static_cast<uint8_t>(start + static_cast<int>(i));
    return out;
}

inline void ExpectSlot(int FileID, int32_t Block, int32_t Size, int32_t Extra, bool hasBytes) {
    SCOPED_TRACE("FileID " + std::to_string(FileID) + " block " + std::to_string(Block));
    const PatchBlock& slot = Slot(FileID, Block);
    EXPECT_EQ(slot.Size, Size);
    EXPECT_EQ(slot.Extra, Extra);
    if (hasBytes)
        EXPECT_GE(slot.Offset, 1);
    else
        EXPECT_EQ(slot.Offset, 0);
}

inline void ExpectAbsent(int FileID, int32_t Block) {
    EXPECT_EQ(Slot(FileID, Block).Offset, -1) << "FileID " << FileID << " block " << Block;
}

// The fixture of the operation tests: a fresh patch, and what the counting
// points did (WaitPercent at every call that let events run).
class OperationsTest : public PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        WaitHooks hooks = CurrentWaitHooks();
        hooks.doEvents = [this] { percents.push_back(WaitPercent); };
        InstallWaitHooks(hooks);
    }

    bool Logged(const std::string& proc) const {
        for (const std::string& line : LogLines())
            if (line.find(" " + proc + ": ") != std::string::npos) return true;
        return false;
    }

    std::vector<int32_t> percents;
};

}  // namespace quillet::test
