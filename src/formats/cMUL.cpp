#include "formats/cMUL.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/Checked.h"

namespace quillet {
namespace {

constexpr int32_t kRecordSize = 12;

// Each open file gets a nonzero number; nothing but "is it 0" is
// ever asked of it here, so a counter that never gives 0 does.
int32_t NewFileNumber() {
    static int32_t last = 0;
    last = last == std::numeric_limits<int32_t>::max() ? 1 : last + 1;
    return last;
}

// Opens for reading and writing at any position, a missing file
// created empty. A file we may only read (the client on a read-only mount)
// still opens, for reading; a cSave on it then fails.
bool OpenBinary(BinaryFile& file, const std::string& path) {
    if (path.empty()) return false;
    if (::access(path.c_str(), F_OK) != 0) return file.Open(path, BinaryFile::Mode::Create);
    return file.Open(path, BinaryFile::Mode::ReadWrite) || file.Open(path, BinaryFile::Mode::Read);
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
        if (!OpenBinary(mul_, MULFilename)) Fail("Unable to open " + MULFilename);
        MULFile = NewFileNumber();
        if (ConstantIndex < 1) {
            if (!OpenBinary(idx_, IDXFilename)) Fail("Unable to open " + IDXFilename);
            IDXFile = NewFileNumber();
            Offset = 0;
            // The length is taken as a 32-bit number: an IDX file of 2 GB or
            // more is beyond it. Ties go to the even count (18 bytes: 2).
            const int32_t length = ToLong(idx_.Size());
            BlockTotal = ToLong(static_cast<int64_t>(std::nearbyint(static_cast<double>(length) / kRecordSize)));
        } else {
            Offset = offset;
            BlockTotal = nbrOfBlocks;
        }
        mulLength_ = mul_.Size();
        idxLength_ = idx_.Size();
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
        idxWindow_.Read(idx_, at, raw, sizeof raw);
        record.Position = LoadI32(raw);
        record.Size = LoadI32(raw + 4);
        record.Extra = LoadI32(raw + 8);
    } else {
        record.Size = ConstantIndex;
        record.Extra = -1;
        record.Position = AddLong(Offset, MulLong(IndexNumber, ConstantIndex));
    }
    return record;
}

// What an index record may ask of us. A block lies at its Position; one that
// reaches past the end of the MUL file keeps zeros in the missing part, so a
// short file reads as zeros. A Position below 0 is a seek before the file, a
// failure. A Size larger than the whole MUL file cannot be a block of it
// (however the file was cut): allocating it would take up to 2 GB for a
// damaged or hostile record, so it is a failure for the caller's failure path
// instead of a read past the end. The memory one block takes is thus never
// more than the MUL file's length. In constant-size mode the Size is the
// caller's own ConstantIndex, so a short file gives whole blocks of zeros.
cMUL::Record cMUL::BlockRecord(int32_t IndexNumber) {
    const Record record = GetRecord(IndexNumber);
    if (record.Size > 0) {
        if (record.Position < 0)
            Fail("Bad record number: block " + std::to_string(IndexNumber) + " at position " +
                 std::to_string(record.Position));
        if (ConstantIndex < 1 && record.Size > mulLength_)
            Fail("A Size too large to allocate: block " + std::to_string(IndexNumber) + " of " +
                 std::to_string(record.Size) + " bytes in a MUL file of " + std::to_string(mulLength_));
    }
    return record;
}

int32_t cMUL::cLoad(int32_t IndexNumber, int32_t& Extra, ByteArray& bytes) {
    const Record record = BlockRecord(IndexNumber);
    Extra = record.Extra;
    if (record.Size > 0) {
        bytes.resize(static_cast<size_t>(record.Size));
        if (record.Position >= mulLength_)
            std::fill(bytes.begin(), bytes.end(), uint8_t{0});  // wholly past the end
        else
            mulWindow_.Read(mul_, record.Position, bytes.data(), bytes.size());
    }
    return record.Size;
}

int32_t cMUL::cLoadView(int32_t IndexNumber, int32_t& Extra, const uint8_t*& data, ByteArray& spare) {
    const Record record = BlockRecord(IndexNumber);
    Extra = record.Extra;
    if (record.Size > 0) {
        const auto size = static_cast<size_t>(record.Size);
        if (record.Position >= mulLength_) {
            spare.assign(size, 0);
            data = spare.data();
        } else {
            data = mulWindow_.View(mul_, record.Position, size, spare);
        }
    }
    return record.Size;
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

}  // namespace quillet
