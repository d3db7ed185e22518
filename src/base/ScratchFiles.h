#pragma once
// Files a run makes for itself and deletes when it is done with them: the
// patch's scratch DataFile, the temporary file of a save, the verdata.tmp of
// an export. A run that is killed cannot delete them; a later run may, but
// only what is clearly a dead run's leftover. Each such file is locked
// (flock) by its run for as long as it lives and carries a mark of ours (an
// extended attribute, set after the lock is taken), so that a file that is
// marked and not locked has nobody left to finish it.
#include <string>

namespace quillet {

// The marks: one for the DataFile, one for the temporary files of saves and
// exports. An attribute with an empty value; only its presence counts.
inline constexpr const char* kDatafileMark = "user.quillet.datafile";
inline constexpr const char* kTempFileMark = "user.quillet.tempfile";

// Sets the mark on an open file. Best effort: false where the file system
// keeps no extended attributes (such a file is then never cleaned).
bool MarkScratch(int fd, const char* mark);
// Takes the mark off again, for a file that is to live on under a name of
// the user's.
void UnmarkScratch(int fd, const char* mark);

// Deletes in directory ("" for the current one) the leftovers of dead runs:
// entries whose name `named` accepts that are regular files (not links),
// belong to this user, carry mark and that no process holds locked. Anything
// else is left alone. Answers how many were deleted.
int RemoveDeadScratch(const std::string& directory, bool (*named)(const char* name), const char* mark);

}  // namespace quillet
