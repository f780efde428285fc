// Pieces shared by the file layer's sources: local and SMB primitives.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/mounts_table.h"

namespace qvt::platform::detail {

// stat(2) of a local path (following links) or of a path inside a share; an errno on failure.
int statPath(const std::string& path, struct stat* st);
int statShare(const SharePath& sp, struct stat* st);

// Creates one folder (no parents); EEXIST when something is there.
int makeFolder(const std::string& path);

// Removes an item and everything below it, leaving mount points alone.
int removeLocal(const std::string& path);
int removeShare(const SharePath& sp);
// Removes a folder of a share only when it is empty (the server refuses otherwise).
int removeEmptyShareFolder(const SharePath& sp);

// Flushes a local file, or a folder with everything below it, to its disk: a move across
// volumes removes its source only once the copy would survive a power cut.
int syncLocal(const std::string& path);
// Flushes one local file or folder entry list, nothing below it.
int syncOne(const std::string& path);

// Copies one file's bytes; the destination must not exist. `source`, when given, is what a
// stat of `from` has just said, and is not asked again.
int copyFileData(const std::string& from, const std::string& to,
                 const struct stat* source = nullptr);

// The size of the file this thread last wrote in full, asked for by its path: the copy knows
// what it wrote, so the questions after it (is the copy whole, how much arrived) cost no round
// trip to a share's server and no walk of a local path. The answer follows the file when this
// thread renames it, and lasts until the thread writes another file or removes this one; any
// other path gets nothing. The local file that copy read is known too, at the size its open
// descriptor told when the copy ended, for one question only.
void rememberWrittenFile(const std::string& path, std::uint64_t size);
// What this thread's CopyGate answers, told the bytes written so far: whether a copy goes on
// to its next piece.
bool goOnCopying(std::uint64_t written);
void rememberReadFile(const std::string& path, std::uint64_t size);
std::optional<std::uint64_t> writtenFileSize(const std::string& path);
// The size of a file on a share that a thread of this process is writing now: the bytes its
// server has taken so far. Any thread may ask (the estimate of the time left asks for the file
// in mid-copy every few seconds); the answer costs no request, which would wait for the
// library behind the copy's, and hold the copy up in turn while a server does not answer.
std::optional<std::uint64_t> shareFileBeingWrittenSize(const std::string& path);

// The attributes of an item that this thread has just found there (the upload asks whether a
// source is there, then copies it): the copy that follows on this thread takes them instead of
// walking the path again. Taken once; renaming or removing the item, or writing another file,
// drops them.
void rememberFoundItem(const std::string& path, const struct stat& st);
bool takeFoundItem(const std::string& path, struct stat* st);
// What the thread knows of its last copy follows a rename of it (or of a folder above it) made
// through the file layer, and a removal there forgets it; forgetLastCopy forgets all of it.
void lastCopyRenamed(const std::string& from, const std::string& to);
void lastCopyRemoved(const std::string& path);
void forgetLastCopy();

std::vector<std::string> listShare(const SharePath& sp, int* error);
// The names in a local folder, hidden ones included, in listing order; `error` gets 0 or the
// errno value of a folder that cannot be opened.
std::vector<std::string> listLocal(const std::string& path, int* error);

// The filesystem UUID of a block device ("" when it has none or cannot be read).
std::string blockDeviceUuid(const std::string& device);
// The filesystem type of a block device ("" when unknown).
std::string blockDeviceType(const std::string& device);

}  // namespace qvt::platform::detail
