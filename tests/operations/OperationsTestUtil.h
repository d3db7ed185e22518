#pragma once
// The fixture of the operation tests and its checks of a slot.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mPatch.h"
#include "core/mWait.h"

namespace quillet::test {

constexpr int kMap = 0;
constexpr int kArt = 4;
constexpr int kGumps = 12;
constexpr int kTiledata = 30;
constexpr int kHues = 32;

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

// ExpectSlot, and the block's bytes when it has any.
inline void ExpectBlock(int FileID, int32_t Block, int32_t Size, int32_t Extra, const ByteArray& bytes = {}) {
    ExpectSlot(FileID, Block, Size, Extra, !bytes.empty());
    if (bytes.empty()) return;
    EXPECT_EQ(ReadBlockBytes(FileID, Block), bytes) << "FileID " << FileID << " block " << Block;
}

inline void ExpectAbsent(int FileID, int32_t Block) {
    EXPECT_EQ(Slot(FileID, Block).Offset, -1) << "FileID " << FileID << " block " << Block;
}

// A fresh patch, and what the counting points did (WaitPercent at every
// call that let events run).
class OperationsTest : public PatchTest {
protected:
    void SetUp() override {
        PatchTest::SetUp();
        WaitHooks hooks = CurrentWaitHooks();
        hooks.doEvents = [this] { percents.push_back(WaitPercent); };
        InstallWaitHooks(hooks);
    }

    std::vector<int32_t> percents;
};

}  // namespace quillet::test
