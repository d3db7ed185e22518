#include "actions/mExportJob.h"

#include "actions/RunJob.h"
#include "core/mWait.h"
#include "formats/mVerdata.h"

namespace quillet {

Result ExportToVerdata(const std::string& Directory) {
    const int64_t toldBefore = MessagesShown();
    const Result exported = RunJob("Exporting to verdata. Please wait.", "mExportJob.ExportToVerdata",
                                   [&] { return ExportVerdata(Directory); });
    if (!exported && !exported.WasLogged() && MessagesShown() != toldBefore) return Result::Shown(LastMessage());
    return exported;
}

}  // namespace quillet
