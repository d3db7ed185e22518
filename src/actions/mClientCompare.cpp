#include "actions/mClientCompare.h"

#include <optional>

#include "actions/RunJob.h"
#include "core/mMuls.h"

namespace quillet {
namespace {

// "art.mul is missing", "staidx0.mul and statics0.mul are missing"
std::string IsMissing(const ClientTypeFiles& files) {
    const bool several = files.Missing.find(" and ") != std::string::npos;
    return files.Missing + (several ? " are missing" : " is missing");
}

std::string SkippedLine(const ClientTypeFiles& base, const ClientTypeFiles& altered) {
    const std::string& name = FileTypes[base.FileID].Name;
    if (!base.Found() && !altered.Found()) return name + ": in neither client (" + IsMissing(base) + "); not compared";
    if (!base.Found()) return name + ": only in the new client (" + IsMissing(base) + " in the base one); not compared";
    return name + ": only in the base client (" + IsMissing(altered) + " in the new one); not compared";
}

}  // namespace

ClientComparePlan PlanClientCompare(const std::string& BaseDir, const std::string& NewDir,
                                    const std::vector<uint8_t>& Types) {
    const std::vector<ClientTypeFiles> base = FindClientFiles(BaseDir, Types);
    const std::vector<ClientTypeFiles> altered = FindClientFiles(NewDir, Types);
    ClientComparePlan plan;
    for (size_t i = 0; i < base.size(); ++i) {
        if (base[i].Found() && altered[i].Found())
            plan.Both.push_back({base[i].FileID, base[i], altered[i]});
        else
            plan.Skipped.push_back(SkippedLine(base[i], altered[i]));
    }
    return plan;
}

Result CompareClients(const ClientComparePlan& Plan, std::vector<TypeCompareSummary>* Summary) {
    std::optional<Result> firstFailure;
    std::vector<std::string> warnings;
    const size_t total = Plan.Both.size();
    for (size_t k = 0; k < total; ++k) {
        const ClientCompareType& type = Plan.Both[k];
        TypeCompareSummary summary;
        summary.FileID = type.FileID;
        const std::string wait = "Comparing " + FileTypes[type.FileID].Name + " (" + std::to_string(k + 1) + " of " +
                                 std::to_string(total) + "). Please wait.";
        Result result = RunJob(wait, "mClientCompare.CompareClients", [&] {
            return CompareMUL(type.Base.MUL, type.Base.IDX, type.New.MUL, type.New.IDX, type.FileID, &summary.Counts);
        });
        summary.Completed = result.Ok();
        warnings.insert(warnings.end(), result.Warnings().begin(), result.Warnings().end());
        if (!result && !firstFailure) firstFailure = std::move(result);
        if (Summary != nullptr) Summary->push_back(summary);
    }
    Result answer = firstFailure ? std::move(*firstFailure) : Result::Success();
    return answer.WithWarnings(std::move(warnings));
}

}  // namespace quillet
