// The files an upload to a local disk has given their final names since the disk was last
// flushed. Until the flush they may exist in memory only: a disk pulled out meanwhile comes
// back with them empty or cut short, though they were reported as arrived. After such a loss
// the copy looks at each of them again (see QVTransferPrivate::copyAgainWhatTheLossTook).
#pragma once

#include <cerrno>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace qvt::engine {

// Whether a flush of a local disk that answered `rc` leaves nothing in memory to lose. A file
// system that has no flush of its own to call from here counts as flushed: nothing better can
// be done for it.
inline bool flushLeavesNothing(int rc) {
    return rc == 0 || rc == ENOSYS || rc == EINVAL || rc == EOPNOTSUPP;
}

struct Arrival {
    std::string source;
    std::string target;       // its final name at the destination
    std::uint64_t size{0};    // its size there, once renamed
    std::uint64_t number{0};  // in the order of arrival, given by the list
};

// Any thread: the copy thread adds, the state file's writer takes off what a flush covered.
class UnflushedArrivals {
  public:
    void add(Arrival arrival);
    // How many are listed.
    std::size_t size() const;
    // The number of the last one added: a flush begun now covers it and those before.
    std::uint64_t lastNumber() const;
    // Takes off those a flush covered (numbered up to `number`).
    void dropThrough(std::uint64_t number);
    // Takes the list, leaving it empty.
    std::vector<Arrival> takeAll();
    // Puts arrivals not looked at yet back before any added since.
    void putBack(std::vector<Arrival> arrivals);
    void clear();

  private:
    mutable std::mutex mutex_;
    std::vector<Arrival> list_;
    std::uint64_t lastNumber_ = 0;
};

}  // namespace qvt::engine
