#include "engine/taken_names.h"

#include "engine/path_names.h"

namespace qvt::engine {

void TakenNames::Names::insert(const std::string& name) {
    whole.insert(name);
    stems.insert(deletingPathExtension(name));
}

bool TakenNames::taken(const std::string& folder, const std::string& stem, const Lister& list) {
    {
        std::lock_guard lock(mutex_);
        const auto known = folders_.find(folder);
        if (known != folders_.end()) return known->second.stems.count(stem) != 0;
    }
    // The listing runs without the lock: on a share it is a round trip per batch of entries.
    Names names;
    for (const std::string& entry : list(folder)) names.insert(entry);
    std::lock_guard lock(mutex_);
    return folders_.try_emplace(folder, std::move(names)).first->second.stems.count(stem) != 0;
}

bool TakenNames::knownToHold(const std::string& folder, const std::string& name) {
    std::lock_guard lock(mutex_);
    const auto known = folders_.find(folder);
    return known != folders_.end() && known->second.whole.count(name) != 0;
}

void TakenNames::add(const std::string& folder, const std::string& name) {
    std::lock_guard lock(mutex_);
    const auto known = folders_.find(folder);
    if (known != folders_.end()) known->second.insert(name);
}

void TakenNames::clear() {
    std::lock_guard lock(mutex_);
    folders_.clear();
}

}  // namespace qvt::engine
