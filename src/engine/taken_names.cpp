#include "engine/taken_names.h"

#include "engine/path_names.h"

namespace qvt::engine {

bool TakenNames::taken(const std::string& folder, const std::string& stem, const Lister& list) {
    {
        std::lock_guard lock(mutex_);
        const auto known = folders_.find(folder);
        if (known != folders_.end()) return known->second.count(stem) != 0;
    }
    // The listing runs without the lock: on a share it is a round trip per batch of entries.
    std::unordered_set<std::string> stems;
    for (const std::string& entry : list(folder)) stems.insert(deletingPathExtension(entry));
    std::lock_guard lock(mutex_);
    auto& names = folders_.try_emplace(folder, std::move(stems)).first->second;
    return names.count(stem) != 0;
}

void TakenNames::add(const std::string& folder, const std::string& name) {
    std::lock_guard lock(mutex_);
    const auto known = folders_.find(folder);
    if (known != folders_.end()) known->second.insert(deletingPathExtension(name));
}

void TakenNames::clear() {
    std::lock_guard lock(mutex_);
    folders_.clear();
}

}  // namespace qvt::engine
