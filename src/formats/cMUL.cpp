#include "formats/cMUL.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "formats/FormatCodes.h"

namespace quillet {
namespace {

constexpr int32_t kRecordSize = 12;

// A number per open file; nothing but "is it 0" is ever asked of it, so a
// counter that never gives 0 does.
int32_t NewFileNumber() {
    static int32_t last = 0;
    last = last == std::numeric_limits<int32_t>::max() ? 1 : last + 1;
    return last;
}

// The client's files are read, never written, by every procedure of the
// program: they are opened for reading only, so that neither a read-only
// file nor the client on a read-only mount stands in the way, and nothing
// can change them. A missing file is no file to read.
void OpenForReading(BinaryFile& file, const std::string& path, std::string& why) {
    if (path.empty()) {
        why = "No file was named.";
    } else if (!file.Open(path, BinaryFile::Mode::Read)) {
        why = path + ": " + OpenFailureWhy(path);
    } else {
        return;
    }
    Fail("Unable to open " + path);
}

}  // namespace

cMUL::cMUL() = default;
cMUL::~cMUL() = default;

std::string cMUL::cError(int32_t ErrNumber) const {
    switch (ErrNumber) {
        case 500: return "Unable to open.";
        case 501: return "Files allready opened.";
        case 502: return "Illegal number of blocks.";
        case 505: return "Unable to close files.";
        default: return {};
    }
}

void cMUL::CloseFiles() {
    idx_.Close();
    mul_.Close();
    writable_ = false;
    idxWindow_.Reset();
    mulWindow_.Reset();
    mulLength_ = 0;
    idxLength_ = 0;
}

int32_t cMUL::cOpen(const std::string& IDXFilename, const std::string& MULFilename, int32_t constantIndex,
                    int32_t nbrOfBlocks, int32_t offset) {
    if (IDXFile != 0) return 501;
    ConstantIndex = constantIndex;
    if (ConstantIndex > 0 && nbrOfBlocks < 1) return 502;
    try {
        // Only an open IDX file refuses a second cOpen; an object open in
        // constant-size mode lets its MUL file go and opens the new one.
        CloseFiles();
        MULFile = 0;
        Why.clear();
        OpenForReading(mul_, MULFilename, Why);
        mulName_ = MULFilename;
        MULFile = NewFileNumber();
        if (ConstantIndex < 1) {
            OpenForReading(idx_, IDXFilename, Why);
            idxName_ = IDXFilename;
            idxNotes_.Start(IDXFilename);
            IDXFile = NewFileNumber();
            Offset = 0;
            // File lengths are 32-bit here: an IDX file of 2 GB or more is
            // beyond them. Ties go to the even count (18 bytes: 2).
            const int32_t length = ToLong(idx_.Size());
            BlockTotal = ToLong(static_cast<int64_t>(std::nearbyint(static_cast<double>(length) / kRecordSize)));
        } else {
            Offset = offset;
            BlockTotal = nbrOfBlocks;
        }
        mulLength_ = mul_.Size();
        idxLength_ = idx_.Size();
        mulNotes_.Start(MULFilename);
        data_.Start(mulSource_, 0, mulNotes_);
        return 0;
    } catch (...) {
        CloseFiles();
        IDXFile = 0;
        MULFile = 0;
        BlockTotal = 0;
        return 500;
    }
}

int32_t cMUL::cClose() {
    // Closing what is not open is no failure: the object just stays closed.
    const bool idxClosed = idx_.Close();
    const bool mulClosed = mul_.Close();
    CloseFiles();
    ConstantIndex = -1;
    IDXFile = 0;
    MULFile = 0;
    BlockTotal = 0;
    return idxClosed && mulClosed ? 0 : 505;
}

int32_t cMUL::cCount() const { return MULFile != 0 ? BlockTotal : 0; }

cMUL::Record cMUL::GetRecord(int32_t IndexNumber) {
    if (MULFile == 0) Fail("The MUL file is not open");
    Record record;  // zeroed: what a read past the end of the IDX file leaves
    if (ConstantIndex < 1) {
        if (IDXFile == 0) Fail("The IDX file is not open");
        const int32_t at = MulLong(IndexNumber, kRecordSize);
        if (at < 0) Fail("Bad record number: index record " + std::to_string(IndexNumber));
        if (at >= idxLength_) return record;  // no need to ask the file
        uint8_t raw[kRecordSize];
        if (idxWindow_.Read(idx_, at, raw, sizeof raw) < sizeof raw) idxNotes_.ShortBlock();
        LeReader fields(raw, sizeof raw);
        record.Position = fields.I32();
        record.Size = fields.I32();
        record.Extra = fields.I32();
    } else {
        record.Size = ConstantIndex;
        record.Extra = -1;
        record.Position = AddLong(Offset, MulLong(IndexNumber, ConstantIndex));
    }
    return record;
}

// What an index record may ask of us. A block lies at its Position; one that
// reaches past the end of the MUL file keeps zeros in the missing part, so a
// short file reads as zeros, and the block is noted for the warning. A
// Position below 0 is a seek before the file, a failure. In constant-size
// mode the Size is the caller's own ConstantIndex, so a short file gives
// whole blocks of zeros.
cMUL::Record cMUL::BlockRecord(int32_t IndexNumber) {
    const Record record = GetRecord(IndexNumber);
    if (record.Size > 0 && record.Position < 0)
        Fail("Bad record number: block " + std::to_string(IndexNumber) + " at position " +
             std::to_string(record.Position));
    return record;
}

int32_t cMUL::cLoadHead(int32_t IndexNumber, int32_t& Extra) {
    const Record record = BlockRecord(IndexNumber);
    Extra = record.Extra;
    lastPosition_ = record.Position;
    lastSize_ = record.Size;
    mulSource_.Seek(record.Position);
    data_.Start(mulSource_, record.Size, mulNotes_);
    return record.Size;
}

ByteSource& cMUL::cDataAgain() {
    const bool noted = data_.Noted();  // the first reading may have stopped before the end
    mulSource_.Seek(lastPosition_);
    data_.Start(mulSource_, lastSize_, mulNotes_, noted);
    return data_;
}

const uint8_t* cMUL::cView(ByteArray& spare) {
    if (lastSize_ <= 0) return nullptr;
    CheckBlockFitsInMemory(lastSize_);
    const auto size = static_cast<size_t>(lastSize_);
    if (int64_t{lastPosition_} + lastSize_ > mulLength_) data_.NoteShort();
    if (lastPosition_ >= mulLength_) {
        spare.assign(size, 0);
        return spare.data();
    }
    return mulWindow_.View(mul_, lastPosition_, size, spare);
}

int64_t cMUL::BlocksInFile() const {
    if (mulLength_ <= Offset) return 0;
    const int64_t bytes = mulLength_ - Offset;
    return WholeBlocks ? bytes / ConstantIndex : (bytes + ConstantIndex - 1) / ConstantIndex;
}

int64_t cMUL::cExtent() {
    if (MULFile == 0) return 0;
    return ConstantIndex > 0 ? BlocksInFile() : BlockTotal;
}

int64_t cMUL::cBlocksIn(int64_t First, int64_t Last) {
    if (MULFile == 0 || First > Last) return 0;
    if (ConstantIndex > 0) return std::max<int64_t>(0, std::min(Last, BlocksInFile() - 1) - First + 1);
    int64_t blocks = 0;
    const int64_t last = std::min<int64_t>(Last, BlockTotal - 1);
    for (int64_t n = std::max<int64_t>(First, 0); n <= last; ++n)
        if (GetRecord(static_cast<int32_t>(n)).Size > 0) ++blocks;
    return blocks;
}

void cMUL::OpenForWriting() {
    if (writable_) return;
    BinaryFile mul;
    BinaryFile idx;
    if (!mul.Open(mulName_, BinaryFile::Mode::ReadWrite) ||
        (ConstantIndex < 1 && !idx.Open(idxName_, BinaryFile::Mode::ReadWrite)))
        Fail("Unable to open " + mulName_ + (ConstantIndex < 1 ? " and " + idxName_ : "") + " for writing");
    mul_ = std::move(mul);
    if (ConstantIndex < 1) idx_ = std::move(idx);
    writable_ = true;
}

void cMUL::cSave(int32_t IndexNumber, int32_t Extra, const ByteArray& bytes, bool isEmpty) {
    Record record = GetRecord(IndexNumber);
    const int32_t length = ToLong(static_cast<int64_t>(bytes.size()));
    if (isEmpty) {
        record.Position = -1;
        record.Size = -1;
    } else {
        // A grown block moves to the end; one of the same or a smaller size
        // stays where it was. What it leaves behind stays in the file.
        if (record.Size < length) record.Position = ToLong(mul_.Size());
        record.Size = length;
        // Checked before anything is written, so a refused save changes nothing.
        if (record.Position < 0)
            Fail("Bad record number: block " + std::to_string(IndexNumber) + " at position " +
                 std::to_string(record.Position));
    }
    record.Extra = Extra;

    OpenForWriting();
    idxWindow_.Reset();
    mulWindow_.Reset();
    if (ConstantIndex < 1) {
        uint8_t raw[kRecordSize];
        StoreI32(raw, record.Position);
        StoreI32(raw + 4, record.Size);
        StoreI32(raw + 8, record.Extra);
        if (!idx_.WriteAt(int64_t{IndexNumber} * kRecordSize, raw, sizeof raw))
            Fail("Unable to write index record " + std::to_string(IndexNumber));
    }
    if (!isEmpty && !bytes.empty()) {
        if (!mul_.WriteAt(record.Position, bytes.data(), bytes.size()))
            Fail("Unable to write block " + std::to_string(IndexNumber));
    }
    mulLength_ = mul_.Size();
    idxLength_ = idx_.Size();
}

std::string MULOpenFailure(const cMUL& Mul, int32_t Code, const std::string& Names) {
    return Mul.cError(Code) + " " + Names + (Mul.Why.empty() ? "" : " (" + Mul.Why + ")");
}

}  // namespace quillet
