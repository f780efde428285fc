#include "session/leftover_copies.h"

#include <unistd.h>

#include <cerrno>

#include <algorithm>
#include <mutex>

#include "platform/plist_io.h"
#include "qvtransfer/Value.h"

namespace fs = qvt::platform;

namespace qvt::session {

namespace {

// A stop on the main thread and the copy thread's end of a copy may both note a copy.
std::mutex& fileLock() {
    static std::mutex lock;
    return lock;
}

std::vector<LeftoverCopy> readUnlocked(const std::string& file) {
    std::vector<LeftoverCopy> copies;
    const auto root = fs::readPropertyList(file);
    const qvt::List* list = root ? root->asList() : nullptr;
    if (!list) return copies;
    for (const qvt::Value& value : *list) {
        const qvt::Record* r = value.asRecord();
        if (!r) continue;
        LeftoverCopy copy{r->string("device"), r->string("share"), r->string("path"), {}};
        if (const qvt::List* pending = r->list("pendingSources"))
            for (const qvt::Value& v : *pending)
                if (const std::string* s = v.asString(); s && !s->empty())
                    copy.pendingSources.push_back(*s);
        copy.tag = r->string("tag");
        if (copy.device.empty() || (copy.path.empty() && copy.pendingSources.empty())) continue;
        copies.push_back(std::move(copy));
    }
    return copies;
}

bool writeUnlocked(const std::string& file, const std::vector<LeftoverCopy>& copies) {
    if (copies.empty()) return ::unlink(file.c_str()) == 0 || errno == ENOENT;
    qvt::List list;
    for (const LeftoverCopy& c : copies) {
        qvt::Record r{{"device", c.device}, {"share", c.share}, {"path", c.path}};
        if (!c.pendingSources.empty()) {
            qvt::List pending;
            for (const std::string& s : c.pendingSources) pending.emplace_back(s);
            r.set("pendingSources", std::move(pending));
            r.set("tag", c.tag);
        }
        list.emplace_back(std::move(r));
    }
    return fs::writePropertyList(file, qvt::Value(std::move(list)));
}

}  // namespace

std::vector<LeftoverCopy> readLeftoverCopies(const std::string& file) {
    std::lock_guard lock(fileLock());
    return readUnlocked(file);
}

bool writeLeftoverCopies(const std::string& file, const std::vector<LeftoverCopy>& copies) {
    std::lock_guard lock(fileLock());
    return writeUnlocked(file, copies);
}

bool noteLeftoverCopy(const std::string& file, const LeftoverCopy& copy) {
    std::lock_guard lock(fileLock());
    std::vector<LeftoverCopy> copies = readUnlocked(file);
    if (std::find(copies.begin(), copies.end(), copy) != copies.end()) return true;
    copies.push_back(copy);
    return writeUnlocked(file, copies);
}

}  // namespace qvt::session
