#include "formats/ReadNotes.h"

#include "base/Checked.h"
#include "base/Warnings.h"

namespace quillet {

std::string Counted(int64_t n, const std::string& one, const std::string& many) {
    return std::to_string(n) + " " + (n == 1 ? one : many);
}

void WarnNothingLoaded(const std::string& file, int64_t entries) {
    Warn(file + ": no block was loaded (the file counts " + Counted(entries, "entry", "entries") + ").");
}

ReadNotes::~ReadNotes() {
    try {
        Tell();
    } catch (...) {  // a warning that cannot be kept is lost, never the program
    }
}

void ReadNotes::Start(const std::string& file) {
    if (file == file_) return;  // the same file again (in another section, say): one count
    Tell();
    file_ = file;
}

void ReadNotes::MissingEntries(int64_t counted, int64_t whole, const std::string& readAs) {
    if (!missing_.empty()) return;
    missing_ = file_ + ": the file counts " + Counted(counted, "entry", "entries") + " but ends after " +
               std::to_string(whole) + "; " + readAs + ".";
}

void ReadNotes::Tell() {
    if (shortBlocks_ > 0)
        Warn(file_ + ": " + Counted(shortBlocks_, unit_ + " reaches", unit_ + "s reach") +
             " past the end of the file; the missing bytes were read as zeros.");
    if (!missing_.empty()) Warn(missing_);
    shortBlocks_ = 0;
    missing_.clear();
}

size_t BlockBytes::Read(uint8_t* out, size_t count) {
    if (from_ == nullptr || static_cast<int64_t>(count) > left_) Fail("Read past the end of a block");
    const size_t got = from_->Read(out, count);
    left_ -= static_cast<int64_t>(count);
    if (got < count && !noted_) {
        noted_ = true;
        notes_->ShortBlock();
    }
    return got;
}

}  // namespace quillet
