// The operating-system side of reading and writing whole files: the only
// place in io/ that calls the OS directly (POSIX here; elsewhere a portable
// fallback with weaker guarantees). Reasons are short Russian texts such as
// "нет такого файла", ready to follow a file name.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// Reads `path` when it is a regular file of at most `limit` bytes. A FIFO,
// socket, device or folder is refused at once, without waiting for data.
bool osReadRegularFile(const std::string& path, size_t limit, std::string& out, std::string& error);

// Checks, without writing anything, that `path` may be replaced: what sits
// there (after following symbolic links) is a writable regular file or
// nothing, and its folder takes new files. `resolved` is the file that a
// write will replace.
bool osCheckWritable(const std::string& path, std::string& resolved, std::string& error);

// Replaces the file at `path` (a symbolic link is written through) with
// `bytes` so that a reader sees the old or the new content, never a part.
// The old file's permission bits are kept. At most one temporary file per
// target exists at any time, named after the target; a crash may leave it
// behind and the next write of the same target reuses or removes it.
bool osWriteReplacing(const std::string& path, std::string_view bytes, std::string& error);

// Whether writes may use an unnamed temporary file (on by default where the
// system has one); off, they use the named fallback, which the kill loop
// also has to prove.
void osUseUnnamedTempFiles(bool on);
