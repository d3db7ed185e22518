#pragma once
// A deterministic synthetic client data set for tests, benchmarks and demos.
#include <cstdint>
#include <string>

namespace quillet::sample {

struct SampleOptions {
    std::string dir;     // written into; created if missing
    bool full = false;   // full-size map and statics (393216 blocks) instead of a small world
    uint32_t seed = 1;   // same seed, same bytes
};

// Writes the set; false with a reason in *error on failure.
bool WriteSampleClient(const SampleOptions& options, std::string* error);

}  // namespace quillet::sample
