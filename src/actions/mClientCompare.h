#pragma once
// The comparison of two whole clients: every type whose files both client
// directories hold is compared as CompareMUL compares one type, into the open
// patch, so that the patch gets every block that changed.
#include <cstdint>
#include <string>
#include <vector>

#include "base/Result.h"
#include "operations/ClientFiles.h"
#include "operations/mImport.h"

namespace quillet {

struct ClientCompareType {
    uint8_t FileID = 0;
    ClientTypeFiles Base;
    ClientTypeFiles New;
};

struct ClientComparePlan {
    // The types found in both clients, in tree order.
    std::vector<ClientCompareType> Both;
    // One line for each type asked for that one side (or neither) lacks,
    // naming the file that is missing: these are not compared.
    std::vector<std::string> Skipped;
};

// Finds the files of Types (every type a client has when empty) in both
// directories.
ClientComparePlan PlanClientCompare(const std::string& BaseDir, const std::string& NewDir,
                                    const std::vector<uint8_t>& Types = {});

struct TypeCompareSummary {
    uint8_t FileID = 0;
    CompareCounts Counts;
    bool Completed = false;
};

// Compares each type of the plan under "Comparing " + Name + " (k of n).
// Please wait.", one after the other; a type that fails does not stop the
// others. Summary, when given, gets a line for each type. The answer is the
// first failure, if any, with the warnings of all types.
Result CompareClients(const ClientComparePlan& Plan, std::vector<TypeCompareSummary>* Summary = nullptr);

}  // namespace quillet
