// The destination paths of the files an upload has handled, in the order they were handled.
//
// An upload of a hundred thousand files would hold a hundred thousand paths here, and the
// state file writer would copy them all every few seconds. So the list keeps only its newest
// entries in memory and moves the rest, in blocks, to an unnamed file in a folder given at
// set-up (the file has no name in any folder and goes with the process). Every access takes
// the list's own lock, held only for that access.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace qvt {

namespace detail {
struct SpillFile;
}

class HandledPaths {
  public:
    HandledPaths();
    ~HandledPaths();
    HandledPaths(const HandledPaths&) = delete;
    HandledPaths& operator=(const HandledPaths&) = delete;

    // The folder for the list's file; without one (or when no file can be made there) the
    // whole list stays in memory. Entries already held stay where they are.
    void setSpillFolder(const std::string& folder);

    void append(const std::string& path);
    std::size_t size() const;
    bool empty() const;
    // Whether `path` is an entry of the list.
    bool contains(const std::string& path) const;
    // Replaces the whole list; set({}) empties it.
    void set(const std::vector<std::string>& paths);
    // The whole list in memory: for short lists and tests.
    std::vector<std::string> get() const;

    // The entries the list holds at the moment it is taken; later appends and a later set()
    // do not change it, and it can be read while the copy goes on appending.
    class Snapshot {
      public:
        std::size_t size() const { return count_; }
        // Calls `each` for every entry in order; stops and returns false when `each` does, or
        // when the list's file cannot be read back.
        bool forEach(const std::function<bool(std::string_view)>& each) const;

      private:
        friend class HandledPaths;
        std::shared_ptr<const detail::SpillFile> file_;
        std::uint64_t fileBytes_ = 0;
        std::string tail_;
        std::size_t count_ = 0;
    };
    Snapshot snapshot() const;

  private:
    void spillLocked();
    bool forEachLocked(const std::function<bool(std::string_view)>& each) const;

    mutable std::mutex mutex_;
    std::string spillFolder_;
    // The entries, each ended by a NUL (no path holds one): the older ones in the file, the
    // newest in `tail_`. A set() starts a new file; snapshots keep the old one readable.
    std::shared_ptr<detail::SpillFile> file_;
    std::uint64_t fileBytes_ = 0;
    std::string tail_;
    std::size_t count_ = 0;
    // A failed write to the file is tried again once the memory part has doubled.
    std::size_t nextSpillAt_;
    // Hashes of the entries, made at the first contains() (after a restart only) and kept
    // from then on, so a test per file does not read the whole list each time.
    mutable std::unordered_set<std::uint64_t> index_;
    mutable bool indexing_ = false;
};

}  // namespace qvt
