#include "base/Warnings.h"

#include <algorithm>

namespace quillet {
namespace {

std::vector<WarningWatch*>& Watches() {
    static std::vector<WarningWatch*> watches;
    return watches;
}

}  // namespace

WarningWatch::WarningWatch() { Watches().push_back(this); }

WarningWatch::~WarningWatch() {
    auto& watches = Watches();
    watches.erase(std::remove(watches.begin(), watches.end(), this), watches.end());
}

void Warn(const std::string& text) {
    for (WarningWatch* watch : Watches()) watch->texts_.push_back(text);
}

}  // namespace quillet
