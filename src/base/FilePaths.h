#pragma once
// Path spellings and the few file-system steps that every layer that writes
// files needs the same way: a rename that never replaces, the sync that makes
// a rename durable, and the text of a failed call's errno.
#include <string>

namespace quillet {

// The directory with a closing '/', ready for a file name to be appended;
// "" stays "" (the current directory).
std::string WithSlash(const std::string& directory);
// The path without closing '/'s; "/" stays "/".
std::string WithoutSlash(std::string path);
// Directory part of a path ("" for a bare name, "/" for a name in the root),
// without closing '/'.
std::string DirectoryOf(const std::string& path);
// Any directory entry of that name, a dangling link too: a name that a rename
// without replace cannot take.
bool NameTaken(const std::string& name);
// The system's text for an errno value.
std::string ErrnoText(int error);
// Why path does not name a regular file (following links): the system's
// text ("No such file or directory" for a dangling link too), or what it is
// instead ("Is a directory", "a named pipe (FIFO), not a file", ...); "" when
// it is a regular file.
std::string WhyNotAFile(const std::string& path);

// Where the chain of symbolic links that starts at path ends: path itself
// when it is no link, else the last link's target, each relative target
// taken from its link's own directory. A dangling chain ends where its last
// link points. Answers 0 and sets target, or ELOOP for a chain of more than
// 40 links, or the errno of a link that cannot be read.
int ResolveLinks(const std::string& path, std::string& target);

// Renames from to to, but never over an existing name; answers 0 or the
// errno of the failure (EEXIST when to is taken). A file system that cannot
// refuse by itself gets a hard link and an unlink (a link fails on an
// existing name just as well); only where it has no hard links either is the
// name tested first and then renamed plainly (one user, one program).
int RenameNoReplace(const std::string& from, const std::string& to);
// Flushes the directory ("" for the current one) so that the renames made in
// it reach the disk, not only the files' contents. Best effort: a directory
// that cannot be opened or synced is left as it is.
void SyncDirectory(const std::string& directory);

}  // namespace quillet
