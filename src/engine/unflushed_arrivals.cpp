#include "engine/unflushed_arrivals.h"

#include <iterator>

namespace qvt::engine {

void UnflushedArrivals::add(Arrival arrival) {
    std::lock_guard lock(mutex_);
    arrival.number = ++lastNumber_;
    list_.push_back(std::move(arrival));
}

std::size_t UnflushedArrivals::size() const {
    std::lock_guard lock(mutex_);
    return list_.size();
}

std::uint64_t UnflushedArrivals::lastNumber() const {
    std::lock_guard lock(mutex_);
    return lastNumber_;
}

void UnflushedArrivals::dropThrough(std::uint64_t number) {
    std::lock_guard lock(mutex_);
    std::erase_if(list_, [number](const Arrival& a) { return a.number <= number; });
}

std::vector<Arrival> UnflushedArrivals::takeAll() {
    std::lock_guard lock(mutex_);
    std::vector<Arrival> taken;
    taken.swap(list_);
    return taken;
}

void UnflushedArrivals::putBack(std::vector<Arrival> arrivals) {
    std::lock_guard lock(mutex_);
    list_.insert(list_.begin(), std::make_move_iterator(arrivals.begin()),
                 std::make_move_iterator(arrivals.end()));
}

void UnflushedArrivals::clear() {
    std::lock_guard lock(mutex_);
    list_.clear();
}

}  // namespace qvt::engine
