#include "formats/cMUL.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "base/FaultGuard.h"
#include "formats/FormatCodes.h"

namespace quillet {
namespace {

constexpr int32_t kRecordSize = 12;

// Where two byte ranges of count bytes first differ; count if nowhere. The
// library's memcmp goes a long stretch at a time, then a short one through
// the long stretch that differs; bytes are looked at one by one only in the
// short stretch that differs.
size_t FirstDifference(const uint8_t* one, const uint8_t* two, size_t count) {
    size_t at = 0;
    for (const size_t stretch : {size_t{4096}, size_t{64}})
        while (at + stretch <= count && std::memcmp(one + at, two + at, stretch) == 0) at += stretch;
    return static_cast<size_t>(std::mismatch(one + at, one + count, two + at).first - one);
}

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
    mapped_.Release();
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

bool cMUL::RunOf(int32_t First, int32_t Count, int64_t& start, int64_t& length, std::vector<int32_t>& sizes) {
    const int64_t from = int64_t{First} * kRecordSize;
    const auto bytes = static_cast<size_t>(Count) * kRecordSize;
    if (IDXFile == 0 || First < 0 || from + static_cast<int64_t>(bytes) > idxLength_) return false;
    runBuffer_.resize(std::max(runBuffer_.size(), bytes));
    if (idx_.ReadAt(from, runBuffer_.data(), bytes) < bytes) return false;
    sizes.resize(static_cast<size_t>(Count));
    start = -1;
    int64_t end = 0;
    for (size_t k = 0; k < sizes.size(); ++k) {
        const uint8_t* record = runBuffer_.data() + k * kRecordSize;
        const int32_t position = LoadI32(record);
        sizes[k] = LoadI32(record + 4);
        if (sizes[k] < 1) continue;
        if (position < 0 || (start >= 0 && position != end)) return false;
        if (start < 0) start = position;
        end = int64_t{position} + sizes[k];
    }
    if (start < 0) start = end = 0;  // no bytes at all
    length = end - start;
    return true;
}

bool cMUL::cCompareRun(BlockReader& other, int32_t First, int32_t Count, RunDifferences& Differences) {
    auto* that = dynamic_cast<cMUL*>(&other);
    if (that == nullptr || that == this || MULFile == 0 || that->MULFile == 0 || First < 0 || Count < 1) return false;
    int64_t start1 = 0;
    int64_t start2 = 0;
    int64_t length = 0;
    runBlocks_.clear();
    if (ConstantIndex > 0 || that->ConstantIndex > 0) {
        if (ConstantIndex != that->ConstantIndex) return false;
        length = int64_t{Count} * ConstantIndex;
        start1 = Offset + int64_t{First} * ConstantIndex;
        start2 = that->Offset + int64_t{First} * ConstantIndex;
        for (int32_t k = 0; k < Count; ++k)
            runBlocks_.push_back({int64_t{k} * ConstantIndex, int64_t{k + 1} * ConstantIndex, First + k});
    } else {
        std::vector<int32_t> sizes1;
        std::vector<int32_t> sizes2;
        int64_t length2 = 0;
        if (!RunOf(First, Count, start1, length, sizes1) || !that->RunOf(First, Count, start2, length2, sizes2) ||
            sizes1 != sizes2)
            return false;
        int64_t end = 0;
        for (int32_t k = 0; k < Count; ++k) {
            const int32_t size = sizes1[static_cast<size_t>(k)];
            if (size < 1) continue;
            runBlocks_.push_back({end, end + size, First + k});
            end += size;
        }
    }
    // Within both files: what lies past an end reads as zeros and is noted,
    // which the walk does block by block.
    if (start1 < 0 || start2 < 0 || start1 + length > mulLength_ || start2 + length > that->mulLength_) return false;
    // What the run finds goes into storage made ready here: a scan of mapped
    // bytes may be cut off anywhere by a fault. A block is named at most once.
    foundBlocks_.resize(std::max(foundBlocks_.size(), runBlocks_.size()));
    foundAt_.resize(std::max(foundAt_.size(), runBlocks_.size()));
    keptBytes_.resize(std::max(keptBytes_.size(), kRunPiece));
    size_t found = 0;
    size_t kept = 0;
    const RunBlock* block = runBlocks_.data();  // the first block not yet passed
    const RunBlock* const last = block + runBlocks_.size();
    int64_t resume = 0;  // where the search goes on: behind the last block named
    int64_t done = 0;
    size_t piece = 0;
    const uint8_t* one = nullptr;
    const uint8_t* two = nullptr;
    auto scan = [&] {
        for (size_t at = static_cast<size_t>(std::clamp<int64_t>(resume - done, 0, static_cast<int64_t>(piece)));;) {
            at += FirstDifference(one + at, two + at, piece - at);
            if (at >= piece) break;
            const int64_t where = done + static_cast<int64_t>(at);
            block = std::upper_bound(block, last, where, [](int64_t position, const RunBlock& b) { return position < b.End; });
            // The other side's bytes of the block, while the piece holds them
            // whole: the caller stores them without reading them again. Runs
            // that differ everywhere keep at most a piece's worth.
            const auto size = static_cast<size_t>(block->End - block->Start);
            const bool whole = block->Start >= done && block->End <= done + static_cast<int64_t>(piece) &&
                               kept + size <= kRunPiece;
            foundBlocks_[found] = block->Block;
            foundAt_[found] = whole ? static_cast<int64_t>(kept) : -1;
            ++found;
            if (whole) {
                std::memcpy(keptBytes_.data() + kept, two + (block->Start - done), size);
                kept += size;
            }
            resume = block->End;
            ++block;
            at = static_cast<size_t>(std::min(resume - done, static_cast<int64_t>(piece)));
        }
    };
    for (; done < length; done += static_cast<int64_t>(piece)) {
        piece = static_cast<size_t>(std::min<int64_t>(length - done, kRunPiece));
        one = mapped_.View(mul_, mulLength_, start1 + done, piece);
        two = that->mapped_.View(that->mul_, that->mulLength_, start2 + done, piece);
        if (one != nullptr && two != nullptr) {
            // A file cut short meanwhile: the walk reads it as it now is.
            if (!RunGuarded(scan)) return false;
            continue;
        }
        // Where the system maps nothing, the pieces are read.
        runBuffer_.resize(std::max(runBuffer_.size(), kRunPiece));
        that->runBuffer_.resize(std::max(that->runBuffer_.size(), kRunPiece));
        if (mul_.ReadAt(start1 + done, runBuffer_.data(), piece) < piece ||
            that->mul_.ReadAt(start2 + done, that->runBuffer_.data(), piece) < piece)
            return false;
        one = runBuffer_.data();
        two = that->runBuffer_.data();
        scan();
    }
    const auto count = static_cast<std::ptrdiff_t>(found);
    Differences.Blocks.assign(foundBlocks_.begin(), foundBlocks_.begin() + count);
    Differences.At.assign(foundAt_.begin(), foundAt_.begin() + count);
    Differences.OtherBytes.assign(keptBytes_.begin(), keptBytes_.begin() + static_cast<std::ptrdiff_t>(kept));
    return true;
}

int32_t cMUL::cLoadRun(int32_t First, int32_t Count, int64_t MaxBytes, std::vector<BlockHead>& Heads) {
    Heads.clear();
    if (MULFile == 0 || First < 0 || Count < 1) return 0;
    // Positions stay within what a record can say, as block by block.
    const int64_t fileEnd = std::min<int64_t>(mulLength_, std::numeric_limits<int32_t>::max());
    int64_t start = -1;
    int64_t end = 0;
    if (ConstantIndex > 0) {
        start = Offset + int64_t{First} * ConstantIndex;
        const int64_t whole = start < fileEnd ? (fileEnd - start) / ConstantIndex : 0;
        const int64_t fit = std::max<int64_t>(1, MaxBytes / ConstantIndex);
        const auto blocks = static_cast<int32_t>(std::min({int64_t{Count}, whole, fit}));
        Heads.assign(static_cast<size_t>(std::max(blocks, 0)), BlockHead{ConstantIndex, -1});
        end = start + int64_t{ConstantIndex} * static_cast<int64_t>(Heads.size());
    } else {
        const int64_t from = int64_t{First} * kRecordSize;
        const int64_t records = std::min<int64_t>(Count, (idxLength_ - std::min(from, idxLength_)) / kRecordSize);
        if (records < 1) return 0;
        const auto bytes = static_cast<size_t>(records) * kRecordSize;
        runBuffer_.resize(std::max(runBuffer_.size(), bytes));
        if (idxWindow_.Read(idx_, from, runBuffer_.data(), bytes) < bytes) return 0;
        for (size_t k = 0; k < static_cast<size_t>(records); ++k) {
            const uint8_t* record = runBuffer_.data() + k * kRecordSize;
            const int32_t position = LoadI32(record);
            const int32_t size = LoadI32(record + 4);
            if (size == -2) break;
            if (size > 0) {
                if (start < 0 && position >= 0) start = end = position;
                const bool follows = position == end && end + size <= fileEnd;
                if (!follows || (end + size - start > MaxBytes && !Heads.empty())) break;
                end += size;
            }
            Heads.push_back({size, LoadI32(record + 8)});
        }
        if (start < 0) start = end = 0;  // no bytes at all
    }
    if (Heads.empty()) return 0;
    lastPosition_ = 0;
    lastSize_ = 0;  // the run is no single block to read again
    runSource_.Seek(start);
    data_.Start(runSource_, end - start, mulNotes_);
    return static_cast<int32_t>(Heads.size());
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
