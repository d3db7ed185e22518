#include "actions/mBlockCommands.h"

#include <algorithm>
#include <functional>

#include "core/BlockRows.h"
#include "core/mPatch.h"
#include "base/cError.h"
#include "support/Services.h"

namespace quillet {
namespace {

constexpr const char* kDeleteProc = "mMenu.ListView_Delete";
constexpr const char* kExportProc = "mMenu.ListView_Export";
constexpr const char* kImportProc = "mMenu.ListView_Import";

// The list is walked from its last row to its first; the blocks of the rows
// come in rising order, so that is falling block order.
std::vector<int32_t> LastToFirst(std::vector<int32_t> blocks) {
    std::sort(blocks.begin(), blocks.end(), std::greater<>());
    blocks.erase(std::unique(blocks.begin(), blocks.end()), blocks.end());
    return blocks;
}

std::string InDirectory(const std::string& Directory, int FileID, int32_t Block) {
    const std::string name = DatFileName(FileID, Block);
    if (Directory.empty()) return name;
    return Directory + (Directory.back() == '/' ? "" : "/") + name;
}

bool ExportOne(int FileID, int32_t Block, const std::string& FileName) {
    const PatchBlock& slot = Slot(FileID, Block);
    if (slot.Size <= 0 || slot.Offset < 1) return false;
    ByteArray bytes;
    Datafile_Read(DataFileHandle, slot.Offset, slot.Size, bytes);
    gFileIO.ByteArrayToFile(bytes, FileName);
    return true;
}

bool ImportOne(int FileID, int32_t Block, const std::string& FileName) {
    PatchBlock& slot = Slot(FileID, Block);
    // Only a block the patch has can be replaced: blocks come in by the loads.
    if (slot.Offset == -1 || !gFileIO.FileExist(FileName)) return false;
    ByteArray bytes;
    const int32_t length = gFileIO.FileToByteArray(FileName, bytes);
    if (length < 1) {
        slot.Size = -1;
        slot.Offset = -1;
    } else {
        if (static_cast<size_t>(length) > bytes.size()) Fail(kSubscript);
        // The bytes first: a failed write leaves the slot as it was.
        const int32_t offset = Datafile_Write(DataFileHandle, bytes.data(), static_cast<size_t>(length));
        slot.Size = length;
        slot.Offset = offset;
    }
    slot.Extra = -1;
    return true;
}

}  // namespace

int32_t DeleteBlocks(int FileID, const std::vector<int32_t>& Blocks) {
    int32_t removed = 0;
    try {
        for (const int32_t block : LastToFirst(Blocks)) {
            PatchBlock& slot = Slot(FileID, block);
            if (slot.Offset == -1) continue;
            PatchBlockSet& set = PatchBlocks[static_cast<size_t>(FileID)];
            const int32_t count = SubLong(set.Count, 1);
            slot.Offset = -1;
            set.Count = count;
            ++removed;
        }
    } catch (...) {
        gError.Log(kDeleteProc);
    }
    return removed;
}

bool ExportBlockToFile(int FileID, int32_t Block, const std::string& FileName) {
    try {
        return ExportOne(FileID, Block, FileName);
    } catch (...) {
        gError.Log(kExportProc);
        return false;
    }
}

int32_t ExportBlocks(int FileID, const std::vector<int32_t>& Blocks, const std::string& Directory) {
    int32_t written = 0;
    try {
        for (const int32_t block : LastToFirst(Blocks))
            if (ExportOne(FileID, block, InDirectory(Directory, FileID, block))) ++written;
    } catch (...) {
        gError.Log(kExportProc);
    }
    return written;
}

bool ImportBlockFromFile(int FileID, int32_t Block, const std::string& FileName) {
    try {
        return ImportOne(FileID, Block, FileName);
    } catch (...) {
        gError.Log(kImportProc);
        return false;
    }
}

int32_t ImportBlocks(int FileID, const std::vector<int32_t>& Blocks, const std::string& Directory) {
    int32_t replaced = 0;
    try {
        for (const int32_t block : LastToFirst(Blocks))
            if (ImportOne(FileID, block, InDirectory(Directory, FileID, block))) ++replaced;
    } catch (...) {
        gError.Log(kImportProc);
    }
    return replaced;
}

std::string DatExportFolder() { return gFileIO.exepath + "export/"; }
std::string DatImportFolder() { return gFileIO.exepath + "import/"; }

void CreateDatFolders() {
    gFileIO.CreateDir(gFileIO.exepath + "export");
    gFileIO.CreateDir(gFileIO.exepath + "import");
}

void ToggleInVerdata(int FileID) {
    if (FileID < 0 || FileID >= kFileIDs) return;
    uint8_t& flag = FileTypes[static_cast<size_t>(FileID)].InVerdata;
    flag = flag == 0 ? 1 : 0;
}

void SetInVerdata(int FileID, bool on) {
    if (FileID < 0 || FileID >= kFileIDs) return;
    FileTypes[static_cast<size_t>(FileID)].InVerdata = on ? 1 : 0;
}

}  // namespace quillet
