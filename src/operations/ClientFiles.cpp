#include "operations/ClientFiles.h"

#include <filesystem>
#include <map>
#include <system_error>

#include "base/FilePaths.h"
#include "support/Caseless.h"

namespace quillet {
namespace {

struct ClientNames {
    uint8_t FileID;
    const char* Container;  // nullptr for types that have none
    const char* IDX;        // nullptr for single files
    const char* MUL;
};

constexpr ClientNames kClientNames[] = {
    {0, "map0LegacyMUL.uop", nullptr, "map0.mul"},
    {2, nullptr, "staidx0.mul", "statics0.mul"},
    {4, "artLegacyMUL.uop", "artidx.mul", "art.mul"},
    {6, nullptr, "anim.idx", "anim.mul"},
    {8, "soundLegacyMUL.uop", "soundidx.mul", "sound.mul"},
    {10, nullptr, "texidx.mul", "texmaps.mul"},
    {12, "gumpartLegacyMUL.uop", "gumpidx.mul", "gumpart.mul"},
    {14, nullptr, "multi.idx", "multi.mul"},
    {16, nullptr, "skills.idx", "skills.mul"},
    {30, nullptr, nullptr, "tiledata.mul"},
    {31, nullptr, nullptr, "animdata.mul"},
    {32, nullptr, nullptr, "hues.mul"},
    {128, nullptr, "lightidx.mul", "light.mul"},
    {129, nullptr, nullptr, "radarcol.mul"},
};

// The regular files of the directory by their lower-case names.
class DirectoryNames {
public:
    explicit DirectoryNames(const std::string& directory) : directory_(WithSlash(directory)) {
        std::error_code error;
        for (std::filesystem::directory_iterator it(directory, error), end; !error && it != end; it.increment(error)) {
            std::error_code kind;
            if (!it->is_regular_file(kind)) continue;
            const std::string name = it->path().filename().string();
            // Of two names that differ only in case the first in order is taken,
            // so that the choice does not depend on the directory's order.
            auto [at, added] = files_.emplace(LowerText(name), name);
            if (!added && name < at->second) at->second = name;
        }
    }

    // The path of the file of that name, any case; empty when there is none.
    std::string Find(const char* name) const {
        if (name == nullptr) return {};
        const auto at = files_.find(LowerText(name));
        return at == files_.end() ? std::string() : directory_ + at->second;
    }

private:
    std::string directory_;
    std::map<std::string, std::string> files_;
};

ClientTypeFiles FilesOf(const ClientNames& names, const DirectoryNames& directory) {
    ClientTypeFiles files;
    files.FileID = names.FileID;
    if (std::string container = directory.Find(names.Container); !container.empty()) {
        files.MUL = std::move(container);
        return files;
    }
    std::string mul = directory.Find(names.MUL);
    std::string idx = directory.Find(names.IDX);
    const bool noIndex = names.IDX != nullptr && idx.empty();
    if (mul.empty() || noIndex) {
        files.Missing = noIndex && mul.empty() ? std::string(names.IDX) + " and " + names.MUL
                        : noIndex              ? names.IDX
                                               : names.MUL;
        if (names.Container != nullptr) files.Missing += std::string(" (or ") + names.Container + ")";
        return files;
    }
    files.MUL = std::move(mul);
    files.IDX = std::move(idx);
    return files;
}

}  // namespace

const std::vector<uint8_t>& ClientFileTypes() {
    static const std::vector<uint8_t> types = [] {
        std::vector<uint8_t> ids;
        for (const ClientNames& names : kClientNames) ids.push_back(names.FileID);
        return ids;
    }();
    return types;
}

std::vector<ClientTypeFiles> FindClientFiles(const std::string& Directory, const std::vector<uint8_t>& Types) {
    const DirectoryNames directory(Directory);
    std::vector<ClientTypeFiles> found;
    for (const ClientNames& names : kClientNames) {
        bool wanted = Types.empty();
        for (const uint8_t id : Types) wanted = wanted || id == names.FileID;
        if (wanted) found.push_back(FilesOf(names, directory));
    }
    return found;
}

}  // namespace quillet
