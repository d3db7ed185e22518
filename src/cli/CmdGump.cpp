// gump: the gump import. A BMP, JPG or GIF picture becomes one Gumps block.
#include "actions/mImportJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/mMuls.h"
#include "operations/mGumps.h"
#include "qtpictures/PictureFiles.h"
#include "qtpictures/QImagePixels.h"

namespace quillet::cli {
namespace {

int RunGump(CommandContext& context) {
    const ParsedArgs& args = context.args;
    const std::string& path = args.Required("--picture");
    const auto block = static_cast<int32_t>(
        ParseNumber(args.Required("--index"), "--index", FileTypes[kGumpsFileID].NbrOfBlocks));
    RequireReadableFile(path);
    QImage image;
    std::string error;
    if (!ReadPicture(path, image, error)) throw CommandError(path + ": " + error);
    const QImagePixels picture(image);

    PatchSession patch(args);
    if (const Result converted = ImportGump(picture, block); !converted) return StatusOf(converted);
    patch.MarkChanged();
    return patch.Finish();
}

}  // namespace

void AddGumpCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"gump",
         "convert a BMP, JPG or GIF picture into a Gumps block",
         {"gump --patch P --picture IMG --index N [--out FILE]"},
         {PatchOption(), NoWaitOption(), {"--picture", "IMG", "the picture: BMP, JPG or GIF, told by its content"},
          {"--index", "N", "the Gumps block number, 0 to 65535 (decimal, or 0x hex)"}, OutOption()},
         "The picture is stored in the client's run-length form: a table of row starts, then for each row "
         "runs of one colour, with the width and the height in the block's extra word (width in the high 16 "
         "bits). Colours are cut to the client's 5 bits a channel; there is no transparent colour. A block of "
         "that number in the patch is replaced. A file that is not a picture of these kinds is a failure "
         "(exit status 1); so is a picture wider or higher than 32767 pixels, which the extra word cannot "
         "hold. Either way the patch is not changed.",
         RunGump});
}

}  // namespace quillet::cli
