#pragma once
// The codes of the patch file classes and the texts that go with them.
#include <cstddef>
#include <cstdint>
#include <string>

namespace quillet {

// 500..507 of the patch file classes (MUO and UOP); "" for any other number.
std::string PatchFileErrorText(int32_t code);

// The message for a block number beyond its type, three lines, CR LF.
std::string IllegalBlockMessage(int FileID, int32_t Block);

// Why a file could not be opened for reading, right after the open failed
// (errno still that of the failure): "Permission denied.", "It is a
// directory.", ...
std::string OpenFailureWhy(const std::string& path);

// A client UOP container begins with "MYP" and a 0 byte; it holds no patch
// (formats/cClientUOP.h reads it, and says why it is refused as one).
bool IsClientContainer(const uint8_t* head, size_t size);

// The failure of a source that cannot be read as what it was given as:
// "FILE: TEXT WHY", the class's code text and, where known, why.
std::string SourceFailure(const std::string& file, const std::string& text, const std::string& why);

// For the log, the failure in progress as a source's: it names the file
// (unless its text begins with the name already) and the entry, counted from
// 0, when one was being read (entry below 0: none).
std::string FailureInSource(const std::string& file, int64_t entry = -1);

}  // namespace quillet
