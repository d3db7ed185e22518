#include "formats/cMUO.h"

#include <unistd.h>

#include <cerrno>

#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "formats/FormatCodes.h"
#include "formats/cClientUOP.h"

namespace quillet {
namespace {

// A patch file is read and written a megabyte at a time.
constexpr size_t kBuffer = size_t{1} << 20;

}  // namespace

cMUO::cMUO() = default;
cMUO::~cMUO() = default;

std::string cMUO::cError(int32_t ErrNumber) const { return PatchFileErrorText(ErrNumber); }

int32_t cMUO::cOpen(const std::string& PatchFilename) {
    if (IsOpen()) return 502;
    Why.clear();
    if (::access(PatchFilename.c_str(), F_OK) != 0) return 503;
    if (!file_.Open(PatchFilename, BinaryFile::Mode::Read)) {
        Why = OpenFailureWhy(PatchFilename);
        return 501;
    }
    reader_ = std::make_unique<FileReader>(file_, 0, kBuffer);
    const bool whole = ReadHeader();
    // Another version is told as such even when the strings after it are
    // cut too: garbage is an unsupported file more than a cut one.
    const int32_t code = FileVersion != 1 ? 500 : !whole ? 501 : 0;
    if (code != 0) {
        if (IsClientContainer(Magic.data(), Magic.size()))
            Why = ClientContainerWhy(PatchFilename, "a MUO patch file");
        else if (code == 501)
            Why = "Its header is cut short.";
        reader_.reset();
        file_.Close();
        return code;
    }
    nextEntry_ = reader_->Position();
    entriesRead_ = 0;
    notes_.Start(PatchFilename);
    data_.Start(*reader_, 0, notes_);
    Changed = false;
    return 0;
}

bool cMUO::ReadHeader() {
    reader_->Seek(0);
    uint8_t start[8];  // Magic, FileVersion
    reader_->Read(start, sizeof start);
    LeReader startFields(start, sizeof start);
    startFields.Bytes(Magic.data(), Magic.size());
    FileVersion = startFields.I32();
    for (std::string* text : {&PatchName, &PatchDescription, &PatchAuthor}) {
        text->clear();
        for (;;) {
            if (reader_->Remaining() <= 0) return false;  // no 0 byte before the end
            uint8_t c = 0;
            reader_->Read(&c, 1);
            if (c == 0) break;
            text->push_back(static_cast<char>(c));
        }
    }
    uint8_t count[4];
    reader_->Read(count, sizeof count);
    BlockCount = LeReader(count, sizeof count).I32();
    return true;
}

void cMUO::WriteHeader() {
    ByteArray header;
    LeWriter out(header);
    out.Bytes(Magic.data(), Magic.size());
    out.I32(FileVersion);
    out.CString(PatchName);
    out.CString(PatchDescription);
    out.CString(PatchAuthor);
    out.I32(BlockCount);
    if (!file_.WriteAt(0, header.data(), header.size()) && !writeFailed_) {
        writeFailed_ = true;
        lastError_ = errno;
    }
}

int32_t cMUO::cCreate(const std::string& PatchFilename, unsigned createMode) {
    if (IsOpen()) return 504;
    lastError_ = 0;
    ::unlink(PatchFilename.c_str());
    if (!file_.Open(PatchFilename, BinaryFile::Mode::Create, createMode)) {
        lastError_ = errno;
        return 505;
    }
    Magic = {'M', 'U', 'O', 'P'};
    FileVersion = 1;
    BlockCount = 0;
    PatchName = "MUO";
    PatchDescription = "Created by Quillet";
    PatchAuthor = "Sir Patch";
    writeFailed_ = false;
    WriteHeader();
    writer_ = std::make_unique<FileWriter>(file_, file_.Size(), kBuffer);
    Changed = true;
    return writeFailed_ ? 505 : 0;
}

int32_t cMUO::cClose() {
    if (!IsOpen()) return 507;
    bool ok = true;
    if (writer_ && !writer_->Flush()) {
        ok = false;
        lastError_ = writer_->Error();
    }
    if (Changed) {
        WriteHeader();
        ok = ok && !writeFailed_;
        if (ok && !file_.Sync()) {
            ok = false;
            lastError_ = errno;
        }
    }
    if (!file_.Close() && ok) {
        ok = false;
        lastError_ = errno;
    }
    if (reader_) notes_.Tell();
    reader_.reset();
    writer_.reset();
    Changed = false;
    return ok ? 0 : 506;
}

bool cMUO::cAtEnd() const { return !reader_ || nextEntry_ >= reader_->FileSize(); }

int32_t cMUO::cLoadHead(uint8_t& FileID, int32_t& Block, int32_t& Extra, int32_t& ByteArraySize) {
    if (!reader_) Fail("The patch file is not open for reading");
    reader_->Seek(nextEntry_);
    uint8_t head[16];
    if (reader_->Read(head, sizeof head) < sizeof head && entriesRead_ < BlockCount)
        notes_.MissingEntries(BlockCount, entriesRead_, "the rest were read as zeros");
    ++entriesRead_;
    LeReader fields(head, sizeof head);
    const int32_t fileIdField = fields.I32();
    Block = fields.I32();
    Extra = fields.I32();
    const int32_t size = fields.I32();
    ByteArraySize = size;
    nextEntry_ = reader_->Position() + (size > 0 ? size : 0);
    data_.Start(*reader_, size, notes_);
    FileID = ToByte(fileIdField);
    return size;
}

int32_t cMUO::cLoad(uint8_t& FileID, int32_t& Block, int32_t& Extra, ByteArray& bytes, int32_t& ByteArraySize) {
    const int32_t size = cLoadHead(FileID, Block, Extra, ByteArraySize);
    if (size > 0) {
        CheckBlockFitsInMemory(size);
        bytes.resize(static_cast<size_t>(size));
        data_.Read(bytes.data(), bytes.size());
    }
    return size;
}

int32_t cMUO::cSave(int32_t FileID, int32_t Block, int32_t Extra, const ByteArray& bytes, int32_t ByteArraySize) {
    if (ByteArraySize > 0 && static_cast<size_t>(ByteArraySize) > bytes.size()) Fail(kSubscript);
    return cSave(FileID, Block, Extra, bytes.data(), ByteArraySize);
}

int32_t cMUO::cSave(int32_t FileID, int32_t Block, int32_t Extra, const uint8_t* bytes, int32_t ByteArraySize) {
    WriteHead(FileID, Block, Extra, ByteArraySize);
    if (ByteArraySize > 0) writer_->Write(bytes, static_cast<size_t>(ByteArraySize));
    return EndEntry(ByteArraySize);
}

int32_t cMUO::cSave(int32_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize, const ByteFeed& source) {
    WriteHead(FileID, Block, Extra, ByteArraySize);
    if (ByteArraySize > 0) writer_->Write(ByteArraySize, source);
    return EndEntry(ByteArraySize);
}

void cMUO::WriteHead(int32_t FileID, int32_t Block, int32_t Extra, int32_t ByteArraySize) {
    if (!writer_) Fail("The patch file is not open for writing");
    uint8_t head[16];
    StoreI32(head, FileID);
    StoreI32(head + 4, Block);
    StoreI32(head + 8, Extra);
    StoreI32(head + 12, ByteArraySize);
    writer_->Write(head, sizeof head);
}

int32_t cMUO::EndEntry(int32_t ByteArraySize) {
    Changed = true;
    BlockCount = AddLong(BlockCount, 1);
    return ByteArraySize == 0 ? -1 : ByteArraySize;
}

}  // namespace quillet
