#pragma once
// What a reader of one source file went on past without failing, told to the
// user once the reading is done: one warning per file and kind, with its
// count and the file's name (base/Warnings.h), never one per block.
#include <cstdint>
#include <string>
#include <utility>

#include "base/BinaryFile.h"

namespace quillet {

// "1 block", "3 blocks".
std::string Counted(int64_t n, const std::string& one, const std::string& many);

// Warns that a patch source gave no block at all.
void WarnNothingLoaded(const std::string& file, int64_t entries);

class ReadNotes {
public:
    // unit names what the file holds: "block", "index record".
    explicit ReadNotes(std::string unit = "block") : unit_(std::move(unit)) {}
    ~ReadNotes();
    ReadNotes(const ReadNotes&) = delete;
    ReadNotes& operator=(const ReadNotes&) = delete;

    // Tells what is pending for the file before, then notes for this one;
    // the same file again goes on counting.
    void Start(const std::string& file);
    // A block that reaches past the end of the file: read as what is there
    // and zeros for the rest.
    void ShortBlock() { ++shortBlocks_; }
    // The file counts `counted` entries but ends after `whole` of them;
    // readAs says what the missing ones became. Only the first call counts.
    void MissingEntries(int64_t counted, int64_t whole, const std::string& readAs);
    // Gives the warnings, once.
    void Tell();

private:
    std::string unit_;
    std::string file_;
    int64_t shortBlocks_ = 0;
    std::string missing_;
};

// The bytes of one block, Size of them from where its file holds them, as a
// source that notes a block cut by the end of its file (once per block).
class BlockBytes : public ByteSource {
public:
    // noted: the block was noted already (it is read a second time).
    void Start(ByteSource& from, int64_t size, ReadNotes& notes, bool noted = false) {
        from_ = &from;
        left_ = size > 0 ? size : 0;
        notes_ = &notes;
        noted_ = noted;
    }
    // Fails for more than is left of the block.
    size_t Read(uint8_t* out, size_t count) override;
    int64_t Left() const { return left_; }
    bool Noted() const { return noted_; }
    // The block was read some other way, and cut by the end of its file.
    void NoteShort() {
        if (noted_) return;
        noted_ = true;
        notes_->ShortBlock();
    }

private:
    ByteSource* from_ = nullptr;
    ReadNotes* notes_ = nullptr;
    int64_t left_ = 0;
    bool noted_ = false;
};

}  // namespace quillet
