// The picture pages: render (the map and statics pages as a PNG), delete
// --rect (the Delete of a selected rectangle on those pages), and client
// (what the start-up found out about the installed clients).
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>

#include "actions/mPageJobs.h"
#include "cli/CommandHelpers.h"
#include "cli/Commands.h"
#include "cli/FrontEnd.h"
#include "cli/Session.h"
#include "core/mPatch.h"
#include "qtpictures/PictureFiles.h"
#include "support/Services.h"
#include "support/cRegistery.h"
#include "viewers/PixelPicture.h"

namespace quillet::cli {
namespace {

bool RegularFile(const std::string& path) {
    struct stat info{};
    return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::string LowerText(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

// "map" -> 0, "statics" -> 2, any case.
int ParsePage(const std::string& text) {
    const std::string page = LowerText(text);
    if (page == "map") return 0;
    if (page == "statics") return 2;
    throw UsageError("--page: '" + text + "' is no page with a picture (map or statics)");
}

// One corner coordinate: a decimal (or 0x hexadecimal) number with an
// optional minus sign, within 32 bits: a drag may end outside the picture.
int32_t ParseCoordinate(const std::string& text) {
    const bool negative = !text.empty() && text[0] == '-';
    const int64_t magnitude = ParseNumber(negative ? text.substr(1) : text, "--rect", negative ? 2147483648 : 2147483647);
    return static_cast<int32_t>(negative ? -magnitude : magnitude);
}

struct Rect {
    int32_t X1, Y1, X2, Y2;
};

Rect ParseRect(const std::string& text) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t comma = text.find(','); ; comma = text.find(',', start)) {
        parts.push_back(text.substr(start, comma == std::string::npos ? std::string::npos : comma - start));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (parts.size() != 4) throw UsageError("--rect: '" + text + "' is not X1,Y1,X2,Y2 (four numbers)");
    return {ParseCoordinate(parts[0]), ParseCoordinate(parts[1]), ParseCoordinate(parts[2]),
            ParseCoordinate(parts[3])};
}

int RunRender(CommandContext& context) {
    const ParsedArgs& args = context.args;
    const int fileId = ParsePage(args.Required("--page"));
    const std::string& to = args.Required("--to");
    const std::optional<std::string> radarcol = RadarcolOption(args);
    PatchSession patch(args, PatchAccess::Read);
    if (const Result loaded = LoadRadarColours(radarcol); !loaded) return StatusOf(loaded);

    PixelPicture picture;
    if (!DrawPage(picture, fileId)) {
        patch.Finish();
        throw CommandError("the " + FileTypes[static_cast<size_t>(fileId)].Name + " page could not be drawn whole; " +
                           to + " was not written");
    }
    std::string error;
    if (!WritePng(picture, to, error)) throw CommandError(to + ": " + error);
    return patch.Finish();
}

int RunClient(CommandContext&) {
    // What the GUI's start-up finds; the registry file is named so that a
    // user can tell which prefix was asked.
    const std::string hive = cRegistery().HiveFile(HKEY_LOCAL_MACHINE);
    std::cout << "Registry: " << (hive.empty() ? "(no Wine prefix: neither WINEPREFIX nor a home directory)" : hive)
              << (!hive.empty() && !RegularFile(hive) ? " (not there)" : "") << "\n";
    const auto path = [](const std::string& text) { return text.empty() ? std::string() : " " + text; };
    const cUO& client = ClientLocation();
    std::cout << "UO2DPath:" << path(client.UO2DPath) << "\n"
              << "isUO2D: " << (client.isUO2D ? "true" : "false") << "\n"
              << "UO3DPath:" << path(client.UO3DPath) << "\n"
              << "isUO3D: " << (client.isUO3D ? "true" : "false") << "\n";
    return 0;
}

}  // namespace

int RunDeleteRect(CommandContext& context) {
    const ParsedArgs& args = context.args;
    if (args.Has("--blocks")) throw UsageError("--rect and --blocks cannot be given together");
    const int fileId = ParseType(args.Required("--type"));
    if (fileId != 0 && fileId != 2)
        throw UsageError("--rect: only Map and Statics blocks lie on the picture's grid (--type map or statics)");
    Rect rect = ParseRect(args.Required("--rect"));
    PatchSession patch(args);
    RecountBlocks(fileId);
    const int32_t before = PatchBlocks[static_cast<size_t>(fileId)].Count;
    if (const Result cleared = ClearPageBlocks(fileId, rect.X1, rect.Y1, rect.X2, rect.Y2); !cleared)
        return StatusOf(cleared);
    if (PatchBlocks[static_cast<size_t>(fileId)].Count != before) patch.MarkChanged();
    return patch.Finish();
}

void AddPictureCommands(std::vector<CommandSpec>& table) {
    table.push_back(
        {"render",
         "draw the overview picture of the map or statics page, 768 (or 896) by 512, as a PNG",
         {"render --patch P --page map|statics [--radarcol F] --to OUT.png"},
         {PatchOption(),
          NoWaitOption(),
          {"--page", "map|statics", "which page"},
          {"--radarcol", "F", "the radar colour file (default: the client's radarcol.mul)"},
          {"--to", "OUT.png", "the picture to write; an existing file is replaced whole"}},
         "One pixel per block, block = X * 512 + Y: column X, row Y. The picture is 768 by 512 while every "
         "Map and Statics block of the patch lies in the classic grid (blocks 0 to 393215), and 896 by 512 "
         "(a Mondain's Legacy map) when any lies beyond it; both pages have the same width. The map page "
         "colours a block by the land tile of its first cell; the statics page by its first static item, and shows a "
         "block that is in the patch without bytes "
         "in black. A block that is not in the patch keeps the background, light grey (239, 239, 239). Without "
         "--radarcol the colours come from radarcol.mul in the client's directory, found through the registry "
         "(see the client command); when there is none, every block is drawn black, and a warning says so.\n\n"
         "The radar colour file holds a colour per land tile (0 to 16383) and then per static item. A file of "
         "65536 entries (131072 bytes) or fewer colours the items up to 49151 (a shorter file gives black for "
         "what it lacks); a longer one, as High Seas clients have (0x14000 entries), colours the items up to "
         "65535.\n\n"
         "A block too short for its colour (under 6 bytes on the map, under 2 on statics) or a static item "
         "number that the radar colour file has no colour for (49152 or more with a file of 65536 entries) "
         "stops the drawing: that is a failure (exit status 1) and no picture is written.",
         RunRender});
    table.push_back(
        {"client",
         "print where the 2D and 3D clients are and whether their programs were found",
         {"client"},
         {},
         "The registry is Wine's: system.reg of $WINEPREFIX, else of ~/.wine. The ExePath values of "
         "SOFTWARE\\Origin Worlds Online\\Ultima Online\\1.0 (2D) and ...\\Ultima Online Third Dawn\\1.0 (3D), "
         "also under SOFTWARE\\Wow6432Node, give the directories, mapped to the prefix's drive folders. "
         "isUO2D and isUO3D tell whether client.exe and uotd.exe are there. An empty path means that the "
         "registry has no entry; the programs are then looked for in the current directory.",
         RunClient});
}

}  // namespace quillet::cli
