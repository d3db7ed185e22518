#include "formats/EntryStages.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "base/BlockLimit.h"
#include "base/Checked.h"

namespace quillet {
namespace {

constexpr int kSymbols = 256;

[[noreturn]] void Damaged(const std::string& what) { Fail("damaged staged data: " + what); }

std::string Hex(int value) {
    static const char digits[] = "0123456789ABCDEF";
    return std::string("0x") + digits[value >> 4 & 15] + digits[value & 15];
}

// The symbols with a count, by count descending, equal counts by value.
int SymbolOrder(const std::array<int64_t, kSymbols>& counts, std::array<uint8_t, kSymbols>& order) {
    int n = 0;
    for (int s = 0; s < kSymbols; ++s)
        if (counts[s] > 0) order[n++] = static_cast<uint8_t>(s);
    std::stable_sort(order.begin(), order.begin() + n, [&](uint8_t x, uint8_t y) { return counts[x] > counts[y]; });
    return n;
}

std::array<int64_t, kSymbols> Counts(const uint8_t* t) {
    std::array<int64_t, kSymbols> counts{};
    for (int s = 0; s < kSymbols; ++s) counts[s] = LoadI32(t + 4 * s);
    return counts;
}

}  // namespace

void UndoMoveToFront(uint8_t* bytes, size_t count) {
    std::array<uint8_t, kSymbols> list{};
    std::iota(list.begin(), list.end(), uint8_t{0});
    for (size_t i = 0; i < count; ++i) {
        const uint8_t index = bytes[i];
        const uint8_t value = list[index];
        std::memmove(list.data() + 1, list.data(), index);
        list[0] = value;
        bytes[i] = value;
    }
}

int64_t StagedLength(const uint8_t* t, size_t size) {
    if (size < kStagedCountTable)
        Damaged("its count table needs " + std::to_string(kStagedCountTable) + " bytes, there are " +
                std::to_string(size));
    int64_t total = 0;
    for (int s = 0; s < kSymbols; ++s) {
        const int32_t count = LoadI32(t + 4 * s);
        if (count < 0) Damaged("byte " + Hex(s) + " has a count of " + std::to_string(count));
        total += count;
    }
    const auto room = static_cast<int64_t>(size - kStagedCountTable);
    if (total > room)
        Damaged("its counts add up to " + std::to_string(total) + " bytes, its streams have room for " +
                std::to_string(room));
    return total;
}

void UndoFrequencyStage(const uint8_t* t, size_t size, uint8_t* out) {
    const int64_t length = StagedLength(t, size);
    const std::array<int64_t, kSymbols> counts = Counts(t);
    std::array<uint8_t, kSymbols> order{};
    const int n = SymbolOrder(counts, order);
    const uint8_t* streams = t + kStagedCountTable;  // length bytes of them lie inside t

    // Each symbol's first place; together they must be 0 .. n-1, once each,
    // so that the queue's first n places hold the n symbols.
    std::array<uint8_t, kSymbols> queue{};
    std::iota(queue.begin(), queue.end(), uint8_t{0});
    std::array<bool, kSymbols> placed{};
    std::array<int64_t, kSymbols> next{}, end{};
    int64_t m = 0;
    for (int i = 0; i < n; ++i) {
        const uint8_t s = order[i];
        const uint8_t first = streams[m];
        if (first >= n || placed[first])
            Damaged("the first places of its " + std::to_string(n) + " symbols are not 0 to " + std::to_string(n - 1));
        placed[first] = true;
        queue[first] = s;
        next[s] = m + 1;
        m += counts[s];
        end[s] = m;
    }

    // queue[0 .. live-1] are the symbols still to come, by their next use.
    int live = n;
    uint8_t v = queue[0];
    for (int64_t i = 0; i < length; ++i) {
        out[i] = v;
        if (next[v] < end[v]) {
            const uint8_t k = streams[next[v]++];
            if (k == 0) continue;  // v comes again
            if (k >= live)
                Damaged("a place of " + std::to_string(k) + " with " + std::to_string(live) + " symbols still to come");
            std::memmove(queue.data(), queue.data() + 1, k);
            queue[k] = v;
        } else {  // v's last use
            --live;
            std::memmove(queue.data(), queue.data() + 1, static_cast<size_t>(live));
        }
        v = queue[0];
    }
}

void DecodeStages(ByteArray& staged, ByteArray& out) {
    if (staged.size() < 4) Damaged("it has no length prefix");
    uint8_t* t = staged.data() + 4;
    const size_t size = staged.size() - 4;
    UndoMoveToFront(t, size);
    const int64_t length = StagedLength(t, size);
    CheckBlockFitsInMemory(length);
    out.resize(static_cast<size_t>(length));
    UndoFrequencyStage(t, size, out.data());
}

ByteArray EncodeStages(const uint8_t* data, size_t size) {
    if (size > static_cast<size_t>(INT32_MAX)) Fail("an entry of " + std::to_string(size) + " bytes is too long");
    std::array<int64_t, kSymbols> counts{};
    for (size_t i = 0; i < size; ++i) ++counts[data[i]];
    std::array<uint8_t, kSymbols> order{};
    const int n = SymbolOrder(counts, order);

    // Where each symbol is used next (size: never again), and each use's
    // following one.
    constexpr size_t kNever = SIZE_MAX;
    std::vector<size_t> following(size);
    std::array<size_t, kSymbols> nextUse;
    nextUse.fill(kNever);
    for (size_t i = size; i-- > 0;) {
        following[i] = nextUse[data[i]];
        nextUse[data[i]] = i;
    }

    // The decoder's queue, played through: the symbols by their next use.
    std::vector<uint8_t> queue;
    for (int i = 0; i < n; ++i) queue.push_back(order[i]);
    std::sort(queue.begin(), queue.end(), [&](uint8_t x, uint8_t y) { return nextUse[x] < nextUse[y]; });
    std::array<std::vector<uint8_t>, kSymbols> streams;
    for (size_t place = 0; place < queue.size(); ++place) streams[queue[place]].push_back(static_cast<uint8_t>(place));
    for (size_t i = 0; i < size; ++i) {
        const uint8_t v = data[i];
        queue.erase(queue.begin());  // v, at the front
        nextUse[v] = following[i];
        if (nextUse[v] == kNever) continue;
        size_t k = 0;
        while (k < queue.size() && nextUse[queue[k]] < nextUse[v]) ++k;
        queue.insert(queue.begin() + static_cast<std::ptrdiff_t>(k), v);
        streams[v].push_back(static_cast<uint8_t>(k));
    }

    ByteArray staged;
    staged.reserve(4 + kStagedCountTable + size + 1);
    LeWriter w(staged);
    w.I32(static_cast<int32_t>(static_cast<uint32_t>(size) ^ kStagedLengthKey));
    for (int s = 0; s < kSymbols; ++s) w.I32(static_cast<int32_t>(counts[s]));
    for (int i = 0; i < n; ++i) w.Bytes(streams[order[i]].data(), streams[order[i]].size());

    // Stage 1 over all of it after the prefix.
    std::array<uint8_t, kSymbols> list{};
    std::iota(list.begin(), list.end(), uint8_t{0});
    for (size_t i = 4; i < staged.size(); ++i) {
        const uint8_t value = staged[i];
        const auto index = static_cast<uint8_t>(std::find(list.begin(), list.end(), value) - list.begin());
        std::memmove(list.data() + 1, list.data(), index);
        list[0] = value;
        staged[i] = index;
    }
    staged.push_back(0);  // the spare byte
    return staged;
}

}  // namespace quillet
