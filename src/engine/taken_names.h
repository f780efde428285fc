// The names already used in each destination folder, for the duplicate-name rule.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace qvt::engine {

// Each destination folder's entry names without their extensions, read with one listing the
// first time a name clashes there and kept current as this upload places files and folders.
// A folder of thousands of files that clash then costs one listing, not one per file. A name
// another writer takes after the listing is not seen here: the no-replace rename meets it,
// and the caller notes it with add() before asking for a name again.
class TakenNames {
  public:
    using Lister = std::function<std::vector<std::string>(const std::string& folder)>;

    // Whether an entry of `folder` has the name `stem` once its extension is dropped; the
    // folder is listed with `list` when it is asked about for the first time.
    bool taken(const std::string& folder, const std::string& stem, const Lister& list);
    // Whether `folder` has an entry named exactly `name`, as far as the names kept for it
    // say; false for a folder that was never listed.
    bool knownToHold(const std::string& folder, const std::string& name);
    // Notes that an entry `name` (with its extension) now exists in `folder`. Only folders
    // that were listed keep notes: the others are listed in full when first asked about.
    void add(const std::string& folder, const std::string& name);
    // Forgets every folder (a new upload lists again).
    void clear();

  private:
    struct Names {
        std::unordered_set<std::string> whole;  // as listed
        std::unordered_set<std::string> stems;  // without their extensions
        void insert(const std::string& name);
    };
    std::mutex mutex_;
    std::unordered_map<std::string, Names> folders_;
};

}  // namespace qvt::engine
