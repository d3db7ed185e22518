#include "formats/cClientUOP.h"


#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>

#include "base/BlockLimit.h"
#include "base/Checked.h"
#include "core/mMuls.h"
#include "formats/EntryStages.h"
#include "formats/FormatCodes.h"
#include "formats/UOPHash.h"
#include "formats/ZlibStream.h"

namespace quillet {
namespace {

using Kind = cClientUOP::Kind;
using Entry = cClientUOP::Entry;

constexpr int64_t kHeaderSize = cClientUOP::kFileHeaderSize;
constexpr int64_t kTableHead = cClientUOP::kTableHeadSize;
constexpr int64_t kEntrySize = cClientUOP::kEntryRecordSize;
constexpr int32_t kTellingEntries = 128;  // entries 0..127 tell what a container holds
constexpr int kFacets = 6;
// Blocks of the facets' maps: 0 and 1 in their Mondain's Legacy size.
constexpr std::array<int64_t, kFacets> kFacetBlocks{458752, 458752, 57600, 81920, 32761, 81920};
constexpr int32_t kGumpHead = 8;  // u32 width, u32 height

bool IsMap(Kind kind) { return kind >= Kind::Map0 && kind <= Kind::Map5; }
int FacetOf(Kind kind) { return static_cast<int>(kind) - static_cast<int>(Kind::Map0); }
Kind MapKind(int facet) { return static_cast<Kind>(static_cast<int>(Kind::Map0) + facet); }

std::string KindText(Kind kind) {
    switch (kind) {
        case Kind::Art: return "Art";
        case Kind::Gumps: return "Gumps";
        case Kind::Sound: return "Sound";
        case Kind::MultiCollection: return "MultiCollection";
        case Kind::None: return "";
        default: return "Map " + std::to_string(FacetOf(kind));
    }
}

// The kind a FileID is read from; a map of any facet does for Map.
Kind WantedKind(uint8_t FileID) {
    switch (FileID) {
        case 0: return Kind::Map0;
        case 4: return Kind::Art;
        case 8: return Kind::Sound;
        case 12: return Kind::Gumps;
        default: return Kind::None;
    }
}

std::string TypeText(Kind wanted) { return IsMap(wanted) ? "Map" : KindText(wanted); }

bool Fits(Kind found, Kind wanted) { return found == wanted || (IsMap(found) && IsMap(wanted)); }

std::string NameOf(Kind kind, int32_t number, bool sevenDigits) {
    char name[64];
    switch (kind) {
        case Kind::Art: std::snprintf(name, sizeof name, "build/artlegacymul/%08d.tga", number); break;
        case Kind::Gumps:
            std::snprintf(name, sizeof name,
                          sevenDigits ? "build/gumpartlegacymul/%07d.tga" : "build/gumpartlegacymul/%08d.tga", number);
            break;
        case Kind::Sound: std::snprintf(name, sizeof name, "build/soundlegacymul/%08d.dat", number); break;
        case Kind::MultiCollection:
            if (number < 0) return "build/multicollection/housing.bin";
            std::snprintf(name, sizeof name, "build/multicollection/%06d.bin", number);
            break;
        case Kind::None: return {};
        default: std::snprintf(name, sizeof name, "build/map%dlegacymul/%08d.dat", FacetOf(kind), number); break;
    }
    return name;
}

struct Name {
    uint64_t hash;
    Kind kind;
    bool sevenDigits;
    int32_t number;  // -1: housing.bin
};

// The names looked up, by hash: an open-addressed table twice their number
// or more, indexed by the hash's low bits (the hash is uniform), so that it
// is made in one pass and an entry is found in about one probe.
class NameTable {
public:
    explicit NameTable(const std::vector<Name>& names) {
        size_t size = 1;
        while (size < 2 * names.size()) size *= 2;
        slots_.assign(size, Name{0, Kind::None, false, 0});
        mask_ = size - 1;
        for (const Name& name : names) {
            size_t at = static_cast<size_t>(name.hash) & mask_;
            while (slots_[at].kind != Kind::None && slots_[at].hash != name.hash) at = (at + 1) & mask_;
            if (slots_[at].kind == Kind::None) slots_[at] = name;  // of two names of one hash the first
        }
    }
    // The name of that hash, or nullptr.
    const Name* Find(uint64_t hash) const {
        for (size_t at = static_cast<size_t>(hash) & mask_;; at = (at + 1) & mask_) {
            if (slots_[at].kind == Kind::None) return nullptr;
            if (slots_[at].hash == hash) return &slots_[at];
        }
    }

private:
    std::vector<Name> slots_;
    size_t mask_ = 0;
};

// Adds the names of entries first..last of a kind: the digits written in
// place, which costs far less than formatting each name.
void AddNames(std::vector<Name>& names, Kind kind, bool sevenDigits, int32_t first, int32_t last) {
    std::string name = NameOf(kind, first, sevenDigits);
    const size_t digitsEnd = name.size() - 4;  // before ".tga", ".dat", ".bin"
    const size_t width = sevenDigits ? 7 : kind == Kind::MultiCollection ? 6 : 8;
    for (int32_t n = first; n <= last; ++n) {
        for (size_t i = 0, v = static_cast<size_t>(n); i < width; ++i, v /= 10)
            name[digitsEnd - 1 - i] = static_cast<char>('0' + v % 10);
        names.push_back({UOPNameHash(name), kind, sevenDigits, n});
    }
}

// The names looked up: entries 0..127 of every kind, and the later entries
// of the wanted kind (of every facet for a map).
NameTable MakeNames(Kind wanted) {
    std::vector<Name> names;
    const auto add = [&](Kind kind, int32_t first, int32_t last) {
        AddNames(names, kind, false, first, last);
        if (kind == Kind::Gumps) AddNames(names, kind, true, first, last);
    };
    for (int k = 1; k < cClientUOP::kKinds; ++k) add(static_cast<Kind>(k), 0, kTellingEntries - 1);
    names.push_back({UOPNameHash(NameOf(Kind::MultiCollection, -1, false)), Kind::MultiCollection, false, -1});
    if (IsMap(wanted)) {
        for (int f = 0; f < kFacets; ++f) add(MapKind(f), kTellingEntries, cClientUOP::kMaxMapEntry);
    } else if (wanted != Kind::None) {
        add(wanted, kTellingEntries, cClientUOP::kMaxNumberedEntry);
    }
    return NameTable(names);
}

// Made once per kind and kept (4 MB for 131072 names, 8 MB for the gumps'
// two forms): an open then costs only its walk.
const NameTable& NamesFor(Kind wanted) {
    static std::mutex lock;
    static std::array<std::unique_ptr<const NameTable>, cClientUOP::kKinds> made;
    const Kind key = IsMap(wanted) ? Kind::Map0 : wanted;
    const std::lock_guard<std::mutex> hold(lock);
    auto& names = made[static_cast<size_t>(key)];
    if (!names) names = std::make_unique<const NameTable>(MakeNames(key));
    return *names;
}

// One walk over the table chain.
struct Scan {
    std::array<int64_t, cClientUOP::kKinds> telling{};           // entries 0..127 (and housing.bin) found, per kind
    int64_t used = 0;                                            // entries in use
    std::array<std::vector<Entry>, cClientUOP::kKinds> entries;  // of the wanted kind (every facet for a map)
};

[[noreturn]] void Damaged(const std::string& what) { Fail("It is damaged: " + what + "."); }

std::string At(int64_t offset) { return "offset " + std::to_string(offset); }

// An entry found under a name: the 8-digit gump name wins over the 7-digit
// one, and of two entries of one name the first in the chain.
void Keep(std::vector<Entry>& entries, int32_t number, const Entry& entry) {
    Entry& slot = entries[static_cast<size_t>(number)];
    if (!slot.Present() || (slot.sevenDigits && !entry.sevenDigits)) slot = entry;
}

void ScanEntry(const uint8_t* raw, int64_t fileSize, const NameTable& names, Kind wanted, Scan& scan,
               int64_t table, int64_t slot) {
    const auto offset = static_cast<int64_t>(LoadU64(raw));
    const int32_t header = LoadI32(raw + 8);
    const int32_t stored = LoadI32(raw + 12);
    const int32_t inflated = LoadI32(raw + 16);
    const uint64_t hash = LoadU64(raw + 20);
    // raw + 28: the checksum, never looked at
    const int16_t flag = LoadI16(raw + 32);
    if (offset == 0) return;  // an unused slot
    // The entry's words only for a message: no text is made per entry.
    const auto which = [&] { return "entry " + std::to_string(slot) + " of the table at " + At(table); };
    if (offset < 0 || header < 0 || stored < 0 || inflated < 0) Damaged(which() + " has a negative offset or size");
    if (offset > fileSize || header > fileSize - offset || stored > fileSize - offset - header)
        Damaged(which() + " has its data (" + std::to_string(stored) + " bytes at " + At(offset) + " + " +
                std::to_string(header) + ") outside the file");
    ++scan.used;
    const Name* found = names.Find(hash);
    if (found == nullptr) return;  // an entry of something else
    if (found->number < kTellingEntries) ++scan.telling[static_cast<size_t>(found->kind)];
    if (found->number < 0 || !Fits(found->kind, wanted)) return;
    std::vector<Entry>& entries = scan.entries[static_cast<size_t>(found->kind)];
    if (entries.empty())
        entries.resize(static_cast<size_t>(IsMap(wanted) ? cClientUOP::kMaxMapEntry : cClientUOP::kMaxNumberedEntry) +
                       1);
    Entry entry;
    entry.data = offset + header;
    entry.stored = stored;
    entry.inflated = inflated;
    entry.flag = flag;
    entry.sevenDigits = found->sevenDigits;
    Keep(entries, found->number, entry);
}

// Walks the header and the chain of tables. Tables and entry data must lie
// inside the file; a chain that comes back to a table is damaged (told at
// once by Brent's cycle finding, which keeps no list of the tables seen),
// and so is one whose tables take more bytes than the file has, which
// bounds the walk by the file's size whatever the offsets say.
Scan WalkTables(const BinaryFile& file, ReadWindow& window, Kind wanted) {
    const int64_t fileSize = file.Size();
    uint8_t header[kHeaderSize] = {};
    window.Read(file, 0, header, sizeof header);
    if (!IsClientContainer(header, sizeof header))
        Fail("It is not a client UOP container: it does not begin with \"MYP\" and a 0 byte.");
    if (fileSize < kHeaderSize)
        Damaged("it has " + std::to_string(fileSize) + " bytes, fewer than the " + std::to_string(kHeaderSize) +
                " of its header");
    const auto capacity = static_cast<int64_t>(static_cast<uint32_t>(LoadI32(header + 20)));
    const uint64_t first = LoadU64(header + 12);

    const NameTable& names = NamesFor(wanted);
    Scan scan;
    std::vector<uint8_t> slots;
    uint64_t table = first;
    uint64_t tortoise = first;
    int64_t power = 1, steps = 0;
    int64_t tableBytes = 0;
    while (table != 0) {
        if (table > static_cast<uint64_t>(fileSize - kTableHead))
            Damaged("a table at " + std::to_string(table) + " lies outside the file of " + std::to_string(fileSize) +
                    " bytes");
        const auto at = static_cast<int64_t>(table);
        uint8_t head[kTableHead];
        window.Read(file, at, head, sizeof head);
        const int32_t used = LoadI32(head);
        const uint64_t next = LoadU64(head + 4);
        if (used < 0 || used > capacity)
            Damaged("the table at " + At(at) + " has " + std::to_string(used) + " slots in use, its capacity is " +
                    std::to_string(capacity));
        const int64_t bytes = kTableHead + kEntrySize * used;
        if (bytes > fileSize - at) Damaged("the table at " + At(at) + " reaches past the end of the file");
        tableBytes += bytes;
        if (tableBytes > fileSize)
            Damaged("its tables take more bytes than the file has: they overlap, or run in a ring");
        slots.resize(static_cast<size_t>(kEntrySize * used));
        if (used > 0) window.Read(file, at + kTableHead, slots.data(), slots.size());
        for (int32_t slot = 0; slot < used; ++slot)
            ScanEntry(slots.data() + kEntrySize * slot, fileSize, names, wanted, scan, at, slot);

        if (next == tortoise)
            Damaged("its chain of tables runs in a ring (back to the table at " + std::to_string(next) + ")");
        if (++steps == power) {
            tortoise = next;
            power *= 2;
            steps = 0;
        }
        table = next;
    }
    return scan;
}

// The kind the names of entries 0..127 tell; where none is there, the
// wanted kind's later entries (a map: the facet with the most).
Kind KindOf(const Scan& scan, Kind wanted) {
    Kind best = Kind::None;
    int64_t most = 0;
    for (int k = 1; k < cClientUOP::kKinds; ++k) {
        if (scan.telling[static_cast<size_t>(k)] > most) {
            most = scan.telling[static_cast<size_t>(k)];
            best = static_cast<Kind>(k);
        }
    }
    if (best != Kind::None) return best;
    for (int k = 1; k < cClientUOP::kKinds; ++k) {
        const std::vector<Entry>& entries = scan.entries[static_cast<size_t>(k)];
        const auto present = std::count_if(entries.begin(), entries.end(), [](const Entry& e) { return e.Present(); });
        if (present > most) {
            most = present;
            best = static_cast<Kind>(k);
        }
    }
    return Fits(best, wanted) ? best : Kind::None;
}

}  // namespace

cClientUOP::cClientUOP() = default;
cClientUOP::~cClientUOP() = default;

std::string cClientUOP::cError(int32_t ErrNumber) const {
    switch (ErrNumber) {
        case 500: return "Unable to open.";
        case 505: return "Unable to close files.";
        default: return {};
    }
}

int32_t cClientUOP::cOpen(const std::string& path, uint8_t FileID) {
    cClose();
    Why.clear();
    const Kind wanted = WantedKind(FileID);
    if (wanted == Kind::None) {
        Why = "A client UOP container holds the blocks of Art, Gumps, Map or Sound, not of " +
              (FileTypes[FileID].Name.empty() ? "FileID " + std::to_string(FileID) : FileTypes[FileID].Name) + ".";
        return 500;
    }
    try {
        if (path.empty()) Fail("No file was named.");
        if (!file_.Open(path, BinaryFile::Mode::Read)) Fail(OpenFailureWhy(path));
        Scan scan = WalkTables(file_, window_, wanted);
        const Kind found = KindOf(scan, wanted);
        if (found != Kind::None && !Fits(found, wanted))
            Fail("It holds " + KindText(found) + ", not " + TypeText(wanted) + ".");
        if (found == Kind::None && scan.used > 0)
            Fail("It holds no " + TypeText(wanted) + ": none of its " + std::to_string(scan.used) +
                 " entries has a name that " + TypeText(wanted) + " entries have.");
        fileId_ = FileID;
        kind_ = found;
        entries_ = std::move(scan.entries[static_cast<size_t>(found)]);
        // Blocks the container speaks for.
        int64_t highest = -1;
        for (size_t n = 0; n < entries_.size(); ++n)
            if (entries_[n].Present()) highest = static_cast<int64_t>(n);
        extent_ = IsMap(kind_) ? std::min((highest + 1) * kMapEntryBlocks, FacetBlocks()) : highest + 1;
        return 0;
    } catch (const std::exception& failure) {
        Why = failure.what();
    } catch (...) {
        Why = "It could not be read.";
    }
    cClose();
    return 500;
}

int32_t cClientUOP::cClose() {
    const bool closed = !file_.IsOpen() || file_.Close();
    window_.Reset();
    kind_ = Kind::None;
    fileId_ = 0;
    std::vector<Entry>().swap(entries_);
    extent_ = 0;
    ByteArray().swap(work_);
    decoded_ = -1;
    decodedLength_ = 0;
    data_.FromMemory(nullptr, 0, 0);
    return closed ? 0 : 505;
}

std::string cClientUOP::cKind() const { return KindText(kind_); }

int64_t cClientUOP::FacetBlocks() const { return IsMap(kind_) ? kFacetBlocks[static_cast<size_t>(FacetOf(kind_))] : 0; }

const Entry* cClientUOP::EntryOf(int64_t number) const {
    if (number < 0 || number >= static_cast<int64_t>(entries_.size())) return nullptr;
    const Entry& entry = entries_[static_cast<size_t>(number)];
    return entry.Present() ? &entry : nullptr;
}

std::string cClientUOP::EntryName(int32_t number, bool sevenDigits) const { return NameOf(kind_, number, sevenDigits); }

void cClientUOP::Decode(int32_t number, const Entry& entry) {
    if (decoded_ == number) return;
    decoded_ = -1;
    const int64_t inflated = entry.inflated;
    // The one buffer holds what is decoded; it grows without a copy of what
    // it held (that is of no use any more) and is never above the limit.
    int64_t room = inflated;
    if (entry.flag == 3) {
        // Stage 2's output comes beside its input, and is at most the input's
        // streams long: both must fit.
        room = inflated + std::max<int64_t>(0, inflated - 4 - static_cast<int64_t>(kStagedCountTable));
        if (room > kMaxBlockInMemory)
            Fail("its " + std::to_string(inflated) + " inflated bytes and what they decode to may take " +
                 std::to_string(room) + " bytes, more than a block may hold in memory (" +
                 std::to_string(kMaxBlockInMemory >> 20) + " MiB)");
    } else if (entry.flag != 1) {
        Fail("its flag is " + std::to_string(entry.flag) + ", which is not 0, 1 or 3");
    }
    CheckBlockFitsInMemory(room);
    if (work_.capacity() < static_cast<size_t>(room)) {
        ByteArray().swap(work_);
        work_.reserve(static_cast<size_t>(room));
    }
    work_.resize(static_cast<size_t>(inflated));
    WindowSource stored(file_, window_, entry.data);
    InflateExactly(stored, entry.stored, work_.data(), work_.size());
    if (entry.flag == 1) {
        decodedAt_ = 0;
        decodedLength_ = inflated;
    } else {
        if (inflated < 4) Fail("damaged staged data: it has no length prefix");
        const size_t size = static_cast<size_t>(inflated) - 4;
        UndoMoveToFront(work_.data() + 4, size);
        const int64_t length = StagedLength(work_.data() + 4, size);
        work_.resize(static_cast<size_t>(inflated + length));  // within what was reserved
        UndoFrequencyStage(work_.data() + 4, size, work_.data() + inflated);
        decodedAt_ = static_cast<size_t>(inflated);
        decodedLength_ = length;
    }
    decoded_ = number;
}

void cClientUOP::Serve(const Entry& entry, int64_t offset, int64_t count, int64_t size) {
    // count bytes of the entry from offset on, as far as it has them, and
    // zeros up to size.
    if (entry.flag == 0) {
        const int64_t inData = std::clamp<int64_t>(entry.stored - offset, 0, count);
        data_.FromFile(&file_, &window_, entry.data + offset, inData, size);
    } else {
        const int64_t inData = std::clamp<int64_t>(decodedLength_ - offset, 0, count);
        data_.FromMemory(work_.data() + decodedAt_ + std::min(offset, decodedLength_), inData, size);
    }
}

int32_t cClientUOP::LoadHead(int32_t IndexNumber, int32_t& Extra) {
    Extra = -1;
    data_.FromMemory(nullptr, 0, 0);
    if (IsMap(kind_) || fileId_ == 0) {
        if (IndexNumber < 0) return -1;
        const int32_t number = IndexNumber / kMapEntryBlocks;
        const int64_t block = IndexNumber % kMapEntryBlocks;
        const Entry* entry = EntryOf(number);
        // Below the extent every block is there, zeros where no entry has
        // bytes; beyond it only the entries that lie wholly past the facet.
        const bool beyond = entry != nullptr && int64_t{number} * kMapEntryBlocks >= FacetBlocks();
        if (IndexNumber >= extent_ && !beyond) return -1;
        if (entry == nullptr) {
            data_.FromMemory(nullptr, 0, kMapBlockSize);
            return kMapBlockSize;
        }
        if (entry->flag != 0) Decode(number, *entry);
        Serve(*entry, block * kMapBlockSize, kMapBlockSize, kMapBlockSize);
        return kMapBlockSize;
    }
    const Entry* entry = EntryOf(IndexNumber);
    if (entry == nullptr) return -1;
    if (entry->flag != 0) Decode(IndexNumber, *entry);
    const int64_t length = entry->flag == 0 ? entry->stored : decodedLength_;
    if (kind_ == Kind::Gumps) {
        if (length < kGumpHead)
            Fail("the gump entry has " + std::to_string(length) + " bytes, fewer than the 8 of its width and height");
        uint8_t head[kGumpHead];
        if (entry->flag == 0)
            window_.Read(file_, entry->data, head, sizeof head);
        else
            std::memcpy(head, work_.data() + decodedAt_, sizeof head);
        const auto width = static_cast<uint32_t>(LoadI32(head)) & 0xFFFF;
        const auto height = static_cast<uint32_t>(LoadI32(head + 4)) & 0xFFFF;
        Extra = static_cast<int32_t>(width << 16 | height);
        Serve(*entry, kGumpHead, length - kGumpHead, length - kGumpHead);
        return ToLong(length - kGumpHead);
    }
    if (kind_ == Kind::Sound) Extra = IndexNumber + 1;
    Serve(*entry, 0, length, length);
    return ToLong(length);
}

int32_t cClientUOP::cLoadHead(int32_t IndexNumber, int32_t& Extra) {
    if (!file_.IsOpen()) Fail("The client UOP container is not open");
    try {
        return LoadHead(IndexNumber, Extra);
    } catch (const Failure& failure) {
        const int32_t number = IsMap(kind_) ? IndexNumber / kMapEntryBlocks : IndexNumber;
        const Entry* entry = EntryOf(number);
        Fail("block " + std::to_string(IndexNumber) + " (" + EntryName(number, entry != nullptr && entry->sevenDigits) +
             "): " + failure.what());
    }
}

ByteSource& cClientUOP::cDataAgain() {
    data_.Restart();
    return data_;
}

const uint8_t* cClientUOP::cView(ByteArray& spare) {
    if (data_.Size() <= 0) return nullptr;
    CheckBlockFitsInMemory(data_.Size());
    return data_.View(spare);
}

int64_t cClientUOP::cBlocksIn(int64_t First, int64_t Last) {
    if (!file_.IsOpen() || First > Last) return 0;
    const auto overlap = [&](int64_t from, int64_t to) {
        return std::max<int64_t>(0, std::min(to, Last) - std::max(from, First) + 1);
    };
    int64_t blocks = 0;
    if (IsMap(kind_)) {
        blocks = overlap(0, extent_ - 1);
        for (size_t n = 0; n < entries_.size(); ++n) {
            const int64_t start = static_cast<int64_t>(n) * kMapEntryBlocks;
            if (entries_[n].Present() && start >= FacetBlocks()) blocks += overlap(start, start + kMapEntryBlocks - 1);
        }
        return blocks;
    }
    const int64_t last = std::min<int64_t>(Last, static_cast<int64_t>(entries_.size()) - 1);
    for (int64_t n = std::max<int64_t>(First, 0); n <= last; ++n)
        if (entries_[static_cast<size_t>(n)].Present()) ++blocks;
    return blocks;
}

int64_t cClientUOP::cExtent() { return file_.IsOpen() ? extent_ : 0; }

// ---- the bytes of one block

void cClientUOP::BlockSource::FromMemory(const uint8_t* memory, int64_t inData, int64_t size) {
    memory_ = memory;
    file_ = nullptr;
    window_ = nullptr;
    inData_ = memory != nullptr ? inData : 0;
    size_ = size;
    at_ = 0;
}

void cClientUOP::BlockSource::FromFile(const BinaryFile* file, ReadWindow* window, int64_t position, int64_t inData,
                                       int64_t size) {
    memory_ = nullptr;
    file_ = file;
    window_ = window;
    position_ = position;
    inData_ = inData;
    size_ = size;
    at_ = 0;
}

size_t cClientUOP::BlockSource::Read(uint8_t* out, size_t count) {
    if (static_cast<int64_t>(count) > size_ - at_) Fail("Read past the end of a block");
    const auto have = static_cast<size_t>(std::clamp<int64_t>(inData_ - at_, 0, static_cast<int64_t>(count)));
    if (have > 0) {
        if (memory_ != nullptr)
            std::memcpy(out, memory_ + at_, have);
        else
            window_->Read(*file_, position_ + at_, out, have);
    }
    if (count > have) std::memset(out + have, 0, count - have);
    at_ += static_cast<int64_t>(count);
    return have;  // the zeros after an entry's end are the source's end
}

const uint8_t* cClientUOP::BlockSource::View(ByteArray& spare) {
    const auto size = static_cast<size_t>(size_);
    if (inData_ == size_ && memory_ != nullptr) return memory_;
    if (inData_ == size_ && file_ != nullptr) return window_->View(*file_, position_, size, spare);
    spare.assign(size, 0);
    if (inData_ > 0) {
        if (memory_ != nullptr)
            std::memcpy(spare.data(), memory_, static_cast<size_t>(inData_));
        else
            window_->Read(*file_, position_, spare.data(), static_cast<size_t>(inData_));
    }
    return spare.data();
}

// ---- free functions

bool IsClientUOPFile(const std::string& path) {
    BinaryFile file;
    if (!file.Open(path, BinaryFile::Mode::Read)) return false;
    uint8_t head[4] = {};
    return file.ReadAt(0, head, sizeof head) == sizeof head && IsClientContainer(head, sizeof head);
}

std::string ClientUOPKindOf(const std::string& path) {
    try {
        BinaryFile file;
        if (!file.Open(path, BinaryFile::Mode::Read)) return {};
        ReadWindow window(size_t{1} << 16, ReadWindow::Walk::Forward);
        return KindText(KindOf(WalkTables(file, window, Kind::None), Kind::None));
    } catch (...) {
        return {};
    }
}

std::string ClientContainerWhy(const std::string& path, const std::string& notWhat) {
    const std::string kind = ClientUOPKindOf(path);
    const std::string start =
        "It is a client UOP container (" + (kind.empty() ? "\"MYP\"" : kind) + "), not " + notWhat;
    if (kind.empty()) return start + ".";
    if (kind == "MultiCollection") return start + "; it holds no blocks.";
    const std::string type = kind.rfind("Map", 0) == 0 ? "Map" : kind;
    return start + "; import it as the " + type + " MUL file (--type " + type + " --mul FILE).";
}

}  // namespace quillet
