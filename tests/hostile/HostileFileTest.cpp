// A corpus of damaged and hostile input files, each handed to the procedure
// that reads such a file. Every case must end in its one expected way (blocks
// stored or not, counts, an illegal-block message, or one log line of the procedure)
// and never crash, hang or allocate what the file merely claims; and every
// input must be byte-identical afterwards, with nothing new beside it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <ostream>

#include "base/Warnings.h"
#include "core/mMuls.h"
#include "core/mPatch.h"
#include "formats/cTiledata.h"
#include "formats/mPatchMUO.h"
#include "formats/mPatchUOP.h"
#include "formats/mVerdata.h"
#include "hostile/HostileUtil.h"
#include "operations/OperationsTestUtil.h"
#include "operations/mImport.h"
#include "support/cRegistery.h"
#include "support/cUO.h"

namespace quillet {
namespace {

using hostile::Bytes;
using hostile::kMaxLong;
using hostile::kMinLong;

using Files = std::vector<std::pair<std::string, ByteArray>>;
using Run = std::function<void(const std::string& dir)>;
using Check = std::function<void()>;

struct Outcome {
    std::string logged;                // procedure of the one log line; empty: no line at all
    std::string says;                  // what that line's description holds
    int messages = 0;                  // illegal-block messages
    std::map<int, int32_t> counts;     // types left with a Count (recounted also after a stop); others have 0
    std::vector<std::string> created;  // files the call may make
    std::vector<std::string> warnings;  // what each warning given holds, in order; no other warning
};

struct Case {
    std::string name;
    Files inputs;
    Run run;
    Outcome want;
    Check check;  // slots worth a closer look
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// ---- the procedures, on the inputs' fixed names ----

Run Muo(int32_t fromBlock = 0) {
    return [=](const std::string& dir) { LoadMUO(dir + "/in.muo", 0, 255, fromBlock, HighestBlock()); };
}
Run Uop(int32_t fromBlock = 0) {
    return [=](const std::string& dir) { LoadUOP(dir + "/in.uop", 0, 255, fromBlock, HighestBlock()); };
}
Run Verdata(int32_t fromBlock = 0) {
    return [=](const std::string& dir) { LoadVerdata(dir + "/in.mul", 0, 255, fromBlock, HighestBlock()); };
}
Run Mul(uint8_t fileId, int32_t from, int32_t to) {
    return [=](const std::string& dir) { LoadMUL(dir + "/in.mul", dir + "/in.idx", fileId, from, to); };
}
Run Tiledata(int32_t from, int32_t to) {
    return [=](const std::string& dir) { LoadTiledata(dir + "/in.mul", from, to); };
}
Run Compare(uint8_t fileId) {
    return [=](const std::string& dir) {
        CompareMUL(dir + "/base.mul", dir + "/base.idx", dir + "/new.mul", dir + "/new.idx", fileId);
    };
}

// The client's place from a prefix whose system.reg is the input.
enum class Client { NotFound, Found, Consistent };
Run FindClient(Client want) {
    return [=](const std::string& dir) {
        cUO uo;
        uo.Init(cRegistery(dir + "/prefix"));
        switch (want) {
            case Client::NotFound:
                EXPECT_EQ(uo.UO2DPath, "");
                EXPECT_FALSE(uo.isUO2D);
                break;
            case Client::Found:
                EXPECT_EQ(uo.UO2DPath, dir + "/prefix/drive_c/UO/");
                EXPECT_TRUE(uo.isUO2D);
                break;
            case Client::Consistent:  // whatever was read, the flag tells the truth about it
                EXPECT_EQ(uo.isUO2D, hostile::Exists(uo.UO2DPath + "client.exe")) << uo.UO2DPath;
                break;
        }
        EXPECT_EQ(uo.UO3DPath, "");
    };
}

// ---- what the slots must say ----

// The slot as the operation tests check it (bytes given: stored and equal;
// none: present and empty), once the case has run.
Check Has(int id, int32_t block, int32_t size, int32_t extra, const ByteArray& bytes = {}) {
    return [=] { test::ExpectBlock(id, block, size, extra, bytes); };
}
Check Lacks(int id, int32_t block) { return [=] { test::ExpectAbsent(id, block); }; }
Check All(std::vector<Check> checks) {
    return [=] {
        for (const Check& check : checks) check();
    };
}

ByteArray Zeros(size_t n) { return ByteArray(n, 0); }
ByteArray Then(ByteArray head, size_t zeros) {
    head.insert(head.end(), zeros, 0);
    return head;
}

// ---- the four shapes of an outcome ----

// Ends normally, with no log line, no message and no warning.
Case Quiet(std::string name, Files inputs, Run run, std::map<int, int32_t> counts = {}, Check check = {}) {
    return {
        std::move(name), std::move(inputs), std::move(run), {"", "", 0, std::move(counts), {}, {}}, std::move(check)};
}
// Ends normally and warns of what it went on past (a short file, blocks
// beyond a type, nothing loaded).
Case Warns(std::string name, Files inputs, Run run, std::vector<std::string> warnings,
           std::map<int, int32_t> counts = {}, Check check = {}) {
    return {std::move(name),
            std::move(inputs),
            std::move(run),
            {"", "", 0, std::move(counts), {}, std::move(warnings)},
            std::move(check)};
}
// Stops with one log line of proc; what was stored before the stop stays, and
// the counts say so.
Case Logs(std::string name, Files inputs, Run run, std::string proc, std::string says,
          std::map<int, int32_t> counts = {}, Check check = {}) {
    return {std::move(name),
            std::move(inputs),
            std::move(run),
            {std::move(proc), std::move(says), 0, std::move(counts), {}, {}},
            std::move(check)};
}
// Shows the illegal-block message, skips that entry and goes on.
Case Tells(std::string name, Files inputs, Run run, int messages, std::map<int, int32_t> counts = {}, Check check = {},
           std::vector<std::string> warnings = {}) {
    return {std::move(name),
            std::move(inputs),
            std::move(run),
            {"", "", messages, std::move(counts), {}, std::move(warnings)},
            std::move(check)};
}

// A block larger than what the scratch file has left of its 2 GB: the user
// is told once, and the load stops.
const std::string kScratchFull = "would pass 2147483647 bytes";

// A block stored without reading its bytes back (they may be a gigabyte):
// present, with this Size and Extra, its bytes in the DataFile; the DataFile
// takes no disk for the zeros (a hole).
Check Huge(int id, int32_t block, int32_t size, int32_t extra) {
    return [=] {
        test::ExpectSlot(id, block, size, extra, true);
        EXPECT_GE(DataFileHandle.Size(), int64_t{size});
        ASSERT_TRUE(Datafile_Flush(DataFileHandle));
        struct stat info {};
        ASSERT_EQ(::stat(DataFileName.c_str(), &info), 0);
        EXPECT_LT(int64_t{info.st_blocks} * 512, int64_t{64} << 20) << "the zeros took disk";
    };
}

// What the warnings say.
const std::string kNothing = "no block was loaded";
const std::string kNeitherLayout = "fits neither layout of the tile data file";
std::string ShortBlocks(int64_t n) {
    return n == 1 ? "1 block reaches past the end of the file" : std::to_string(n) + " blocks reach past the end";
}
std::string EndsAfter(const std::string& counted, int64_t whole) {
    return "counts " + counted + " but ends after " + std::to_string(whole) + ";";
}

// A verdata file with Art block 1 (one byte, 0x61) in front of a second,
// damaged entry; the data area begins at 4 + 2 * 20.
ByteArray VerdataWithSecond(int32_t fileId, int32_t block, int32_t position, int32_t size) {
    return Bytes{}.le(2).verdata(4, 1, 44, 1, 0).verdata(fileId, block, position, size, 0).u8(0x61).b;
}

// A Wine system.reg around the given lines, and the client's program in the prefix.
Files Registry(const std::string& body) {
    const std::string text = "WINE REGISTRY Version 2\n;; All keys relative to \\\\Machine\n\n#arch=win32\n\n" + body;
    return {{"prefix/system.reg", ByteArray(text.begin(), text.end())},
            {"prefix/drive_c/UO/client.exe", {'M', 'Z'}}};
}
const std::string kKey = "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0] 1710000001\n";
const std::string kExePath = "\"ExePath\"=\"C:\\\\UO\\\\client.exe\"\n";

std::vector<Case> Corpus() {
    std::vector<Case> cases;
    auto add = [&](Case c) { cases.push_back(std::move(c)); };
    const ByteArray art1{0x41};

    // ---- MUO patch files ----
    // A file that is no MUO file (cut in its header, of another version, a
    // client's container) is a failure that names it.
    add(Logs("muo_empty_file", {{"in.muo", {}}}, Muo(), "mPatch.LoadMUO", "in.muo: Unsupported patchfile."));
    add(Logs("muo_cut_in_its_magic", {{"in.muo", {'M', 'U', 'O'}}}, Muo(), "mPatch.LoadMUO", "Unsupported patchfile."));
    add(Logs("muo_cut_in_its_version", {{"in.muo", Bytes{}.text("MUOP").u8(1).b}}, Muo(), "mPatch.LoadMUO",
             "in.muo: Unable to open file. Its header is cut short."));
    add(Logs("muo_name_without_its_0", {{"in.muo", Bytes{}.text("MUOP").le(1).text("MUO").b}}, Muo(), "mPatch.LoadMUO",
             "header is cut short"));
    add(Logs("muo_author_runs_to_the_end", {{"in.muo", Bytes{}.text("MUOP").le(1).str("a").str("b").text("cdefgh").b}},
             Muo(), "mPatch.LoadMUO", "header is cut short"));
    add(Logs("muo_version_far_out", {{"in.muo", Bytes{}.muoHeader(1, kMaxLong).muo(4, 1, 0, 1, art1).b}}, Muo(),
             "mPatch.LoadMUO", "in.muo: Unsupported patchfile."));
    add(Logs("muo_client_container", {{"in.muo", Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).le(0).b}}, Muo(),
             "mPatch.LoadMUO", "client UOP container"));
    // The count is cut after two bytes: it reads as 1, and the one entry past
    // the end is the zeroed record, Map block 0, present and empty.
    add(Warns("muo_cut_in_its_count", {{"in.muo", Bytes{}.text("MUOP").le(1).str("").str("").str("").u8(1).u8(0).b}},
              Muo(), {EndsAfter("1 entry", 0)}, {{0, 1}}, Has(0, 0, 0, 0)));
    add(Warns("muo_cut_in_an_entry_head", {{"in.muo", Bytes{}.muoHeader(2).muo(4, 7, 0, 1, art1).le(8).le(3).b}}, Muo(),
              {EndsAfter("2 entries", 1)}, {{4, 1}, {8, 1}}, All({Has(4, 7, 1, 0, art1), Has(8, 3, 0, 0)})));
    // Bytes past the end read as zeros.
    add(Warns("muo_cut_in_the_data", {{"in.muo", Bytes{}.muoHeader(1).muo(4, 7, 0, 10, {1, 2, 3, 4}).b}}, Muo(),
              {ShortBlocks(1)}, {{4, 1}}, Has(4, 7, 10, 0, Then({1, 2, 3, 4}, 6))));
    // The zeroed records past the end are Map block 0, present and empty, with Map's flag on.
    add(Warns("muo_count_near_2g", {{"in.muo", Bytes{}.muoHeader(kMaxLong).muo(4, 7, 0, 1, art1).b}}, Muo(),
              {EndsAfter("2147483647 entries", 1)}, {{0, 1}, {4, 1}},
              All({Has(4, 7, 1, 0, art1), Has(0, 0, 0, 0), [] { EXPECT_EQ(FileTypes[0].InVerdata, 1); }})));
    add(Warns("muo_negative_count", {{"in.muo", Bytes{}.muoHeader(kMinLong).muo(4, 7, 0, 1, art1).b}}, Muo(),
              {kNothing}, {}, Lacks(4, 7)));
    // A block's bytes pass into the DataFile a piece at a time, its zeros as
    // a hole: a gigabyte costs neither memory nor disk. One past what the
    // DataFile has left of its 2 GB stops the load, told once.
    add(Warns("muo_size_1g", {{"in.muo", Bytes{}.muoHeader(1).muo(4, 7, 5, 1 << 30, {1, 2, 3}).b}}, Muo(),
              {ShortBlocks(1)}, {{4, 1}}, Huge(4, 7, 1 << 30, 5)));
    add(Logs("muo_size_near_2g",
             {{"in.muo", Bytes{}.muoHeader(2).muo(4, 1, 0, 1, art1).muo(4, 7, 0, kMaxLong, {1, 2, 3}).b}}, Muo(),
             "mPatch.LoadMUO", kScratchFull, {{4, 1}}, All({Has(4, 1, 1, 0, art1), Lacks(4, 7)})));
    add(Quiet("muo_size_minus_2g",
              {{"in.muo", Bytes{}.muoHeader(2).muo(4, 7, 3, kMinLong).muo(4, 8, 0, 1, art1).b}}, Muo(), {{4, 2}},
              All({Has(4, 7, kMinLong, 3), Has(4, 8, 1, 0, art1)})));
    add(Logs("muo_fileid_far_out", {{"in.muo", Bytes{}.muoHeader(1).muo(kMaxLong, 1, 0, 0).b}}, Muo(), "mPatch.LoadMUO",
             "in.muo, entry 0: Overflow"));
    add(Logs("muo_fileid_256", {{"in.muo", Bytes{}.muoHeader(2).muo(4, 1, 0, 1, art1).muo(256, 2, 0, 0).b}}, Muo(),
             "mPatch.LoadMUO", "in.muo, entry 1: Overflow", {{4, 1}}, Has(4, 1, 1, 0, art1)));
    add(Logs("muo_fileid_negative", {{"in.muo", Bytes{}.muoHeader(1).muo(-1, 1, 0, 0).b}}, Muo(), "mPatch.LoadMUO",
             "Overflow"));
    // The data of a refused entry is passed over: the next entry reads as usual.
    add(Tells("muo_block_beyond_art",
              {{"in.muo", Bytes{}.muoHeader(2).muo(4, 81884, 0, 2, {1, 2}).muo(4, 1, 0, 1, art1).b}}, Muo(), 1,
              {{4, 1}}, Has(4, 1, 1, 0, art1)));
    add(Tells("muo_block_near_2g", {{"in.muo", Bytes{}.muoHeader(1).muo(0, kMaxLong, 0, 0).b}}, Muo(), 1, {}, {},
              {kNothing}));
    add(Warns("muo_negative_block_filtered", {{"in.muo", Bytes{}.muoHeader(1).muo(4, -5, 0, 1, art1).b}}, Muo(),
              {kNothing}));
    add(Logs("muo_negative_block_let_through", {{"in.muo", Bytes{}.muoHeader(1).muo(4, -5, 0, 1, art1).b}},
             Muo(-10), "mPatch.LoadMUO", "Subscript"));
    add(Logs("muo_unused_type_block_0", {{"in.muo", Bytes{}.muoHeader(1).muo(1, 0, 0, 1, art1).b}}, Muo(),
             "mPatch.LoadMUO", "Subscript"));
    add(Tells("muo_unused_type_block_1", {{"in.muo", Bytes{}.muoHeader(1).muo(1, 1, 0, 1, art1).b}}, Muo(), 1, {}, {},
              {kNothing}));
    add(Warns("muo_reserved_fileid_255", {{"in.muo", Bytes{}.muoHeader(1).muo(255, 0, 0, 1, art1).b}}, Muo(),
              {kNothing}));

    // ---- UOP patch files ----
    add(Logs("uop_empty_file", {{"in.uop", {}}}, Uop(), "mPatch.LoadUOP", "in.uop: Unsupported patchfile."));
    add(Logs("uop_version_3", {{"in.uop", Bytes{}.uopHeader(3, 1).uop(4, 1, 1, 0, art1).b}}, Uop(), "mPatch.LoadUOP",
             "in.uop: Unsupported patchfile."));
    add(Logs("uop_client_container", {{"in.uop", Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).le(0).b}}, Uop(),
             "mPatch.LoadUOP", "in.uop: Unsupported patchfile. It is a client UOP container"));
    // Cut after the count: the entry past the end reads as the zeroed variables.
    add(Warns("uop_cut_after_its_count", {{"in.uop", Bytes{}.text("UOP").u8(5).le(1).b}}, Uop(),
              {EndsAfter("1 entry", 0)}, {{0, 1}}, Has(0, 0, 0, 0)));
    add(Warns("uop_cut_in_an_entry_head", {{"in.uop", Bytes{}.uopHeader(4, 1).u8(4).u8(7).u8(0).b}}, Uop(),
              {EndsAfter("1 entry", 0)}, {{4, 1}}, Has(4, 7, 0, 0)));
    // The two bytes of Block that are there replace its low half only; Size
    // and Extra are still those of the entry before.
    add(Warns("uop_cut_in_a_second_entry_head",
              {{"in.uop", Bytes{}.uopHeader(5, 3).uop(6, 0x00010005, 2, 7, {5, 5}).u8(6).u8(7).u8(0).b}}, Uop(),
              {ShortBlocks(2), EndsAfter("3 entries", 1)}, {{6, 2}},
              All({Has(6, 0x00010005, 2, 7, {5, 5}), Has(6, 0x00010007, 2, 7, {0, 0})})));
    add(Warns("uop_cut_in_the_data", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(8, 3, 5, 1, {1, 2}).b}}, Uop(),
              {ShortBlocks(1)}, {{8, 1}}, Has(8, 3, 5, 1, {1, 2, 0, 0, 0})));
    // Past the end the last entry repeats, its data read as zeros: the last word.
    add(Warns("uop_cut_in_the_data_repeated", {{"in.uop", Bytes{}.uopHeader(4, 2).uop(8, 3, 5, 1, {1, 2}).b}}, Uop(),
              {ShortBlocks(2), EndsAfter("2 entries", 1)}, {{8, 1}}, Has(8, 3, 5, 1, Zeros(5))));
    add(Warns("uop_count_near_2g",
              {{"in.uop", Bytes{}.uopHeader(4, kMaxLong).uop(4, 7, 1, 0, art1).uop(6, 100, 3, 9, {1, 2, 3}).b}}, Uop(),
              {ShortBlocks(1), EndsAfter("2147483647 entries", 2)}, {{4, 1}, {6, 1}},
              All({Has(4, 7, 1, 0, art1), Has(6, 100, 3, 9, Zeros(3))})));
    // Once for the entry, once for its repetitions: not a message per missing entry.
    add(Tells("uop_illegal_block_repeated", {{"in.uop", Bytes{}.uopHeader(4, 1000).uop(8, 4096, 0, 0).b}}, Uop(), 2, {},
              {}, {EndsAfter("1000 entries", 1), kNothing}));
    add(Warns("uop_negative_count", {{"in.uop", Bytes{}.uopHeader(4, -1).uop(16, 1, 1, 0, art1).b}}, Uop(),
              {kNothing}));
    add(Logs("uop_size_near_2g",
             {{"in.uop", Bytes{}.uopHeader(5, 2).uop(4, 1, 1, 0, art1).uop(4, 7, kMaxLong, 0, {1, 2, 3}).b}}, Uop(),
             "mPatch.LoadUOP", kScratchFull, {{4, 1}}, All({Has(4, 1, 1, 0, art1), Lacks(4, 7)})));
    // A Size up to the file's whole length, or beyond it, is read as what is
    // there and zeros.
    add(Warns("uop_size_the_whole_file", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(4, 2, 27, 0, {7, 8}).b}}, Uop(),
              {ShortBlocks(1)}, {{4, 1}}, Has(4, 2, 27, 0, Then({7, 8}, 25))));
    add(Warns("uop_size_past_the_file",
              {{"in.uop", Bytes{}.uopHeader(4, 2).uop(4, 1, 1, 0, art1).uop(4, 2, 12 + 14 + 13 + 1, 0).b}}, Uop(),
              {ShortBlocks(1)}, {{4, 2}}, All({Has(4, 1, 1, 0, art1), Has(4, 2, 40, 0, Zeros(40))})));
    add(Quiet("uop_size_minus_2g", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(4, 7, kMinLong, 9).b}}, Uop(), {{4, 1}},
              Has(4, 7, kMinLong, 9)));
    add(Logs("uop_unused_type_block_0", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(1, 0, 0, 0).b}}, Uop(),
             "mPatch.LoadUOP", "Subscript"));
    add(Logs("uop_unused_type_200", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(200, 0, 1, 0, art1).b}}, Uop(),
             "mPatch.LoadUOP", "Subscript"));
    add(Logs("uop_negative_block_let_through", {{"in.uop", Bytes{}.uopHeader(4, 1).uop(4, -5, 0, 0).b}}, Uop(-10),
             "mPatch.LoadUOP", "Subscript"));

    // ---- verdata.mul ----
    add(Warns("verdata_empty_file", {{"in.mul", {}}}, Verdata(), {kNothing}));
    // Entries past the end read as zeros: Map block 0, present and empty, once.
    add(Warns("verdata_cut_in_its_count", {{"in.mul", {1, 0}}}, Verdata(), {EndsAfter("1 entry", 0)}, {{0, 1}},
              Has(0, 0, 0, 0)));
    add(Warns("verdata_cut_in_an_entry", {{"in.mul", Bytes{}.le(1).le(4).le(1).u8(0).u8(0).b}}, Verdata(),
              {EndsAfter("1 entry", 0)}, {{4, 1}}, Has(4, 1, 0, 0)));
    add(Warns("verdata_count_near_2g", {{"in.mul", Bytes{}.le(kMaxLong).verdata(4, 1, 0, -1, 0).b}}, Verdata(),
              {EndsAfter("2147483647 entries", 1)}, {{0, 1}, {4, 1}}, All({Has(4, 1, -1, 0), Has(0, 0, 0, 0)})));
    // What cannot be a verdata file at all is a failure that names it.
    add(Logs("verdata_negative_count", {{"in.mul", Bytes{}.le(-1).verdata(4, 1, 0, -1, 0).b}}, Verdata(),
             "mVerdata.LoadVerdata", "in.mul: It counts -1 entries: it is no verdata file.", {}, Lacks(4, 1)));
    add(Logs("verdata_client_container", {{"in.mul", Bytes{}.text("MYP").u8(0).le(5).le(0xD88).le(0).le(0).b}},
             Verdata(), "mVerdata.LoadVerdata", "in.mul: It is a client UOP container"));
    add(Warns("verdata_position_past_the_end", {{"in.mul", VerdataWithSecond(4, 2, 1000, 4)}}, Verdata(),
              {ShortBlocks(1)}, {{4, 2}}, All({Has(4, 1, 1, 0, {0x61}), Has(4, 2, 4, 0, Zeros(4))})));
    add(Warns("verdata_data_one_byte_past_the_end", {{"in.mul", VerdataWithSecond(4, 2, 44, 2)}}, Verdata(),
              {ShortBlocks(1)}, {{4, 2}}, All({Has(4, 1, 1, 0, {0x61}), Has(4, 2, 2, 0, {0x61, 0})})));
    add(Logs("verdata_negative_position", {{"in.mul", VerdataWithSecond(4, 2, -4, 1)}}, Verdata(),
             "mVerdata.LoadVerdata", "in.mul, entry 1: Verdata entry 1 has 1 bytes at position -4", {{4, 1}},
             All({Has(4, 1, 1, 0, {0x61}), Lacks(4, 2)})));
    add(Warns("verdata_position_and_size_pass_2g", {{"in.mul", VerdataWithSecond(4, 2, 0x7FFFFFF0, 0x20)}}, Verdata(),
              {ShortBlocks(1)}, {{4, 2}}, Has(4, 2, 0x20, 0, Zeros(0x20))));
    add(Logs("verdata_size_near_2g", {{"in.mul", VerdataWithSecond(4, 2, 44, kMaxLong)}}, Verdata(),
             "mVerdata.LoadVerdata", kScratchFull, {{4, 1}}, Lacks(4, 2)));
    add(Warns("verdata_size_1g", {{"in.mul", VerdataWithSecond(4, 2, 44, 1 << 30)}}, Verdata(), {ShortBlocks(1)},
              {{4, 2}}, Huge(4, 2, 1 << 30, 0)));
    add(Quiet("verdata_size_minus_2g", {{"in.mul", VerdataWithSecond(4, 2, 0, kMinLong)}}, Verdata(), {{4, 2}},
              All({Has(4, 1, 1, 0, {0x61}), Has(4, 2, kMinLong, 0)})));
    add(Logs("verdata_fileid_negative", {{"in.mul", VerdataWithSecond(-1, 2, 0, 0)}}, Verdata(), "mVerdata.LoadVerdata",
             "Overflow", {{4, 1}}));
    // FileID 256 and more: an entry without data, whatever its Position says.
    add(Tells("verdata_fileid_300_bogus_position", {{"in.mul", VerdataWithSecond(300, 1, -5, 10)}}, Verdata(), 1,
              {{4, 1}}, Has(4, 1, 1, 0, {0x61})));
    add(Logs("verdata_fileid_255_block_0", {{"in.mul", VerdataWithSecond(255, 0, 0, -1)}}, Verdata(),
             "mVerdata.LoadVerdata", "Subscript", {{4, 1}}));
    add(Logs("verdata_negative_block_let_through", {{"in.mul", VerdataWithSecond(4, -5, 0, 0)}}, Verdata(-10),
             "mVerdata.LoadVerdata", "Subscript", {{4, 1}}, Has(4, 1, 1, 0, {0x61})));

    // ---- MUL and IDX (LoadMUL, LoadTiledata) ----
    const ByteArray mul10{10, 11, 12, 13, 14, 15, 16, 17, 18, 19};
    // Records past the end of the IDX file are zeroed: present, empty blocks.
    add(Quiet("idx_empty", {{"in.mul", mul10}, {"in.idx", {}}}, Mul(4, 0, 9), {{4, 10}},
              All({Has(4, 0, -1, 0), Has(4, 9, -1, 0), Lacks(4, 10)})));
    add(Warns("idx_cut_in_a_record", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(0, 3, 7).le(3).u8(2).u8(0).b}},
              Mul(4, 0, 2), {"in.idx: 1 index record reaches past the end"}, {{4, 3}},
              All({Has(4, 0, 3, 7, {10, 11, 12}), Has(4, 1, 2, 0, {13, 14}), Has(4, 2, -1, 0)})));
    add(Quiet("idx_size_minus_2_ends_the_import",
              {{"in.mul", mul10},
               {"in.idx", Bytes{}.record(0, 1, 0).record(1, 1, 0).record(-1, -2, 0).record(2, 1, 0).b}},
              Mul(4, 0, 3), {{4, 2}}, All({Has(4, 0, 1, 0, {10}), Has(4, 1, 1, 0, {11}), Lacks(4, 2), Lacks(4, 3)})));
    add(Quiet("idx_size_minus_1_and_0", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(-1, -1, 5).record(3, 0, 6).b}},
              Mul(4, 0, 1), {{4, 2}}, All({Has(4, 0, -1, 5), Has(4, 1, -1, 6)})));
    add(Logs("idx_size_near_2g", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(0, 1, 0).record(0, kMaxLong, 0).b}},
             Mul(4, 0, 5), "mMuls.LoadMUL", kScratchFull, {{4, 1}}, All({Has(4, 0, 1, 0, {10}), Lacks(4, 1)})));
    add(Warns("idx_size_1g", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(0, 1 << 30, 3).b}}, Mul(4, 0, 0),
              {ShortBlocks(1)}, {{4, 1}}, Huge(4, 0, 1 << 30, 3)));
    add(Logs("idx_negative_position", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(-100, 4, 0).b}}, Mul(4, 0, 0),
             "mMuls.LoadMUL", "position", {}, Lacks(4, 0)));
    add(Warns("idx_position_past_the_end", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(1000, 4, 0).b}}, Mul(4, 0, 0),
              {"in.mul: " + ShortBlocks(1)}, {{4, 1}}, Has(4, 0, 4, 0, Zeros(4))));
    add(Warns("idx_position_and_size_pass_2g", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(kMaxLong - 1, 8, 0).b}},
              Mul(4, 0, 0), {ShortBlocks(1)}, {{4, 1}}, Has(4, 0, 8, 0, Zeros(8))));
    add(Logs("idx_negative_first_block", {{"in.mul", mul10}, {"in.idx", Bytes{}.record(0, 1, 0).b}}, Mul(4, -1, 3),
             "mMuls.LoadMUL", "Bad record number", {}, Lacks(4, 0)));
    // An IDX name that is a pipe, with a writer holding it open so that no
    // open waits: no index is read, and the import stops with a log line.
    add(Logs(
        "idx_is_a_pipe", {{"in.mul", mul10}},
        [](const std::string& dir) {
            const std::string idx = dir + "/in.idx";
            ASSERT_EQ(::mkfifo(idx.c_str(), 0600), 0);
            const int partner = ::open(idx.c_str(), O_RDWR | O_NONBLOCK);
            ASSERT_GE(partner, 0);
            LoadMUL(dir + "/in.mul", idx, 4, 0, 3);
            ::close(partner);
            ::unlink(idx.c_str());
        },
        "mMuls.LoadMUL", "in.idx: It is not a regular file.", {}, Lacks(4, 0)));
    add(Logs("mul_into_an_unused_type", {{"in.mul", mul10}, {"in.idx", {}}}, Mul(1, 0, 10), "mMuls.LoadMUL",
             "Subscript"));
    // An index with records beyond Art's last block (81883): those with bytes
    // are counted in a warning, none is stored.
    add(Warns("idx_beyond_arts_last_block",
              {{"in.mul", mul10},
               {"in.idx", Bytes{}.fill(81884 * 12, 0xFF).record(0, 1, 0).record(-1, -1, 0).record(1, 2, 0).b}},
              Mul(4, 0, kMaxLong),
              {"in.idx: 2 blocks lie beyond the last block of Art (81883); they were not imported."}, {{4, 81884}},
              Has(4, 81883, -1, -1)));
    // A Map file shorter than its blocks: zeros where it ended.
    add(Warns("map_short_file", {{"in.mul", ByteArray(1000, 0x11)}}, Mul(0, 0, 9), {ShortBlocks(5)}, {{0, 10}},
              All({Has(0, 5, 196, -1, Then(ByteArray(20, 0x11), 176)), Has(0, 9, 196, -1, Zeros(196)), Lacks(0, 10)})));
    add(Warns("hues_short_group", {{"in.mul", ByteArray(100, 0x22)}}, Mul(32, 0, 0), {ShortBlocks(1)}, {{32, 1}}, [] {
        // Hue n's 88 bytes come from 4 + 88n of the 708-byte group, whose
        // first 100 bytes are 0x22 and the rest zeros.
        ByteArray want(1220, 0);
        for (int hue = 0; hue < 8; ++hue)
            for (int i = 0; i < 88; ++i)
                if (4 + 88 * hue + i < 100) want[static_cast<size_t>(4 + 152 * hue + i)] = 0x22;
        Has(32, 0, 1220, -1, want)();
    }));
    // Groups beyond Hues' last (374) are counted, partly there or whole.
    add(Warns("hues_beyond_last_group", {{"in.mul", ByteArray(708 * 377 + 5, 0x22)}}, Mul(32, 0, kMaxLong),
              {"in.mul: 3 blocks lie beyond the last block of Hues (374)"}, {{32, 375}}));
    // Both sections of the tile data file are told as one file.
    add(Warns("tiledata_short_file", {{"in.mul", ByteArray(100, 0x33)}}, Tiledata(0, 1023),
              {kNeitherLayout, ShortBlocks(1024)}, {{30, 1024}},
              All({Has(30, 0, 836, -1, Then(ByteArray(100, 0x33), 736)), Has(30, 512, 1188, -1, Zeros(1188)),
                   Has(30, 1023, 1188, -1, Zeros(1188))})));
    add(Warns("tiledata_empty_file", {{"in.mul", {}}}, Tiledata(0, 1023), {kNeitherLayout, ShortBlocks(1024)},
              {{30, 1024}}, Has(30, 511, 836, -1, Zeros(836))));
    add(Warns("tiledata_beyond_last_group", {{"in.mul", ByteArray(428032 + 1188 * 514 + 1, 0x33)}},
              Tiledata(0, kMaxLong), {kNeitherLayout, "in.mul: 3 blocks lie beyond the last block of Tiledata (1023)"},
              {{30, 1024}}));
    add(Logs("tiledata_negative_first_block", {{"in.mul", ByteArray(static_cast<size_t>(kClassicTiledataSize), 0x33)}},
             Tiledata(-1, 10), "mMuls.LoadTiledata", "Bad record number", {}, Lacks(30, 0)));
    add(Warns("tiledata_last_block_near_2g", {{"in.mul", ByteArray(100, 0x33)}}, Tiledata(1000, kMaxLong),
              {kNeitherLayout, ShortBlocks(512)}, {{30, 512}},
              All({Lacks(30, 511), Has(30, 512, 1188, -1, Zeros(1188)), Has(30, 1023, 1188, -1, Zeros(1188))})));

    // ---- CompareMUL with one side missing or short ----
    const ByteArray six{1, 2, 3, 4, 5, 6};
    const ByteArray threeRecords = Bytes{}.record(0, 2, 0).record(2, 2, 0).record(4, 2, 0).b;
    add(Quiet("compare_base_missing", {{"new.mul", six}, {"new.idx", threeRecords}}, Compare(4)));
    // Every Map block is walked: all but what the files hold read as zeros.
    add(Warns("compare_altered_map_short", {{"base.mul", ByteArray(392, 0x11)}, {"new.mul", ByteArray(196, 0x11)}},
              Compare(0), {"base.mul: 393214 blocks reach", "new.mul: 393215 blocks reach"}, {{0, 1}},
              All({Lacks(0, 0), Has(0, 1, 196, -1, Zeros(196)), Lacks(0, 2)})));
    add(Quiet("compare_altered_idx_short",
              {{"base.mul", six}, {"base.idx", threeRecords}, {"new.mul", six}, {"new.idx", Bytes{}.record(0, 2, 0).b}},
              Compare(4), {{4, 2}}, All({Lacks(4, 0), Has(4, 1, 0, 0), Has(4, 2, 0, 0), Lacks(4, 3)})));
    // The client's files are only read: a missing altered IDX file is not
    // made, and the compare stops naming it.
    add(Logs("compare_altered_idx_missing",
             {{"base.mul", six}, {"base.idx", Bytes{}.record(0, 2, 0).b}, {"new.mul", six}}, Compare(4),
             "mMuls.CompareMUL", "new.idx: No such file or directory."));
    // The altered side's block of 2 GB fills the empty DataFile exactly.
    add(Warns("compare_altered_size_near_2g",
              {{"base.mul", six},
               {"base.idx", threeRecords},
               {"new.mul", six},
               {"new.idx", Bytes{}.record(0, kMaxLong, 0).b}},
              Compare(4), {"new.mul: " + ShortBlocks(1)}, {{4, 3}}, Huge(4, 0, kMaxLong, 0)));
    add(Warns("compare_tiledata_altered_empty", {{"base.mul", ByteArray(836, 1)}, {"new.mul", {}}}, Compare(30),
              {"base.mul: its size, 836 bytes, fits neither", "new.mul: its size, 0 bytes, fits neither",
               "base.mul: 1023 blocks reach", "new.mul: 1024 blocks reach"},
              {{30, 1}}, Has(30, 0, 836, -1, Zeros(836))));
    // Records beyond Art's last block, on each side: each file is told.
    add(Warns("compare_beyond_arts_last_block",
              {{"base.mul", six},
               {"base.idx", Bytes{}.fill(81884 * 12, 0xFF).record(0, 2, 0).b},
               {"new.mul", six},
               {"new.idx", Bytes{}.fill(81884 * 12, 0xFF).record(0, 2, 0).record(2, 2, 0).b}},
              Compare(4),
              {"base.idx: 1 block lies beyond the last block of Art (81883); they were not compared.",
               "new.idx: 2 blocks lie beyond"}));

    // ---- the Wine registry that tells where the client is ----
    add(Quiet("registry_garbage_lines",
              Registry("[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0\n" + kExePath +
                       "]]][[[\n\"\n\"=\n@\n=\"x\"\n\\\\\\\n\"ExePath\"\n\"ExePath\"=\n\"ExePath\"=str(2\n"),
              FindClient(Client::NotFound)));
    add(Quiet("registry_key_among_broken_lines",
              Registry("[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0 1\n"
                       "\"ExePath\"=\"C:\\\\Wrong\\\\client.exe\"\n" +
                       kKey + "\"ExePath\"=\"C:\\\\UO\\\\client.exe\n" + "garbage = line\n" +
                       "\"ExePath\"=hex(2):zz\n" + kExePath + "\"ExePath\"=dword:123456789\n"),
              FindClient(Client::Found)));
    add(Quiet("registry_value_never_closed", Registry(kKey + "\"ExePath\"=\"C:\\\\UO\\\\client.exe\n"),
              FindClient(Client::NotFound)));
    add(Quiet("registry_hex_value_continued_past_the_end",
              Registry(kKey + "\"ExePath\"=hex(2):43,00,3a,00,5c,00,55,00,4f,00,5c,00,\\\n  \\\n"),
              FindClient(Client::Consistent)));
    add(Quiet("registry_one_long_line", Registry(kKey + "\"ExePath\"=\"" + std::string(1 << 20, 'a')),
              FindClient(Client::NotFound)));
    {
        // What took a reader that searched what it had found so far minutes:
        // many values and subkeys of the client's key, the program's name
        // over and over in ExePath, an ExePath of very many folders.
        std::string values, subkeys, names, folders;
        for (int n = 0; n < 50000; ++n) {
            values += "\"v" + std::to_string(n) + "\"=\"x\"\n";
            subkeys += "[Software\\\\Origin Worlds Online\\\\Ultima Online\\\\1.0\\\\k" + std::to_string(n) + "]\n";
            names += "client.exe";
            folders += "x\\\\";
        }
        add(Quiet("registry_key_of_many_values_and_subkeys", Registry(kKey + values + kExePath + subkeys),
                  FindClient(Client::Found)));
        add(Quiet("registry_exepath_of_the_name_over_and_over",
                  Registry(kKey + "\"ExePath\"=\"C:\\\\UO\\\\" + names + "\"\n"), FindClient(Client::Found)));
        add(Quiet("registry_exepath_of_many_folders",
                  Registry(kKey + "\"ExePath\"=\"C:\\\\" + folders + "client.exe\"\n"),
                  FindClient(Client::Consistent)));
    }
    {
        Files noise = Registry("");
        ByteArray& bytes = noise[0].second;
        uint32_t state = 12345;
        const std::string alphabet = "[]\"\\=@:,x0\n\r\t abcdefhSOFTWARE";
        for (int i = 0; i < 65536; ++i) {
            state = state * 1103515245u + 12345u;
            const uint32_t pick = (state >> 16) % 64;
            bytes.push_back(pick < alphabet.size() ? static_cast<uint8_t>(alphabet[pick])
                                                   : static_cast<uint8_t>(state >> 8));
        }
        add(Quiet("registry_noise", noise, FindClient(Client::Consistent)));
    }
    {
        Files wide = Registry("");
        wide[0].second = {0xFF, 0xFE, '[', 0, 'S', 0, '\\', 0, 'x'};  // UTF-16 of an odd length
        add(Quiet("registry_utf16_odd_length", wide, FindClient(Client::NotFound)));
    }
    return cases;
}

class HostileFileTest : public test::PatchTest, public ::testing::WithParamInterface<Case> {};

TEST_P(HostileFileTest, EndsAsExpectedAndLeavesItsInputAlone) {
    const Case& c = GetParam();
    std::set<std::string> expectedFiles;
    for (const auto& [name, bytes] : c.inputs) {
        std::filesystem::create_directories(std::filesystem::path(Path(name)).parent_path());
        test::WriteFile(Path(name), bytes);
        expectedFiles.insert(name);
    }
    for (const std::string& name : c.want.created) expectedFiles.insert(name);

    const long before = hostile::PeakRssKiB();
    std::vector<std::string> warnings;
    {
        const WarningWatch watch;
        c.run(dir);
        warnings = watch.Texts();
    }
    const long grown = hostile::PeakRssKiB() - before;
    EXPECT_LT(grown, 64 * 1024) << "peak memory grew by " << grown << " KiB";

    for (const auto& [name, bytes] : c.inputs) EXPECT_EQ(test::ReadFile(Path(name)), bytes) << name << " changed";
    std::set<std::string> files = hostile::FilesUnder(dir);
    files.erase("test.log");
    files.erase(std::filesystem::path(DataFileName).filename().string());
    EXPECT_EQ(files, expectedFiles);

    const std::vector<std::string> procs = LoggedProcs();
    EXPECT_EQ(procs, c.want.logged.empty() ? std::vector<std::string>{} : std::vector<std::string>{c.want.logged});
    if (procs.size() == 1) {
        EXPECT_NE(LogLines()[0].find(c.want.says), std::string::npos) << LogLines()[0];
    }
    // The one other message there may be: the scratch file's 2 GB limit, told once.
    const bool full = c.want.says.find(kScratchFull) != std::string::npos;
    EXPECT_EQ(static_cast<int>(messages.size()), c.want.messages + (full ? 1 : 0));
    for (const std::string& message : messages) {
        if (full && message.find(kScratchFull) != std::string::npos) continue;
        EXPECT_EQ(message.rfind("An block with an illegal sized blocknumber where detected and ignored:\r\n", 0), 0u);
    }

    ASSERT_EQ(warnings.size(), c.want.warnings.size()) << ::testing::PrintToString(warnings);
    for (size_t i = 0; i < warnings.size(); ++i) {
        EXPECT_NE(warnings[i].find(c.want.warnings[i]), std::string::npos) << warnings[i];
        EXPECT_EQ(warnings[i].rfind(dir + "/", 0), 0u) << "names its file: " << warnings[i];
    }

    for (int id = 0; id < kFileIDs; ++id) {
        const auto want = c.want.counts.find(id);
        EXPECT_EQ(PatchBlocks[id].Count, want == c.want.counts.end() ? 0 : want->second) << "Count of FileID " << id;
    }
    if (c.check) c.check();
}

INSTANTIATE_TEST_SUITE_P(HostileCorpus, HostileFileTest, ::testing::ValuesIn(Corpus()),
                         [](const ::testing::TestParamInfo<Case>& param) { return param.param.name; });

}  // namespace
}  // namespace quillet
