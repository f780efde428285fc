// The running totals of the source list: files, folders and bytes of every counted, ticked row,
// and the summary line under the list.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/dispatch.h"
#include "session/qvtransfer_private.h"
#include "session/view.h"
#include "source/source_entry.h"
#include "source/tree_count.h"

using qvt::Record;
using qvt::Value;
namespace src = qvt::source;

namespace {

// Writes a finished count into the row of `path`: the first row of that path still waiting for
// its count, else the first row of that path. A row deleted meanwhile gets nothing.
//
// Counts end in the order the rows were added, so the search starts after the row written
// last (`hint`) and wraps around: a list of thousands of rows is not searched from its top
// for each of them. Two rows of one path waiting at once (a default folder listed twice) may
// then be written in the other order; both receive the same path's count either way.
void writeRowCounts(qvt::Guarded<qvt::List>& rows, std::atomic<std::size_t>& hint,
                    const std::string& path, const src::TreeCount& count,
                    const src::CountWords& words) {
    rows.with([&](qvt::List& list) {
        const std::size_t n = list.size();
        const std::size_t last = hint.load(std::memory_order_relaxed);
        const std::size_t start = last < n ? last : 0;
        Record* target = nullptr;
        std::size_t at = n;
        for (std::size_t k = 0; k < n && !target; ++k) {
            const std::size_t i = (start + k) % n;
            Record* row = list[i].asRecord();
            if (row && src::hasText(*row, "fullFilePath", path) &&
                src::hasText(*row, "numberOfFiles", src::kCountingPlaceholder)) {
                target = row;
                at = i;
            }
        }
        for (std::size_t i = 0; i < n && !target; ++i) {
            Record* row = list[i].asRecord();
            if (row && src::hasText(*row, "fullFilePath", path)) {
                target = row;
                at = i;
            }
        }
        if (!target) return;
        hint.store(at + 1, std::memory_order_relaxed);
        target->set("numberOfFiles", src::filesLabel(count.files, words));
        target->set("numberOfFolders", src::foldersLabel(count.folders, words));
        target->set("fileSize", Value(static_cast<unsigned long long>(count.bytes)));
        target->set(src::kFileCountKey, Value(static_cast<long long>(count.files)));
        target->set(src::kFolderCountKey, Value(static_cast<long long>(count.folders)));
    });
}

bool anyRowTicked(const qvt::Guarded<qvt::List>& rows) {
    return rows.with([](const qvt::List& list) {
        for (const Value& value : list)
            if (const Record* row = value.asRecord())
                if (const Value* box = row->find("filesSelectCheckbox"); box && box->toInt64() != 0)
                    return true;
        return false;
    });
}

}  // namespace

void QVTransferPrivate::calculateTotalNumberOfFilesFoldersAndSize(const Record& totalsRequest) {
    const Record* given = totalsRequest.record("fileDict");
    const Record entry = given ? *given : Record{};
    const std::string mathType = totalsRequest.string("mathType");
    const std::string path = entry.string("fullFilePath");
    const src::CountWords words{src::countWord(localeFILE_txt), src::countWord(localeFILES_txt),
                                src::countWord(localeFOLDER_txt),
                                src::countWord(localeFOLDERS_txt)};

    if (mathType == "subtract") {
        // Each total is lowered only while it is non-zero; nothing else bounds it.
        const src::RowCounts counts = src::rowCounts(entry);
        if (totalNumberOfSourceFiles.load() != 0) totalNumberOfSourceFiles -= counts.files;
        if (totalNumberOfSourceFolders.load() != 0) totalNumberOfSourceFolders -= counts.folders;
        if (totalSourceFilesSize.load() != 0) {
            const Value* size = entry.find("fileSize");
            totalSourceFilesSize -= size ? size->toUInt64() : 0;
        }
    } else if (mathType == "add") {
        const src::TreeCount count = src::countItem(path, sourceWalkOptions());
        totalNumberOfSourceFiles += count.files;
        totalNumberOfSourceFolders += count.folders;
        totalSourceFilesSize += count.bytes;
        writeRowCounts(sourceFilesArray, countedRowHint, path, count, words);
    }

    const std::int64_t files = totalNumberOfSourceFiles.load();
    const std::int64_t folders = totalNumberOfSourceFolders.load();
    double bytes = static_cast<double>(totalSourceFilesSize.load());
    std::string line;
    bool write = true;
    if (bytes >= 1.0) {
        line = src::summaryLine(files, folders, bytes, words);
        write = !line.empty();
    } else {
        if (anyRowTicked(sourceFilesArray) && mathType != "subtract") {
            // A zero total takes the size of the item itself (a folder's own size included);
            // an item whose attributes cannot be read leaves the line as it was.
            std::uint64_t own = 0;
            if (src::itemSize(path, own)) {
                totalSourceFilesSize += own;
                bytes = static_cast<double>(totalSourceFilesSize.load());
            } else {
                write = false;
            }
        }
        if (write) line = src::zeroSummaryLine(files, folders, bytes, words);
    }

    // The field shows the latest line whichever count wrote last.
    if (write) numberOfFilesAndFolders.set(line);
    reloadSourcesAfterCount(path);
}

void QVTransferPrivate::reloadSourcesAfterCount(const std::string& identifier) {
    if (sourcesReloadQueued.exchange(true)) return;
    auto self = shared_from_this();
    dispatcher().mainAsync([self, identifier] {
        // Cleared before the reload: a count that ends during it queues the next one.
        self->sourcesReloadQueued = false;
        self->removeTablevIewSubviewWithIDentifier(identifier);
    });
}
