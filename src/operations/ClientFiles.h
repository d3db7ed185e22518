#pragma once
// Where a client directory keeps the files of each type, under the client's
// own names: an IDX/MUL pair, a single MUL file, or a current client's UOP
// container. Names are matched without regard to case, since a client copied
// from Windows may have any.
#include <cstdint>
#include <string>
#include <vector>

namespace quillet {

struct ClientTypeFiles {
    uint8_t FileID = 0;
    std::string MUL;  // the MUL file or the container; empty when the type was not found
    std::string IDX;  // the index file of a pair; empty otherwise
    // Why the type was not found: which files are missing.
    std::string Missing;

    bool Found() const { return !MUL.empty(); }
};

// The types whose files a client has, in tree order of their FileIDs.
const std::vector<uint8_t>& ClientFileTypes();

// The files of each of Types (all of ClientFileTypes when empty) in
// Directory. A container wins over a MUL pair of the same type beside it:
// the client reads the container when it has one, and the MUL files that
// installations keep beside it are often left over from an older version.
// A directory that cannot be read finds nothing.
std::vector<ClientTypeFiles> FindClientFiles(const std::string& Directory, const std::vector<uint8_t>& Types = {});

}  // namespace quillet
