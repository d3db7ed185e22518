#include "formats/cUOP.h"

#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string_view>

#include "base/AppInfo.h"
#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "formats/FormatCodes.h"
#include "formats/cClientUOP.h"

namespace quillet {
namespace {

constexpr size_t kHeaderSize = 12;
constexpr size_t kToolNameSize = 10;
constexpr size_t kEntryHeadSize = 13;  // FileID, Block, Size, Extra

}  // namespace

cUOP::cUOP() = default;
cUOP::~cUOP() = default;

std::string cUOP::cError(int32_t ErrNumber) const { return PatchFileErrorText(ErrNumber); }

void cUOP::CloseQuietly() {
    reader_.reset();
    writer_.reset();
    file_.Close();
}

int32_t cUOP::cOpen(const std::string& PatchFilename) {
    if (IsOpen()) return 502;
    Why.clear();
    if (::access(PatchFilename.c_str(), F_OK) != 0) return 503;
    if (!file_.Open(PatchFilename, BinaryFile::Mode::Read)) {
        Why = OpenFailureWhy(PatchFilename);
        return 501;
    }
    try {
        fileLength_ = file_.Size();
        reader_ = std::make_unique<FileReader>(file_);
        // A header cut by the end of the file reads as zeros.
        uint8_t head[kHeaderSize];
        reader_->Read(head, sizeof head);
        LeReader fields(head, sizeof head);
        fields.Bytes(Magic.data(), Magic.size());
        FileVersion = fields.U8();
        BlockCount = fields.I32();
        HeaderReserved = fields.I32();
        ToolName = {};
        if (FileVersion == 5) reader_->Read(ToolName.data(), ToolName.size());
        if (IsClientContainer(head, sizeof head) || (FileVersion != 4 && FileVersion != 5)) {
            if (IsClientContainer(head, sizeof head)) Why = ClientContainerWhy(PatchFilename, "a UOP patch file");
            CloseQuietly();
            return 500;
        }
        path_ = PatchFilename;
        nextEntry_ = reader_->Position();
        entriesRead_ = 0;
        notes_.Start(PatchFilename);
        data_.Start(*reader_, 0, notes_);
        Changed = false;
        return 0;
    } catch (...) {
        CloseQuietly();
        return 501;
    }
}

void cUOP::WriteHeader() {
    ByteArray header;
    LeWriter out(header);
    out.Bytes(Magic.data(), Magic.size());
    out.U8(FileVersion);
    out.I32(BlockCount);
    out.I32(HeaderReserved);
    if (FileVersion == 5) out.Bytes(ToolName.data(), ToolName.size());
    if (!file_.WriteAt(0, header.data(), header.size())) writeFailed_ = true;
}

int32_t cUOP::cCreate(const std::string& PatchFilename) {
    if (IsOpen()) return 502;
    try {
        ::unlink(PatchFilename.c_str());
        if (!file_.Open(PatchFilename, BinaryFile::Mode::Create)) return 505;
        Magic = {'U', 'O', 'P'};
        FileVersion = 5;
        BlockCount = 0;
        HeaderReserved = 0;
        ToolName = {};
        const std::string_view title = kAppTitle;
        std::copy_n(title.begin(), std::min(title.size(), kToolNameSize), ToolName.begin());
        writeFailed_ = false;
        WriteHeader();
        if (writeFailed_) {
            CloseQuietly();
            return 505;
        }
        writer_ = std::make_unique<FileWriter>(file_, static_cast<int64_t>(kHeaderSize + kToolNameSize));
        Changed = true;
        return 0;
    } catch (...) {
        CloseQuietly();
        return 505;
    }
}

int32_t cUOP::cClose() {
    if (!IsOpen()) return 507;
    bool ok = true;
    try {
        if (writer_) ok = writer_->Flush();
        if (Changed) {
            // Only here does BlockCount reach the file.
            WriteHeader();
            ok = ok && !writeFailed_ && file_.Sync();
        }
    } catch (...) {
        ok = false;
    }
    if (reader_) notes_.Tell();
    reader_.reset();
    writer_.reset();
    ok = file_.Close() && ok;
    Changed = false;
    return ok ? 0 : 506;
}

bool cUOP::cAtEnd() const { return !reader_ || nextEntry_ >= fileLength_; }

int32_t cUOP::cLoadHead(uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize) {
    if (!reader_) Fail("The patch file is not open for reading");
    // The head is read over the variables that receive it: the bytes the
    // file still has replace theirs, from the first on; where the file has
    // ended the old bytes stay, so a field cut by the end keeps its high bytes.
    uint8_t head[kEntryHeadSize];
    head[0] = FileID;
    StoreI32(head + 1, Block);
    StoreI32(head + 5, ByteArraySize);
    StoreI32(head + 9, Extra);
    uint8_t got[kEntryHeadSize];
    reader_->Seek(nextEntry_);
    const size_t fromFile = reader_->Read(got, sizeof got);
    if (fromFile < sizeof got && entriesRead_ < BlockCount)
        notes_.MissingEntries(BlockCount, entriesRead_, "the rest repeat the entry before them, with zeros as bytes");
    ++entriesRead_;
    std::memcpy(head, got, fromFile);
    LeReader fields(head, sizeof head);
    FileID = fields.U8();
    Block = fields.I32();
    ByteArraySize = fields.I32();
    Extra = fields.I32();
    const int32_t size = ByteArraySize;
    nextEntry_ = reader_->Position() + (size > 0 ? size : 0);
    data_.Start(*reader_, size, notes_);
    return size;
}

int32_t cUOP::cLoad(uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes, int32_t& ByteArraySize) {
    const int32_t size = cLoadHead(FileID, Block, Extra, ByteArraySize);
    if (size > 0) {
        CheckBlockFitsInMemory(size);
        bytes.resize(static_cast<size_t>(size));
        data_.Read(bytes.data(), bytes.size());
    }
    return size;
}

int32_t cUOP::cSave(uint8_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize) {
    if (!IsOpen()) Fail("The patch file is not open");
    if (ByteArraySize > 0 && static_cast<size_t>(ByteArraySize) > bytes.size()) Fail(kSubscript);
    // An opened file takes new entries at its end, as a created one does;
    // it was opened for reading, so write access is asked for only now.
    if (!writer_) {
        BinaryFile writable;
        if (!writable.Open(path_, BinaryFile::Mode::ReadWrite)) Fail("Unable to open " + path_ + " for writing");
        file_ = std::move(writable);
        writer_ = std::make_unique<FileWriter>(file_, file_.Size());
    }
    uint8_t head[kEntryHeadSize];
    head[0] = FileID;
    StoreI32(head + 1, Block);
    StoreI32(head + 5, ByteArraySize);
    StoreI32(head + 9, Extra);
    writer_->Write(head, sizeof head);
    if (ByteArraySize > 0) writer_->Write(bytes.data(), static_cast<size_t>(ByteArraySize));
    Changed = true;
    BlockCount = AddLong(BlockCount, 1);
    return ByteArraySize;
}

}  // namespace quillet
