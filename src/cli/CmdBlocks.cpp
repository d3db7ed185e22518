// The commands on single blocks and ranges of them: extract and replace (the
// list's Export to and Import from dat file), delete, and flag (the popup's
// verdata entry).
#include <sys/stat.h>
#include <unistd.h>

#include "actions/mBlockCommands.h"
#include "actions/mBlockPictures.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/BlockRows.h"
#include "core/mPatch.h"

namespace quillet::cli {
namespace {

const OptionSpec kBlockOption{"--block", "N", "the block number (decimal, or 0x hex)"};
constexpr int kSoundFileID = 8;

// "x.wav", "X.WAV": the name asks for a WAV file.
bool NamesWave(const std::string& path) {
    if (path.size() < 4) return false;
    std::string end = path.substr(path.size() - 4);
    for (char& c : end)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return end == ".wav";
}

int RunExtract(CommandContext& context) {
    const int fileId = ParseType(context.args.Required("--type"));
    const int32_t block = ParseBlockOf(context.args, fileId);
    const std::string& to = context.args.Required("--to");
    PatchSession patch(context.args, PatchAccess::Read);
    RequireBytes(fileId, block);
    if (fileId == kSoundFileID && NamesWave(to)) {
        if (const Result wrote = ExportSoundWave(block, to); !wrote) {
            if (wrote.WasLogged()) return StatusOf(wrote);
            throw CommandError(wrote.Text() + "; " + to + " was not written");
        }
        return patch.Finish();
    }
    if (!ExportBlockToFile(fileId, block, to)) throw CommandError(BlockName(fileId, block) + " was not written");
    return patch.Finish();
}

int RunReplace(CommandContext& context) {
    const int fileId = ParseType(context.args.Required("--type"));
    const int32_t block = ParseBlockOf(context.args, fileId);
    const std::string& from = context.args.Required("--from");
    struct stat info{};
    if (::stat(from.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        throw CommandError(from + ": no such file");
    // The library takes a file it cannot read for an empty one, which would
    // remove the block: a file that is unreadable or too long is refused here.
    if (::access(from.c_str(), R_OK) != 0) throw CommandError(from + ": cannot be read");
    if (info.st_size > 2147483647) throw CommandError(from + ": too long for a block (2147483647 bytes at most)");
    PatchSession patch(context.args);
    RequirePresent(fileId, block);
    if (!ImportBlockFromFile(fileId, block, from)) throw CommandError(BlockName(fileId, block) + " was not replaced");
    if (Slot(fileId, block).Offset == -1)
        PrintMessage(from + " is empty: " + BlockName(fileId, block) + " was removed from the patch");
    patch.MarkChanged();
    return patch.Finish();
}

int RunDelete(CommandContext& context) {
    const ParsedArgs& args = context.args;
    if (args.Has("--rect")) return RunDeleteRect(context);
    const int fileId = ParseType(args.Required("--type"));
    const BlockRange range = ParseRange(args.Required("--blocks"), "--blocks");
    PatchSession patch(args);
    std::vector<int32_t> blocks;
    for (const int32_t block : ListedBlocks(fileId))
        if (range.Contains(block)) blocks.push_back(block);
    if (DeleteBlocks(fileId, blocks) > 0) patch.MarkChanged();
    return patch.Finish();
}

int RunFlag(CommandContext& context) {
    const int fileId = ParseType(context.args.Required("--type"));
    const bool on = ParseOnOff(context.args.Required("--verdata"), "--verdata");
    const FileTypeRec& type = FileTypes[static_cast<size_t>(fileId)];
    if (fileId >= 100) throw UsageError("--type: " + type.Name + " has no verdata flag (FileID " + std::to_string(fileId) + " is not a client file)");
    PatchSession patch(context.args);
    if ((type.InVerdata != 0) == on) return patch.Finish();  // already so: nothing changes
    if (PatchBlocks[static_cast<size_t>(fileId)].Count == 0)
        throw CommandError("the patch has no " + type.Name +
                           " blocks: the verdata flag is kept only in the entries of a type's blocks, so it "
                           "cannot be saved");
    SetInVerdata(fileId, on);
    patch.MarkChanged();
    return patch.Finish();
}

}  // namespace

void AddBlockCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"extract",
         "write a block's raw bytes to a file, exactly as a dat file, or a Sound block as a WAV file",
         {"extract --patch P --type T --block N --to FILE", "extract --patch P --type sound --block N --to OUT.wav"},
         {PatchOption(),
          NoWaitOption(),
          TypeOption(),
          kBlockOption,
          {"--to", "FILE", "the file to write; an existing file is replaced whole"}},
         "A block that is not in the patch, or that has no bytes, is a failure (exit status 1) and "
         "writes nothing.\n\n"
         "A Sound block written to a name ending in .wav (any case) becomes a WAV file: the block's "
         "16-bit mono samples at 22050 Hz, without its 40-byte header (the sound's name). A Sound "
         "block of 40 bytes or fewer has no samples: a failure, and nothing is written. Any other "
         "name, and every other type, gets the raw bytes.",
         RunExtract});
    table.push_back({"replace",
                     "replace a block that the patch has with the bytes of a dat file",
                     {"replace --patch P --type T --block N --from FILE [--out FILE]"},
                     {PatchOption(), NoWaitOption(), TypeOption(), kBlockOption, {"--from", "FILE", "the dat file to read"},
                      OutOption()},
                     "The block's size becomes the file's length and its flags FFFFFFFF (-1). Only a block "
                     "that is in the patch can be replaced (otherwise exit status 1): blocks come into a patch "
                     "by import. An empty file removes the block from the patch.",
                     RunReplace});
    table.push_back({"delete",
                     "remove blocks from the patch",
                     {"delete --patch P --type T --blocks A-B [--out FILE]",
                      "delete --patch P --type map|statics --rect X1,Y1,X2,Y2 [--out FILE]"},
                     {PatchOption(), NoWaitOption(), TypeOption(),
                      {"--blocks", "A-B", "the blocks to remove (a range, or one number); blocks of the range "
                                          "that are not in the patch are passed over"},
                      {"--rect", "X1,Y1,X2,Y2", "a rectangle of map or statics blocks, the corners as pixels of the page's "
                                                "picture (block = X * 512 + Y), in any order, both included; "
                                                "what lies beyond the picture is cut off"},
                      OutOption()},
                     "The patch is saved only if a block was removed.",
                     RunDelete});
    table.push_back({"flag",
                     "set a type's verdata flag, which the MUO file keeps",
                     {"flag --patch P --type T --verdata on|off [--out FILE]"},
                     {PatchOption(), NoWaitOption(), TypeOption(), {"--verdata", "on|off", "the flag's new value"}, OutOption()},
                     "A MUO file keeps the flag only in the entries of the type's blocks (a type whose flag is "
                     "off has bit 6, value 64, set in the FileID of each of its entries). A type with no blocks "
                     "in the patch therefore cannot keep the flag: changing it there is a failure (exit status "
                     "1), and the flag of such a type reads as its default (on for Art to Hues, off for Map and "
                     "Statics) when the patch is opened. Light and Radarcol (FileID 100 or more) have no flag. "
                     "An import of a MUO file sets the flag of each type it holds from its entries.",
                     RunFlag});
}

}  // namespace quillet::cli
