#include "sample/SampleClient.h"

namespace quillet::sample {

bool WriteSampleClient(const SampleOptions&, std::string* error) {
    if (error) *error = "not written yet";
    return false;
}

}  // namespace quillet::sample
