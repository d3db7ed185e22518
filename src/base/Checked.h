#pragma once
// Checked arithmetic and bounds: an overflow or an index outside an array is
// a failure of the procedure (thrown, caught and logged at its boundary),
// never a silent wrap.
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace quillet {

// The one exception type of the library. Procedures catch it (and anything
// else) at their boundary and log it.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

[[noreturn]] inline void Fail(const std::string& text) { throw Failure(text); }

inline constexpr const char* kOverflow = "Overflow";
inline constexpr const char* kSubscript = "Subscript out of range";

// Narrows to 32-bit signed, failing instead of wrapping.
inline int32_t ToLong(int64_t value) {
    if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max())
        Fail(kOverflow);
    return static_cast<int32_t>(value);
}

inline int16_t ToInteger(int64_t value) {
    if (value < std::numeric_limits<int16_t>::min() || value > std::numeric_limits<int16_t>::max())
        Fail(kOverflow);
    return static_cast<int16_t>(value);
}

inline uint8_t ToByte(int64_t value) {
    if (value < 0 || value > 255) Fail(kOverflow);
    return static_cast<uint8_t>(value);
}

inline int32_t AddLong(int32_t a, int32_t b) { return ToLong(int64_t{a} + b); }
inline int32_t SubLong(int32_t a, int32_t b) { return ToLong(int64_t{a} - b); }
inline int32_t MulLong(int32_t a, int32_t b) { return ToLong(int64_t{a} * b); }

// Bounds-checked element access.
template <class T>
T& At(std::vector<T>& items, int64_t index) {
    if (index < 0 || index >= static_cast<int64_t>(items.size())) Fail(kSubscript);
    return items[static_cast<size_t>(index)];
}
template <class T>
const T& At(const std::vector<T>& items, int64_t index) {
    if (index < 0 || index >= static_cast<int64_t>(items.size())) Fail(kSubscript);
    return items[static_cast<size_t>(index)];
}

}  // namespace quillet
