#pragma once
// What the loader targets share: one patch made at start, message boxes and
// log lines caught instead of shown, a scratch directory in memory, and an
// independent model of the patch store that each target fills by the file
// format's own rules and then holds the real store against.
//
// Every iteration starts from the same state: an empty patch, a fresh
// DataFile, the InVerdata flags as registered. The store's 1.1 million slots
// are made once; an iteration puts back only what it changed.
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "base/ByteIO.h"

namespace quillet::fuzz {

// Sets up the library's global state once per process: the type table, the
// patch, the hooks, the log (to /dev/null; lines are caught by the hook) and
// a scratch directory under /dev/shm (else $TMPDIR, else /tmp) that goes
// with the process.
void InitPatchEnvironment();
const std::string& ScratchDir();
std::string ScratchPath(const std::string& name);

// What the library said during one iteration.
struct Observed {
    std::vector<std::string> messages;  // message boxes, in order
    std::vector<std::string> logged;    // procedure names of log lines, in order
};
// Clears what was observed.
Observed& ClearObserved();
// That, and a new, empty DataFile.
Observed& BeginIteration();

// Writes a whole file (replacing it); aborts if that fails.
void WriteWholeFile(const std::string& path, const ByteArray& bytes);
ByteArray ReadWholeFile(const std::string& path);

// Stops the process with the reason: libFuzzer keeps the input as a crash.
[[noreturn]] void Violation(const std::string& what);
#define FUZZ_CHECK(cond, what)                                                         \
    do {                                                                               \
        if (!(cond)) ::quillet::fuzz::Violation(std::string(#cond) + ": " + (what)); \
    } while (0)

// A byte cursor over a file as the formats read one: past the end it gives
// zeros, and says how many bytes really came from the file.
class ModelReader {
public:
    explicit ModelReader(const ByteArray& file, int64_t start = 0) : file_(file), pos_(start) {}
    size_t Read(uint8_t* out, size_t count);
    int64_t Remaining() const { return pos_ < Size() ? Size() - pos_ : 0; }
    void Skip(int64_t count) { pos_ += count; }
    int64_t Position() const { return pos_; }
    int64_t Size() const { return static_cast<int64_t>(file_.size()); }

private:
    const ByteArray& file_;
    int64_t pos_;
};
// count bytes of a file from position on, zeros past its end.
ByteArray BytesAt(const ByteArray& file, int64_t position, int64_t count);

// One slot as the model expects it after the load.
struct ExpectedSlot {
    int32_t Size = 0;
    int32_t Extra = 0;
    bool HasData = false;  // Offset 1 or more with these bytes; else Offset 0
    ByteArray Bytes;       // the block's first bytes; zeros for the rest of its Size
};

// What a file holds of count bytes from position on: the bytes that lie in
// it (none past its end). A block that passes through is these and zeros.
ByteArray BytesIn(const ByteArray& file, int64_t position, int64_t count);
// Whether two blocks of Size bytes, each its first bytes and zeros, are equal.
bool SameBlock(const ByteArray& one, const ByteArray& two, int64_t Size);
// The text of the DataFile's 2 GB limit, shown once when a block passes it.
extern const char* const kScratchFullText;

struct ExpectedEnd;

// The patch as a loader should leave it, built by the writer's pattern: the
// newest store of a FileID and Block wins, a store into a slot that the table
// does not give is the procedure's failure.
class ExpectedPatch {
public:
    ExpectedPatch();
    // False when the slot does not exist (the loader's failure path).
    bool Store(int FileID, int64_t Block, int32_t Size, int32_t Extra, const uint8_t* data);
    // A block that passes through into the DataFile: First its first bytes,
    // zeros for the rest of Size. False where the store fails: no such slot,
    // or the DataFile's 2 GB limit, which also shows its message (in end).
    bool StoreStreamed(int FileID, int64_t Block, int32_t Size, int32_t Extra, const ByteArray& First,
                       ExpectedEnd& end);
    static bool SlotExists(int FileID, int64_t Block);

    std::map<std::pair<int, int32_t>, ExpectedSlot> Slots;  // by FileID, then Block
    std::vector<uint8_t> InVerdata;                         // all 256 rows
    int64_t DataBytes = 0;                                  // what the DataFile must have grown by
};

// How the model says the call ends.
struct ExpectedEnd {
    bool Failed = false;      // the procedure logs one line and ends
    bool Recounted = false;   // Count was recomputed (of RecountFileID, or all types when -1), after a stop too
    int RecountFileID = -1;
    std::vector<std::string> Messages;
};

// Holds the store, the DataFile, the flags, the messages and the log against
// the model. Procedure is the name that a failure is logged under.
void VerifyPatch(const ExpectedPatch& expected, const ExpectedEnd& end, const Observed& seen,
                 const std::string& Procedure);
// Puts the store back to empty: slots, counts, flags.
void ResetPatch();
// Both.
void CheckPatch(const ExpectedPatch& expected, const ExpectedEnd& end, const Observed& seen,
                const std::string& Procedure);

// Whether the model holds a block above the limit of what may be held whole
// (base/BlockLimit.h): too large for a check that builds the file in memory.
bool HoldsHugeBlock(const ExpectedPatch& patch);

// The message for a block beyond its type, as the loaders show it.
std::string IllegalBlockText(int FileID, int32_t Block);
// The verdata form of a 708-byte hue group.
ByteArray VerdataHues(const ByteArray& group);

}  // namespace quillet::fuzz
