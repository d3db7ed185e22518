// The jobs a user starts: each runs under its wait text, picks its procedure,
// and answers what became of it, so that a front end only has to show it.
#include <unistd.h>

#include <stdexcept>

#include "actions/JobOutcome.h"
#include "actions/RunJob.h"
#include "actions/mExportJob.h"
#include "actions/mImportJobs.h"
#include "actions/mPageJobs.h"
#include "actions/mPatchJobs.h"
#include "base/FileLock.h"
#include "base/Warnings.h"
#include "common/Bytes.h"
#include "common/TestEnv.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "operations/mGumps.h"
#include "viewers/PixelPicture.h"

namespace quillet {
namespace {

using test::Bytes;
using test::PatchTest;

constexpr int kArt = 4;

struct ImportCase {
    const char* name;
    int source;
    const char* waitText;
    ByteArray file;
    ByteArray index;  // an IDX file beside it when not empty
    int fileId;
    int32_t block;
    int32_t size;
};

class ImportJobTest : public PatchTest, public ::testing::WithParamInterface<ImportCase> {};

TEST_P(ImportJobTest, EachSourceGoesToItsLoaderUnderItsWaitText) {
    const ImportCase& c = GetParam();
    test::WriteFile(Path("source"), c.file);
    if (!c.index.empty()) test::WriteFile(Path("source.idx"), c.index);
    waitTexts.clear();
    ImportRequest request;
    request.Source = c.source;
    request.File = Path("source");
    request.Index = c.index.empty() ? "" : Path("source.idx");
    request.FromBlock = c.block;
    request.ToBlock = c.block;
    const Result result = ImportFrom(request);
    EXPECT_TRUE(result.Ok()) << result.Text();
    EXPECT_EQ(waitTexts, std::vector<std::string>{c.waitText});
    const PatchBlock& slot = Slot(c.fileId, c.block);
    EXPECT_EQ(slot.Size, c.size);
    EXPECT_GE(slot.Offset, 1);
    EXPECT_EQ(PatchBlocks[static_cast<size_t>(c.fileId)].Count, 1);
}

const ByteArray kTwoBytes{0xA1, 0xA2};

INSTANTIATE_TEST_SUITE_P(
    Sources, ImportJobTest,
    ::testing::Values(
        ImportCase{"MUO", kSourceMUO, "Importing MUO file. Please wait.",
                   Bytes{}.muoHeader(1).muo(kArt, 7, 0x11, 2, kTwoBytes).b, {}, kArt, 7, 2},
        ImportCase{"UOP", kSourceUOP, "Importing UOP file. Please wait.",
                   Bytes{}.uopHeader(4, 1).uop(kArt, 7, 2, 0x11, kTwoBytes).b, {}, kArt, 7, 2},
        ImportCase{"Verdata", kSourceVerdata, "Importing Verdata. Please wait.",
                   Bytes{}.le(1).verdata(kArt, 7, 24, 2, 0x11).raw(kTwoBytes).b, {}, kArt, 7, 2},
        // A type found through its index: block 7 is the eighth record.
        ImportCase{"Art", kArt, "Importing MUL data. Please wait", kTwoBytes,
                   Bytes{}.fill(7 * 12, 0xFF).record(0, 2, 0x11).b, kArt, 7, 2},
        // Tiledata by its sections: block 512 is the first static group, at 512 * 836.
        ImportCase{"Tiledata", 30, "Importing MUL data. Please wait",
                   Bytes{}.fill(512 * 836, 1).fill(1188, 2).b, {}, 30, 512, 1188}),
    [](const ::testing::TestParamInfo<ImportCase>& param) { return std::string(param.param.name); });

TEST_F(PatchTest, AJobAnswersTheFirstFailureLoggedWhileItRan) {
    // An entry whose FileID field does not fit a byte ends the MUO load.
    test::WriteFile(Path("bad.muo"), Bytes{}.muoHeader(2).muo(kArt, 1, 0, 1, {1}).muo(300, 2, 0, 0).b);
    ImportRequest request;
    request.File = Path("bad.muo");
    const Result failed = ImportFrom(request);
    ASSERT_FALSE(failed.Ok());
    EXPECT_TRUE(failed.WasLogged());
    EXPECT_FALSE(failed.WasShown());
    EXPECT_EQ(failed.Text().rfind("mPatch.LoadMUO: ", 0), 0u) << failed.Text();

    // A source that is no source is refused before any wait begins.
    waitTexts.clear();
    request.Source = 299;
    const Result refused = ImportFrom(request);
    EXPECT_FALSE(refused.Ok());
    EXPECT_FALSE(refused.WasLogged());
    EXPECT_TRUE(waitTexts.empty());

    // Whatever a job's body throws is logged under the job's name, and the wait still ends.
    int stops = 0;
    WaitHooks hooks = CurrentWaitHooks();
    hooks.stop = [&stops] { ++stops; };
    InstallWaitHooks(hooks);
    const Result thrown = RunJob("Working", "test.Job", []() -> bool { throw std::runtime_error("boom"); });
    EXPECT_EQ(thrown.Text(), "test.Job: boom");
    EXPECT_EQ(stops, 1);

    // Warnings given during a job ride along with its answer, in order, and
    // only those of this job: the outer watch sees them too, nothing else does.
    const WarningWatch outer;
    Warn("before the job");
    const Result warned = RunJob("", "test.Job", [] {
        Warn("3 blocks read with zeros");
        Warn("2 blocks beyond Art's last block");
    });
    EXPECT_TRUE(warned.Ok());
    EXPECT_EQ(warned.Warnings(), (std::vector<std::string>{"3 blocks read with zeros", "2 blocks beyond Art's last block"}));
    EXPECT_EQ(outer.Texts().size(), 3u);
    EXPECT_TRUE(RunJob("", "test.Job", [] {}).Warnings().empty());
}

// A front end with message boxes shows one message with the warning icon: the
// failure nobody has told yet (by its description: the procedure's name is the
// log's), then every warning; nothing when there is nothing to tell.
TEST_F(PatchTest, AnImportTellsItsFailureOrItsWarningsInOneMessage) {
    std::vector<std::string> warningBoxes;
    WaitHooks hooks = CurrentWaitHooks();
    hooks.warning = [&](const std::string& text) { warningBoxes.push_back(text); };
    InstallWaitHooks(hooks);

    // A client's container given as a UOP patch file: a failure that names it.
    test::WriteFile(Path("myp.uop"), Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).b);
    ImportRequest request;
    request.Source = kSourceUOP;
    request.File = Path("myp.uop");
    const Result failed = ImportFrom(request);
    ASSERT_TRUE(failed.WasLogged());
    EXPECT_FALSE(TellOutcome(failed));
    const std::string why = Path("myp.uop") +
                            ": Unsupported patchfile. It is a client UOP container (\"MYP\"), not a UOP patch "
                            "file.";
    EXPECT_EQ(warningBoxes, std::vector<std::string>{why});

    // Two cut blocks and a count beyond the file: a success with two warnings, one message.
    warningBoxes.clear();
    test::WriteFile(Path("short.uop"), Bytes{}.uopHeader(4, 3).uop(kArt, 7, 5, 0, {1, 2}).b);
    request.File = Path("short.uop");
    const Result warned = ImportFrom(request);
    ASSERT_TRUE(warned.Ok()) << warned.Text();
    ASSERT_EQ(warned.Warnings().size(), 2u);
    EXPECT_TRUE(TellOutcome(warned));
    EXPECT_EQ(warningBoxes, std::vector<std::string>{warned.Warnings()[0] + "\r\n" + warned.Warnings()[1]});
    EXPECT_EQ(ReadBlockBytes(kArt, 7), (ByteArray{0, 0, 0, 0, 0}));  // the repeat past the end wins

    // Shown already: only the warnings. Nothing to tell: no message at all.
    EXPECT_EQ(OutcomeMessage(Result::Shown("shown").WithWarnings({"w1", "w2"})), "w1\r\nw2");
    EXPECT_EQ(OutcomeMessage(Result::Failed("not told")), "not told");
    warningBoxes.clear();
    EXPECT_TRUE(TellOutcome(Result::Success()));
    EXPECT_FALSE(TellOutcome(Result::Shown("shown")));
    EXPECT_TRUE(warningBoxes.empty());
    EXPECT_TRUE(messages.empty());

    // Open of a MUO file that holds no block says so.
    test::WriteFile(Path("empty.muo"), Bytes{}.muoHeader(0).b);
    const Result opened = OpenPatch(Path("empty.muo"));
    EXPECT_TRUE(opened.Ok());
    EXPECT_EQ(opened.Warnings(),
              std::vector<std::string>{Path("empty.muo") + ": no block was loaded (the file counts 0 entries)."});
}

TEST_F(PatchTest, ExportTellsWhetherTheUserHasSeenItsFailure) {
    // Nothing to export: the message box said it.
    const Result empty = ExportToVerdata(dir);
    ASSERT_FALSE(empty.Ok());
    EXPECT_TRUE(empty.WasShown());
    EXPECT_EQ(empty.Text(), "There are no blocks in the patch to save.");

    // A verdata.mul with an entry of a negative FileID: only the log says why.
    StoreBlock(kArt, 7, 2, 0, kTwoBytes);
    test::WriteFile(Path("verdata.mul"), Bytes{}.le(1).verdata(-1, 0, 0, -1, 0).b);
    const Result refused = ExportToVerdata(dir);
    EXPECT_TRUE(refused.WasLogged()) << refused.Text();
    EXPECT_EQ(refused.Text().rfind("mVerdata.ExportVerdata: ", 0), 0u);

    // The directory held by another export: told at once without waiting.
    test::WriteFile(Path("verdata.mul"), Bytes{}.le(0).b);
    FileLock other;
    ASSERT_TRUE(other.Lock(dir));
    const Result busy = ExportToVerdata(dir, LockWait::NoWait);
    EXPECT_TRUE(busy.WasShown());
    EXPECT_EQ(busy.Text().rfind("Another program is writing into the directory " + dir, 0), 0u) << busy.Text();
    other.Release();

    // No verdata.mul: asked about only while the patch has blocks; told, or started when asked to.
    ::unlink(Path("verdata.mul").c_str());
    EXPECT_TRUE(ExportNeedsNewVerdata(dir));
    EXPECT_EQ(ExportToVerdata(dir).Text(),
              "Cannot find verdata.mul in the directory you run Quillet.\r\nLooked in " + dir);
    ASSERT_TRUE(ExportToVerdata(dir, LockWait::Wait, MissingVerdata::Create).Ok());
    EXPECT_FALSE(ExportNeedsNewVerdata(dir) || test::Exists(Path("verdata.bak")));
    ::unlink(Path("verdata.mul").c_str());
    Slot(kArt, 7).Offset = -1;
    EXPECT_FALSE(ExportNeedsNewVerdata(dir));
    StoreBlock(kArt, 7, 2, 0, kTwoBytes);

    // What the export went past rides along with its success.
    test::WriteFile(Path("verdata.mul"), Bytes{}.le(2).b);
    waitTexts.clear();
    const Result done = ExportToVerdata(dir);
    EXPECT_TRUE(done.Ok());
    EXPECT_EQ(done.Warnings().size(), 1u);
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Exporting to verdata. Please wait."});
}

TEST_F(PatchTest, OpenLoadsAWholeMuoIntoANewPatchAndSaveWritesItBack) {
    StoreBlock(kArt, 3, 1, 0, ByteArray{0x33});  // gone with the old patch
    const ByteArray file = Bytes{}.muoHeader(1).muo(kArt, 7, 0x11, 2, kTwoBytes).b;
    test::WriteFile(Path("in.muo"), file);
    waitTexts.clear();
    ASSERT_TRUE(OpenPatch(Path("in.muo")).Ok());
    EXPECT_EQ(waitTexts, (std::vector<std::string>{"Loading radar colors", "Loading MUO. Please wait."}));
    EXPECT_EQ(Slot(kArt, 3).Offset, -1);
    EXPECT_EQ(ReadBlockBytes(kArt, 7), kTwoBytes);

    // A type whose range reaches past 400000 (a current map's) is opened whole.
    RegisterMUL(0, "Map", 196, 458751, 10, PageRef::Map(), 0);
    test::WriteFile(Path("wide.muo"), Bytes{}.muoHeader(1).muo(0, 458751, 0, 2, kTwoBytes).b);
    ASSERT_TRUE(OpenPatch(Path("wide.muo")).Ok());
    EXPECT_EQ(ReadBlockBytes(0, 458751), kTwoBytes);
    ASSERT_TRUE(OpenPatch(Path("in.muo")).Ok());

    waitTexts.clear();
    ASSERT_TRUE(SavePatch(Path("out.muo")).Ok());
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Saving MUO. Please wait."});
    EXPECT_EQ(test::ReadFile(Path("out.muo")), file);
    const Result unsaved = SavePatch(Path("no/such/dir/out.muo"));
    EXPECT_EQ(unsaved.Text().rfind("mPatch.SaveMUO: ", 0), 0u) << unsaved.Text();

    // A name that is not there is a new, empty patch; what is no MUO file is told apart.
    const size_t logged = LogLines().size();
    waitTexts.clear();
    ASSERT_TRUE(OpenPatch(Path("none.muo")).Ok());
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Loading radar colors"});
    EXPECT_EQ(PatchBlocks[kArt].Count, 0);
    EXPECT_EQ(CheckPatchFile(Path("none.muo")).Text(), Path("none.muo") + ": File does not exist.");
    test::WriteFile(Path("v2.muo"), Bytes{}.muoHeader(0, 2).b);
    EXPECT_EQ(CheckPatchFile(Path("v2.muo")).Text(), Path("v2.muo") + ": Unsupported patchfile.");
    EXPECT_TRUE(CheckPatchFile(Path("in.muo")).Ok());
    EXPECT_EQ(LogLines().size(), logged);  // neither logs anything
}

TEST_F(PatchTest, PagesAreNotDrawnFromBytesTheScratchFileLost) {
    StoreBlock(0, 513, 196, 0, ByteArray(196, 7));
    PixelPicture page;
    waitTexts.clear();
    ASSERT_TRUE(DrawPage(page, 0).Ok());
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Drawing map. Please wait."});
    EXPECT_TRUE(page.Shown());

    // The scratch file cut behind the program's back: the map is not drawn
    // from zeros, it fails and says so.
    ASSERT_TRUE(Datafile_Flush(DataFileHandle));
    ASSERT_EQ(::truncate(DataFileName.c_str(), 0), 0);
    const Result cut = DrawPage(page, 0);
    EXPECT_EQ(cut.Text().rfind("mMap.DrawMap: The patch's scratch file is shorter", 0), 0u) << cut.Text();
    EXPECT_FALSE(page.Shown());
    EXPECT_FALSE(DrawPage(page, kArt).Ok());  // a list page has no picture
}

TEST_F(PatchTest, ListsAndPicturesRunUnderTheirWaitTexts) {
    StoreBlock(kArt, 9, 1, 0, ByteArray{1});
    StoreBlock(kArt, 2, 0, 0, ByteArray{});
    waitTexts.clear();
    EXPECT_EQ(ListBlocks(kArt), (std::vector<int32_t>{2, 9}));
    EXPECT_EQ(waitTexts, std::vector<std::string>{"Listing Art. Please wait."});

    struct OnePixel : PixelSource {
        int32_t Width() const override { return 1; }
        int32_t Height() const override { return 1; }
        RGB Pixel(int32_t, int32_t) const override { return {}; }
    };
    waitTexts.clear();
    EXPECT_TRUE(ImportGump(OnePixel{}, 5).Ok());
    EXPECT_FALSE(ImportGump(OnePixel{}, 65536).Ok());  // beyond the Gumps slots
    test::WriteFile(Path("a.mul"), ByteArray{});
    test::WriteFile(Path("a.idx"), ByteArray{});
    EXPECT_TRUE(CompareFiles(kArt, Path("a.mul"), Path("a.idx"), Path("a.mul"), Path("a.idx")).Ok());
    EXPECT_EQ(waitTexts, (std::vector<std::string>{"Converting picture to gump. Please wait.",
                                                   "Converting picture to gump. Please wait.",
                                                   "Comparing MUL data. Please wait."}));
}

}  // namespace
}  // namespace quillet
