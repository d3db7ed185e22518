#include "formats/mVerdata.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/BinaryFile.h"
#include "base/FilePaths.h"
#include "base/SafeSave.h"
#include "base/Warnings.h"
#include "base/cError.h"
#include "core/DatafileWalk.h"
#include "core/mPatch.h"
#include "core/mWait.h"
#include "formats/FormatCodes.h"
#include "formats/ReadNotes.h"
#include "formats/cVerdata.h"
#include "support/Caseless.h"
#include "support/Services.h"

namespace quillet {
namespace {

// The highest FileID that an export writes.
constexpr int kLastExportedFileID = 250;
// What an old file's block holds of its bytes at a time on their way to the new file.
constexpr size_t kCopyChunk = 1 << 16;

const std::string kNoVerdata = "Cannot find verdata.mul in the directory you run Quillet.";
const std::string kCannotOpen = "Unable to open the verdata.mul. It is maybe in use or read only.";
const std::string kCannotCreate = "Unable to create the new verdata.mul";

// The files of one export. mul is the file replaced: verdata.mul in the
// directory given, or, where that is a symbolic link, the file it leads to.
// The new file and the backups are made beside mul, so that the rename that
// puts the new file in place stays within one directory and a backup lies
// beside the file it was.
struct ExportNames {
    std::string dir;  // mul's directory, with a closing '/' ("" for the current one)
    std::string mul;
    std::string tmp;   // stem.tmp
    std::string stem;  // mul's name without ".mul": "verdata"
};

ExportNames NamesFor(const std::string& mul) {
    ExportNames names;
    names.mul = mul;
    names.dir = WithSlash(DirectoryOf(mul));
    names.stem = mul.substr(mul.find_last_of('/') + 1);  // npos + 1 is 0
    if (names.stem.size() > 4 && SameCaseless(std::string_view(names.stem).substr(names.stem.size() - 4), ".mul"))
        names.stem.resize(names.stem.size() - 4);
    names.tmp = names.dir + names.stem + ".tmp";
    return names;
}

std::string Shown(const std::string& dir) { return dir.empty() ? std::string(".") : WithoutSlash(dir); }

// The export's own words, then the file and the system's reason.
std::string WithReason(const std::string& text, const std::string& path, const std::string& why) {
    return text + "\r\n" + path + ": " + why;
}

// An empty verdata.mul (a count of 0) at path, made only where no file
// stands: O_EXCL, so a file that appeared meanwhile is never replaced.
// Answers 0 and the new file's identity, EEXIST when the name is taken, or
// the errno of another failure (nothing is left behind then).
int StartEmptyVerdata(const std::string& path, FileIdentity& started) {
    BinaryFile file;
    if (!file.Open(path, BinaryFile::Mode::CreateNew, 0666)) return errno;
    struct stat st {};
    if (::fstat(file.Descriptor(), &st) != 0) return errno;  // cannot happen on an open file
    const FileIdentity made{static_cast<uint64_t>(st.st_dev), static_cast<uint64_t>(st.st_ino)};
    const uint8_t noEntries[kVerdataHeaderSize] = {};
    if (!file.WriteAt(0, noEntries, sizeof noEntries) || !file.Sync()) {
        const int error = errno;
        file.Close();
        RemoveIfSame(path, made);
        return error;
    }
    file.Close();
    SyncDirectory(DirectoryOf(path));
    started = made;
    return 0;
}

// The empty verdata.mul an export started: taken away again unless the
// export's own file took its place.
struct StartedVerdata {
    std::string path;
    FileIdentity identity;  // all zero while none was started
    StartedVerdata() = default;
    StartedVerdata(const StartedVerdata&) = delete;
    StartedVerdata& operator=(const StartedVerdata&) = delete;
    ~StartedVerdata() {
        if (identity != FileIdentity{}) RemoveIfSame(path, identity);
    }
};

// The swap after verdata.tmp is complete and on the disk.
//
// Backups: the file that verdata.mul was before this export becomes
// verdata.bak. A verdata.bak of an earlier export is not deleted but moves
// first to verdata.N.bak, N the first free number from 1 (verdata.1.bak,
// verdata.2.bak...), so that every file the user ever had as verdata.mul
// survives. A number that the user freed is taken again, so the numbers say
// nothing of age; the files keep their times.
//
// verdata.mul is never missing: the old file first gets its second name
// verdata.bak by a hard link, and the rename of verdata.tmp over verdata.mul
// replaces it in one step. Only a file system without hard links moves the
// old file away first, which leaves verdata.mul missing between two renames.
// Any step that fails undoes the steps before it and throws.
//
// A verdata.mul that this export started empty (of identity started) was
// never the user's: it is replaced without a backup, and the backups there
// are stay as they are.
void SwapInNewVerdata(const ExportNames& names, const FileIdentity& written, const FileIdentity& started) {
    const std::string& mul = names.mul;
    const std::string& tmp = names.tmp;
    const std::string bak = names.dir + names.stem + ".bak";

    if (started != FileIdentity{} && IdentityOf(mul) == started) {
        const bool stillOurs = IdentityOf(tmp) == written;
        if (!stillOurs || std::rename(tmp.c_str(), mul.c_str()) != 0)
            Fail("Cannot rename " + tmp + " to " + mul + ": " +
                 (stillOurs ? ErrnoText(errno) : "it is no longer the file this export wrote"));
        SyncDirectory(names.dir);
        return;
    }

    std::string olderBackup;
    if (NameTaken(bak)) {
        for (int32_t n = 1;; n = AddLong(n, 1)) {
            const std::string numbered = names.dir + names.stem + "." + std::to_string(n) + ".bak";
            if (NameTaken(numbered)) continue;
            const int error = RenameNoReplace(bak, numbered);
            if (error == 0) {
                olderBackup = numbered;
                break;
            }
            if (error != EEXIST) Fail("Cannot keep the earlier " + bak + " as " + numbered + ": " + ErrnoText(error));
        }
    }
    auto restoreOlderBackup = [&] {
        if (!olderBackup.empty()) RenameNoReplace(olderBackup, bak);
    };

    bool linked = ::link(mul.c_str(), bak.c_str()) == 0;
    if (!linked) {
        const int error = errno;
        const bool noHardLinks = error == EPERM || error == ENOTSUP || error == EXDEV || error == EMLINK;
        const int failure = noHardLinks ? RenameNoReplace(mul, bak) : error;
        if (failure != 0) {
            restoreOlderBackup();
            Fail("Cannot keep " + mul + " as " + bak + ": " + ErrnoText(failure));
        }
    }
    // Only the file this export wrote may become the game's file.
    const bool stillOurs = IdentityOf(tmp) == written;
    if (!stillOurs || std::rename(tmp.c_str(), mul.c_str()) != 0) {
        const std::string why = stillOurs ? ErrnoText(errno) : "it is no longer the file this export wrote";
        if (linked)
            ::unlink(bak.c_str());  // the second name of the old file, which verdata.mul still holds
        else
            RenameNoReplace(bak, mul);
        restoreOlderBackup();
        Fail("Cannot rename " + tmp + " to " + mul + ": " + why);
    }
    SyncDirectory(names.dir);
}

}  // namespace

bool LoadVerdata(const std::string& Filename, uint8_t FromFileID, uint8_t ToFileID, int32_t FromBlock,
                 int32_t ToBlock) {
    int64_t index = -1;
    try {
        if (Filename.empty() || ::access(Filename.c_str(), F_OK) != 0) return true;
        cVerdata verdata;
        // A file that cannot be read, or cannot be a verdata file at all, is
        // a failure that names it.
        if (const int32_t code = verdata.cOpen(Filename, cVerdata::Access::Read); code != 0)
            Fail(SourceFailure(Filename, verdata.cError(code), verdata.Why));
        if (const std::string why = verdata.NotVerdataWhy(); !why.empty()) Fail(Filename + ": " + why);
        const int32_t total = verdata.cCount();
        CountingPoint progress(total, false);  // a verdata load moves no progress bar
        int64_t stored = 0;
        for (index = 0; index < total; ++index) {
            // Entries past the end of the file are all the same zeroed entry:
            // storing it once has the whole effect of storing it for each.
            const bool pastEnd = !verdata.EntryInFile(static_cast<int32_t>(index));
            uint8_t fileId = 0;
            int32_t block = 0, extra = 0, size = 0;
            // The entry only: its bytes pass from the file into the DataFile a
            // piece at a time.
            verdata.cLoadHead(static_cast<int32_t>(index), fileId, block, extra, size);
            bool dropped = false;
            // Before the range filter: a block outside the ranges is reported too.
            if (block > FileTypes[fileId].NbrOfBlocks) {
                MsgBox(IllegalBlockMessage(fileId, block));
                dropped = true;
            }
            if (fileId < FromFileID || fileId > ToFileID || block < FromBlock || block > ToBlock) dropped = true;
            if (!dropped) {
                StoreBlockFrom(fileId, block, size, extra, verdata.cData());
                ++stored;
            }
            progress.Tick(index);
            if (pastEnd) break;
        }
        index = -1;
        verdata.cClose();
        RecountAllBlocks();
        if (stored == 0) WarnNothingLoaded(Filename, total);
        return true;
    } catch (...) {
        // What was stored before the stop stays, and the counts say so.
        RecountAllBlocks();
        gError.Log("mVerdata.LoadVerdata", FailureInSource(Filename, index));
        return false;
    }
}

int64_t ExportedBlockCount() {
    int64_t count = 0;
    for (int id = 0; id <= kLastExportedFileID; ++id) {
        if (FileTypes[id].Name.empty()) continue;
        const SlotTable& blocks = PatchBlocks[id].Blocks;
        for (size_t block = blocks.NextAllocated(0); block < blocks.size(); block = blocks.NextAllocated(block + 1))
            if (blocks[block].Offset > -1) ++count;
    }
    return count;
}

bool VerdataMissing(const std::string& Directory) {
    std::string real;
    return ResolveLinks(WithSlash(Directory) + "verdata.mul", real) == 0 && !NameTaken(real);
}

bool ExportVerdata(const std::string& Directory, LockWait wait, MissingVerdata missing) {
    const std::string given = WithSlash(Directory) + "verdata.mul";
    ExportNames names;
    bool created = false;
    FileIdentity written;  // of the verdata.tmp this export made; no other is touched
    FileLock directoryLock;  // before claim and started: it is released after them
    StartedVerdata started;
    TempClaim claim;
    try {
        const int64_t patchTotal = ExportedBlockCount();
        if (patchTotal == 0) {
            MsgBox("There are no blocks in the patch to save.");
            return false;
        }
        // The directory the new file is written into is locked for the whole
        // export: two exports there would share verdata.tmp. Locked first,
        // then the link followed again, in case it changed meanwhile.
        for (int attempt = 0; attempt < 3; ++attempt) {
            std::string real;
            if (const int error = ResolveLinks(given, real); error != 0) {
                MsgBox(WithReason(kNoVerdata, given, ErrnoText(error)));
                return false;
            }
            if (attempt > 0 && real == names.mul) break;
            names = NamesFor(real);
            const std::string place = names.dir.empty() ? "." : names.dir;
            const bool locked = wait == LockWait::Wait ? directoryLock.Lock(place) : directoryLock.TryLock(place);
            // A directory that cannot be opened to be locked (no read access,
            // or none at all) is worked in unlocked; what it lacks is told below.
            if (!locked && errno == EWOULDBLOCK) {
                MsgBox("Another program is writing into the directory " + Shown(names.dir) +
                       " (another export?): nothing was exported.");
                return false;
            }
        }
        if (missing == MissingVerdata::Create && !NameTaken(names.mul)) {
            started.path = names.mul;
            const int error = StartEmptyVerdata(names.mul, started.identity);
            // A file that appeared meanwhile is kept, and exported into below.
            if (error != 0 && error != EEXIST) {
                MsgBox(WithReason(kCannotCreate, names.mul, ErrnoText(error)));
                return false;
            }
        }
        if (!gFileIO.FileExist(names.mul)) {
            // Nothing under the name: the message says where it was looked
            // for. Something else under it: what it is.
            if (!NameTaken(names.mul))
                MsgBox(kNoVerdata + "\r\nLooked in " + Shown(names.dir) +
                       (names.mul == given ? "" : " (where the link " + given + " leads)"));
            else
                MsgBox(WithReason(kNoVerdata, names.mul, WhyNotAFile(names.mul)));
            return false;
        }
        cVerdata oldFile;
        cVerdata newFile;
        if (oldFile.cOpen(names.mul) != 0) {
            MsgBox(WithReason(kCannotOpen, names.mul, ErrnoText(errno)));
            return false;
        }
        // Only the entries that the file holds whole are copied: a count
        // beyond them (or below 0) would copy invented entries into the
        // game's file.
        const int32_t oldCount = oldFile.cCount();
        const int64_t held = std::max<int64_t>(0, (oldFile.FileSize() - kVerdataHeaderSize) / kVerdataEntrySize);
        const auto copied = static_cast<int32_t>(std::clamp<int64_t>(oldCount, 0, held));
        if (oldCount < 0)
            Warn(names.mul + ": the file counts " + std::to_string(oldCount) +
                 " entries; none of its entries were copied into the new file.");
        else if (copied != oldCount)
            Warn(names.mul + ": the file counts " + Counted(oldCount, "entry", "entries") + " but ends after " +
                 std::to_string(copied) + "; the missing ones were left out of the new file.");
        const int32_t finalCount = AddLong(ToLong(patchTotal), copied);

        RemoveDeadTempFiles(names.dir);
        const KeptAttributes kept = AttributesOf(names.mul);
        created = true;  // from here on a verdata.tmp may exist that is ours to remove
        claim.Name(names.tmp);
        const int32_t createCode = newFile.cCreate(names.tmp, finalCount, CreateModeFor(kept));
        written = IdentityOf(names.tmp);
        if (createCode != 0) {
            MsgBox(WithReason(kCannotCreate, names.tmp, ErrnoText(newFile.LastError())));
            oldFile.cClose();
            RemoveIfSame(names.tmp, written);
            return false;
        }
        claim.Hold();

        CountingPoint progress(finalCount);
        int32_t running = 0;
        const ByteArray none;
        ByteArray spare;
        DatafileWalk stored(DataFileHandle);
        int32_t cutBlocks = 0;
        // Every block of both files passes through a window of a megabyte or,
        // if larger, through a fixed buffer a piece at a time.
        for (int32_t index = 0; index < copied; ++index) {
            cVerdata::Entry entry;
            oldFile.cEntry(index, entry);
            if (entry.FileID < 0)
                Fail(names.mul + ": entry " + std::to_string(index) + " has the FileID " +
                     std::to_string(entry.FileID) + ", which is no file number");
            if (entry.FileID >= 256) {
                // Not a file number of the client: kept as an entry without data.
                newFile.cSave(255, entry.Block, entry.Extra, none, -1);
            } else if (entry.Size > 0 && entry.Position >= 0 && entry.Size <= DatafileWalk::kLargestView) {
                // Bytes that the old file does not have (a cut last block)
                // are written as zeros: the read goes on, and says so below.
                size_t fromFile = 0;
                const uint8_t* bytes =
                    oldFile.cViewData(entry.Position, static_cast<size_t>(entry.Size), spare, fromFile);
                if (fromFile != static_cast<size_t>(entry.Size)) ++cutBlocks;
                newFile.cSave(static_cast<uint8_t>(entry.FileID), entry.Block, entry.Extra, bytes, entry.Size);
            } else if (entry.Size > 0) {
                bool cut = false;
                newFile.cSave(static_cast<uint8_t>(entry.FileID), entry.Block, entry.Extra, entry.Size,
                              [&](const ByteSink& sink) {
                                  uint8_t chunk[kCopyChunk];
                                  int64_t at = entry.Position;
                                  for (int64_t left = entry.Size; left > 0;) {
                                      const auto piece = static_cast<size_t>(std::min<int64_t>(left, kCopyChunk));
                                      if (oldFile.cReadData(at, chunk, piece) != piece) cut = true;
                                      sink(chunk, piece);
                                      at += static_cast<int64_t>(piece);
                                      left -= static_cast<int64_t>(piece);
                                  }
                              });
                if (cut) ++cutBlocks;
            } else {
                newFile.cSave(static_cast<uint8_t>(entry.FileID), entry.Block, entry.Extra, none, entry.Size);
            }
            running = AddLong(running, 1);
            progress.Tick(running);
        }
        oldFile.cClose();
        if (cutBlocks > 0)
            Warn(names.mul + ": " + Counted(cutBlocks, "block reaches", "blocks reach") +
                 " past the end of the file; the missing bytes were written as zeros.");

        for (int id = 0; id <= kLastExportedFileID; ++id) {
            if (FileTypes[id].Name.empty()) continue;
            const auto fileId = static_cast<uint8_t>(id);
            const SlotTable& blocks = PatchBlocks[id].Blocks;
            for (size_t block = 0; block < blocks.size(); ++block) {
                const PatchBlock& slot = blocks[block];
                const auto blockNumber = static_cast<int32_t>(block);
                if (slot.Offset > 0) {
                    if (slot.Size < 1)
                        newFile.cSave(fileId, blockNumber, slot.Extra, none, slot.Size);
                    else if (const uint8_t* bytes = stored.View(slot.Offset, slot.Size))
                        newFile.cSave(fileId, blockNumber, slot.Extra, bytes, slot.Size);
                    else
                        newFile.cSave(fileId, blockNumber, slot.Extra, slot.Size, stored.Feed(slot.Offset, slot.Size));
                    running = AddLong(running, 1);
                } else if (slot.Offset == 0) {
                    // A present block without bytes is written as Size -1, whatever the slot says.
                    newFile.cSave(fileId, blockNumber, slot.Extra, none, -1);
                    running = AddLong(running, 1);
                }
                progress.Tick(running);
            }
        }
        if (newFile.cCount() != finalCount)
            Fail("Wrote " + std::to_string(newFile.cCount()) + " verdata entries of " + std::to_string(finalCount));
        if (const int32_t code = newFile.cClose(); code != 0)
            Fail(newFile.cError(code) + " " + names.tmp + ": " + ErrnoText(newFile.LastError()));

        claim.Ready(kept);
        SwapInNewVerdata(names, written, started.identity);
        started.identity = {};  // the new file stands in its place
        return true;
    } catch (...) {
        if (created) RemoveIfSame(names.tmp, written);
        gError.Log("mVerdata.ExportVerdata");
        return false;
    }
}

}  // namespace quillet
