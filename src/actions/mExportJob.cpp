#include "actions/mExportJob.h"

#include "actions/RunJob.h"
#include "core/mWait.h"

namespace quillet {

Result ExportToVerdata(const std::string& Directory, LockWait wait, MissingVerdata missing) {
    const int64_t toldBefore = MessagesShown();
    const Result exported = RunJob("Exporting to verdata. Please wait.", "mExportJob.ExportToVerdata",
                                   [&] { return ExportVerdata(Directory, wait, missing); });
    if (!exported && !exported.WasLogged() && MessagesShown() != toldBefore)
        return Result::Shown(LastMessage()).WithWarnings(exported.Warnings());
    return exported;
}

bool ExportNeedsNewVerdata(const std::string& Directory) {
    return ExportedBlockCount() > 0 && VerdataMissing(Directory);
}

}  // namespace quillet
