// picture: blocks of the patch as PNG pictures, one to a file or a range of
// them into a folder.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QBuffer>
#include <QByteArray>
#include <QImage>

#include <cerrno>
#include <cstring>

#include "actions/mBlockPictures.h"
#include "base/SafeSave.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "qtpictures/PictureFiles.h"
#include "viewers/BlockPictures.h"

namespace quillet::cli {
namespace {

constexpr int kMapFileID = 0;

// The name a picture of a batch gets in its folder: "Gumps_1F4.png", the
// type's name and the block in hexadecimal as the list shows it; what the
// --from-dir imports read back.
std::string PictureFileName(int FileID, int32_t Block) {
    return FileTypes[static_cast<size_t>(FileID)].Name + "_" + HexText(static_cast<uint32_t>(Block)) + ".png";
}

bool WriteAll(int fd, const char* data, size_t count) {
    while (count > 0) {
        const ssize_t wrote = ::write(fd, data, count);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) return false;
        data += wrote;
        count -= static_cast<size_t>(wrote);
    }
    return true;
}

// The pictures of a batch as PNG files in one folder. Each is encoded in
// memory, written in one piece to a temporary name beside its file and
// renamed over it, so that a file of the folder is always a whole picture
// (the old one or the new one) and a Ctrl-C leaves no half file; the files
// are not synced one by one, which would cost more than the encoding: a
// folder of pictures is output to look at and edit, made again at will.
class PngFolderWriter {
public:
    PngFolderWriter(std::string dir, int FileID) : dir_(std::move(dir)), fileId_(FileID) {}

    bool operator()(int32_t Block, const BlockPicture& picture, std::string& why) {
        png_.resize(0);
        QBuffer device(&png_);
        device.open(QIODevice::WriteOnly);
        if (!ImageOf(picture).save(&device, "PNG")) {
            why = "the PNG encoding failed";
            return false;
        }
        const std::string path = dir_ + "/" + PictureFileName(fileId_, Block);
        const std::string temp = TempNameBeside(path);
        TempClaim claim;
        claim.Name(temp);  // a signal now removes it
        const int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0666);
        if (fd < 0) {
            why = temp + ": " + std::strerror(errno);
            return false;
        }
        const bool wrote = WriteAll(fd, png_.constData(), static_cast<size_t>(png_.size()));
        const int error = errno;
        if (::close(fd) != 0 || !wrote) {
            why = temp + ": " + std::strerror(wrote ? errno : error);
            ::unlink(temp.c_str());
            return false;
        }
        if (::rename(temp.c_str(), path.c_str()) != 0) {
            why = path + ": " + std::strerror(errno);
            ::unlink(temp.c_str());
            return false;
        }
        return true;
    }

private:
    std::string dir_;
    int fileId_;
    QByteArray png_;  // reused: its room grows to the largest picture once
};

// D made if missing (its parent must be there); a file of that name that is
// no folder is a CommandError.
void MakeFolder(const std::string& dir) {
    if (::mkdir(dir.c_str(), 0777) == 0) return;
    const int error = errno;
    struct stat info {};
    if (error == EEXIST && ::stat(dir.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) return;
    if (error == EEXIST) throw CommandError(dir + ": not a folder");
    throw CommandError(dir + ": cannot be made: " + std::strerror(error));
}

int RunPicture(CommandContext& context) {
    const ParsedArgs& args = context.args;
    const int fileId = ParseType(args.Required("--type"));
    const bool batch = args.Has("--blocks") || args.Has("--to-dir");
    if (batch && (args.Has("--block") || args.Has("--to")))
        throw UsageError("--blocks and --to-dir go together, --block and --to together, not both kinds");
    if (!HasPictures(fileId))
        throw UsageError("--type: " + FileTypes[static_cast<size_t>(fileId)].Name +
                         " blocks are no pictures (Map, Art, Texmaps, Gumps, Hues and Light blocks are)");
    const std::optional<std::string> radarcol = fileId == kMapFileID ? RadarcolOption(args) : std::nullopt;
    if (!batch) {
        const int32_t block = ParseBlockOf(args, fileId);
        const std::string& to = args.Required("--to");
        PatchSession patch(args, PatchAccess::Read);
        if (fileId == kMapFileID)
            if (const Result loaded = LoadRadarColours(radarcol); !loaded) return StatusOf(loaded);
        BlockPicture picture;
        if (const Result made = PictureOfBlock(fileId, block, picture); !made) {
            if (made.WasLogged()) return StatusOf(made);
            throw CommandError(made.Text() + "; " + to + " was not written");
        }
        std::string error;
        if (!WritePng(picture, to, error)) throw CommandError(to + ": " + error);
        return patch.Finish();
    }

    const BlockRange range =
        ParseRange(args.Required("--blocks"), "--blocks", FileTypes[static_cast<size_t>(fileId)].NbrOfBlocks);
    const std::string& dir = args.Required("--to-dir");
    PatchSession patch(args, PatchAccess::Read);
    if (fileId == kMapFileID)
        if (const Result loaded = LoadRadarColours(radarcol); !loaded) return StatusOf(loaded);
    MakeFolder(dir);
    PngFolderWriter writer(dir, fileId);
    PictureExport done;
    const Result exported = ExportPictures(fileId, range.from, range.to, std::ref(writer), done);
    for (const std::string& line : done.NotDrawn) PrintMessage("error: " + line);
    if (!exported) return StatusOf(exported);
    const int status = patch.Finish();
    if (done.NotDrawn.empty()) return status;
    PrintMessage(std::to_string(done.NotDrawn.size()) + " of " +
                 std::to_string(done.NotDrawn.size() + static_cast<size_t>(done.Written)) +
                 " blocks could not be drawn");
    return 1;
}

}  // namespace

void AddBlockPictureCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"picture",
         "write a block, or every block of a range, as a PNG picture",
         {"picture --patch P --type T --block N --to OUT.png [--radarcol F]",
          "picture --patch P --type T --blocks A-B --to-dir D [--radarcol F]"},
         {PatchOption(),
          NoWaitOption(),
          TypeOption(),
          {"--block", "N", "the block number (decimal, or 0x hex)"},
          {"--to", "OUT.png", "the picture to write; an existing file is replaced whole"},
          {"--blocks", "A-B",
           "the blocks to write (a range, or one number); blocks of the range that are not in "
           "the patch, or have no bytes, are passed over"},
          {"--to-dir", "D",
           "the folder to write them into (made if missing; its parent must be there), each as "
           "D/<Type>_<HEX>.png, Gumps block 500 as Gumps_1F4.png; existing files are replaced"},
          {"--radarcol", "F", "for Map blocks: the radar colour file (default: the client's radarcol.mul)"}},
         "The types with pictures: Art (land tiles, blocks below 0x4000, as 44 by 44 diamonds; items from 0x4000 "
         "on), Gumps, Texmaps (64 by 64 or 128 by 128), Light (grey levels), Hues (a swatch sheet of 256 by 64: "
         "each of the block's 8 hues a band of 8 rows, its 32 colours 8 by 8 squares) and Map (a block's 8 by 8 "
         "cells in radar colours, which come as for render: without --radarcol from the client's radarcol.mul, "
         "else black with a warning). Pixels that the format leaves transparent are transparent in the PNG "
         "(alpha 0); every other pixel is opaque.\n\n"
         "A block that is not in the patch, has no bytes or cannot be decoded as its type is a failure (exit "
         "status 1) with a message that names it, and OUT.png is not written. With --to-dir, each block that "
         "cannot be drawn is named on stderr, the others are still written, and a last line tells how many "
         "could not be drawn (exit status 1). The files of the folder are what gump --from-dir and art "
         "--from-dir read back.",
         RunPicture});
}

}  // namespace quillet::cli
