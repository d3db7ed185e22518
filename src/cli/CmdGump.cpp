// gump and art: pictures made into Gumps and Art blocks, one from --picture
// or a folder of them from --from-dir. The two commands differ only in the
// type and the conversion; the rest is shared here.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>

#include "actions/mBlockPictures.h"
#include "actions/mImportJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/BlockRows.h"
#include "core/mMuls.h"
#include "operations/mArt.h"
#include "operations/mGumps.h"
#include "qtpictures/PictureFiles.h"
#include "qtpictures/QImagePixels.h"

namespace quillet::cli {
namespace {

struct PictureImportKind {
    int fileId;
    // The job of one picture: ImportGump or ImportArt.
    Result (*single)(const PixelSource& Picture, int32_t Block);
};

const PictureImportKind kGumpImport{kGumpsFileID, ImportGump};
const PictureImportKind kArtImport{kArtFileID, ImportArt};

std::string Lower(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// "Gumps_1F4.png" -> 0x1F4: the type's name and the block in hexadecimal
// (1 to 8 digits), then .png, .bmp, .jpg, .jpeg or .gif, all in any case; what
// picture --to-dir writes. -1 for any other name.
int64_t BlockOfFileName(const std::string& name, const std::string& typeName) {
    const std::string lower = Lower(name);
    const std::string prefix = Lower(typeName) + "_";
    const size_t dot = lower.rfind('.');
    if (lower.rfind(prefix, 0) != 0 || dot == std::string::npos || dot <= prefix.size()) return -1;
    const std::string ext = lower.substr(dot + 1);
    if (ext != "png" && ext != "bmp" && ext != "jpg" && ext != "jpeg" && ext != "gif") return -1;
    const std::string hex = lower.substr(prefix.size(), dot - prefix.size());
    if (hex.size() > 8 || hex.find_first_not_of("0123456789abcdef") != std::string::npos) return -1;
    return static_cast<int64_t>(std::stoull(hex, nullptr, 16));
}

int RunOnePicture(const ParsedArgs& args, const PictureImportKind& kind) {
    const std::string& path = args.Required("--picture");
    const auto block = static_cast<int32_t>(
        ParseNumber(args.Required("--index"), "--index", FileTypes[static_cast<size_t>(kind.fileId)].NbrOfBlocks));
    RequireReadableFile(path);
    QImage image;
    std::string error;
    if (!ReadPicture(path, image, error)) throw CommandError(path + ": " + error);
    const QImagePixels picture(image);

    PatchSession patch(args);
    if (const Result converted = kind.single(picture, block); !converted) return StatusOf(converted);
    patch.MarkChanged();
    return patch.Finish();
}

int RunFolder(const ParsedArgs& args, const PictureImportKind& kind) {
    if (args.Has("--picture") || args.Has("--index"))
        throw UsageError("--from-dir takes the place of --picture and --index");
    const std::string& dir = args.Required("--from-dir");
    const FileTypeRec& type = FileTypes[static_cast<size_t>(kind.fileId)];
    std::error_code failure;
    if (!std::filesystem::is_directory(dir, failure)) throw CommandError(dir + ": no such folder");

    // The pictures by block; the folder's order means nothing.
    std::vector<PictureInput> inputs;
    size_t ignored = 0;
    std::filesystem::directory_iterator entries(dir, failure);
    for (; !failure && entries != std::filesystem::directory_iterator(); entries.increment(failure)) {
        const std::string name = entries->path().filename().string();
        const int64_t block = BlockOfFileName(name, type.Name);
        if (block < 0) {
            ++ignored;
            continue;
        }
        const std::string path = entries->path().string();
        if (block > type.NbrOfBlocks)
            throw CommandError(path + ": " + type.Name + " has no block " + HexText(static_cast<uint64_t>(block)) +
                               " (the last is " + HexText(static_cast<uint32_t>(type.NbrOfBlocks)) + ")");
        inputs.push_back({path, static_cast<int32_t>(block)});
    }
    if (failure) throw CommandError(dir + ": cannot be read: " + failure.message());
    std::sort(inputs.begin(), inputs.end(), [](const PictureInput& a, const PictureInput& b) {
        return a.Block != b.Block ? a.Block < b.Block : a.Name < b.Name;
    });
    for (size_t i = 1; i < inputs.size(); ++i)
        if (inputs[i].Block == inputs[i - 1].Block)
            throw CommandError(inputs[i - 1].Name + " and " + inputs[i].Name + " are both " +
                               quillet::BlockName(kind.fileId, inputs[i].Block));
    if (ignored > 0)
        PrintMessage(std::to_string(ignored) + (ignored == 1 ? " file" : " files") + " in " + dir +
                     " ignored: not named " + type.Name + "_<HEX>.png (or .bmp, .jpg, .jpeg, .gif)");
    if (inputs.empty())
        throw CommandError(dir + " holds no picture named " + type.Name + "_<HEX>.png (or .bmp, .jpg, .jpeg, .gif)");

    PatchSession patch(args);
    const PictureReader reader = [&inputs](size_t index, std::unique_ptr<PixelSource>& picture, std::string& why) {
        QImage image;
        if (!ReadPicture(inputs[index].Name, image, why)) return false;
        picture = std::make_unique<QImagePixels>(image);
        return true;
    };
    if (const Result converted = ImportPictures(kind.fileId, inputs, reader); !converted) return StatusOf(converted);
    patch.MarkChanged();
    return patch.Finish();
}

int RunPictureImport(CommandContext& context, const PictureImportKind& kind) {
    return context.args.Has("--from-dir") ? RunFolder(context.args, kind) : RunOnePicture(context.args, kind);
}

int RunGump(CommandContext& context) { return RunPictureImport(context, kGumpImport); }
int RunArt(CommandContext& context) { return RunPictureImport(context, kArtImport); }

OptionSpec PictureOption() { return {"--picture", "IMG", "the picture: BMP, JPG, GIF or PNG, told by its content"}; }

OptionSpec FromDirOption(const std::string& type) {
    return {"--from-dir", "D",
            "instead of --picture and --index: every picture of the folder named " + type +
                "_<HEX>.png (or .bmp, .jpg, .jpeg, .gif; any case; HEX the block number in hexadecimal), as "
                "picture --to-dir writes them; other files are ignored, and their number is told on stderr"};
}

const char* const kFromDirText =
    "With --from-dir the whole folder is one change: a picture that cannot be read or converted is a failure "
    "(exit status 1) with a message naming its file, and the patch is not written at all.";

}  // namespace

void AddGumpCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"gump",
         "convert a BMP, JPG, GIF or PNG picture, or a folder of them, into Gumps blocks",
         {"gump --patch P --picture IMG --index N [--out FILE]", "gump --patch P --from-dir D [--out FILE]"},
         {PatchOption(),
          NoWaitOption(),
          PictureOption(),
          {"--index", "N", "the Gumps block number, 0 to 65535 (decimal, or 0x hex)"},
          FromDirOption("Gumps"),
          OutOption()},
         std::string("The picture is stored in the client's run-length form: a table of row starts, then for each "
                     "row runs of one colour, with the width and the height in the block's extra word (width in "
                     "the high 16 bits). Colours are cut to the client's 5 bits a channel; there is no transparent "
                     "colour (a transparent pixel of a PNG or GIF takes the colour the file gives it, black in the "
                     "pictures of picture --to-dir, which the client leaves undrawn). A block of that number in "
                     "the patch is replaced. A file that is not a picture of these kinds is a failure (exit status "
                     "1); so is a picture wider or higher than 32767 pixels, which the extra word cannot hold. "
                     "Either way the patch is not changed.\n\n") +
             kFromDirText,
         RunGump});
    table.push_back(
        {"art",
         "convert a BMP, JPG, GIF or PNG picture, or a folder of them, into Art blocks (items or land tiles)",
         {"art --patch P --picture IMG --index N [--out FILE]", "art --patch P --from-dir D [--out FILE]"},
         {PatchOption(),
          NoWaitOption(),
          PictureOption(),
          {"--index", "N",
           "the Art block number (decimal, or 0x hex): from 0x4000 on an item (the item number plus 0x4000, as "
           "in artidx), below it a land tile"},
          FromDirOption("Art"),
          OutOption()},
         std::string("An item is stored in the client's form: its width and height, a table of row starts, and "
                     "each row's runs of visible pixels. Transparent pixels (alpha 0) and pure black are left "
                     "undrawn; any other colour is cut to the client's 5 bits a channel, and one that would come "
                     "out black becomes the darkest grey. A land tile is made from a 44 by 44 picture: the 1012 "
                     "pixels of its diamond, transparent pixels and black as black; the corners are not read. A "
                     "block of that number in the patch is replaced. A file that is not a picture of these kinds, "
                     "a land tile picture of another size, or an item wider or higher than 65535 pixels is a "
                     "failure (exit status 1), and the patch is not changed.\n\n") +
             kFromDirText,
         RunArt});
}

}  // namespace quillet::cli
