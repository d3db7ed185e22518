#include "actions/mExportJob.h"

#include "actions/RunJob.h"
#include "core/mWait.h"
#include "formats/mVerdata.h"

namespace quillet {

Result ExportToVerdata(const std::string& Directory, LockWait wait) {
    const int64_t toldBefore = MessagesShown();
    const Result exported = RunJob("Exporting to verdata. Please wait.", "mExportJob.ExportToVerdata",
                                   [&] { return ExportVerdata(Directory, wait); });
    if (!exported && !exported.WasLogged() && MessagesShown() != toldBefore)
        return Result::Shown(LastMessage()).WithWarnings(exported.Warnings());
    return exported;
}

}  // namespace quillet
