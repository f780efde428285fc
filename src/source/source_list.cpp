// The source list: rows from the default folders, the file chooser and drag and drop; ticking,
// deleting, the Next button and the system-file check of the move option.
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "platform/dispatch.h"
#include "session/qvtransfer_private.h"
#include "session/resources.h"
#include "session/view.h"
#include "source/source_entry.h"

using qvt::List;
using qvt::Record;
using qvt::Value;
using qvt::platform::QueuePriority;
namespace src = qvt::source;

namespace {

constexpr const char* kNextButton = "chooseSourceFilesNextButton";

std::optional<Record> rowAt(const qvt::Guarded<List>& rows, long long index) {
    return rows.with([index](const List& list) -> std::optional<Record> {
        if (index < 0 || static_cast<std::size_t>(index) >= list.size()) return std::nullopt;
        const Record* row = list[static_cast<std::size_t>(index)].asRecord();
        return row ? std::optional<Record>(*row) : std::nullopt;
    });
}

}  // namespace

// Hands the requests, in order, to one default-priority task.
static void submitTotals(const std::shared_ptr<QVTransferPrivate>& self,
                         std::vector<Record> requests) {
    self->dispatcher().async(QueuePriority::Default, [self, requests = std::move(requests)] {
        for (const Record& request : requests)
            self->calculateTotalNumberOfFilesFoldersAndSize(request);
    });
}

// Adds the paths not listed yet (exact string comparison with every row's path), then counts
// them. `onMain` tells whether the caller is the main thread (a drop) or not (the chooser).
static void addSourcePaths(QVTransferPrivate& owner, const std::vector<std::string>& paths,
                           bool onMain) {
    auto self = owner.shared_from_this();
    std::vector<Record> requests;
    // Made before the list is locked: a row's icon is looked up on the disk.
    std::vector<Record> entries;
    entries.reserve(paths.size());
    for (const std::string& path : paths) entries.push_back(src::makeSourceEntry(path, true));
    // The rows' paths are gathered once, not searched for each path added (thousands of files
    // chosen one by one would cost the square of their number), under the same lock as the
    // additions, so that another thread's addition is seen.
    owner.sourceFilesArray.with([&](List& list) {
        std::unordered_set<std::string> listed;
        for (const Value& value : list)
            if (const Record* row = value.asRecord())
                if (const Value* path = row->find("fullFilePath"); path && path->asString())
                    listed.insert(*path->asString());
        for (std::size_t i = 0; i < paths.size(); ++i) {
            if (!listed.insert(paths[i]).second) continue;
            list.push_back(Value(entries[i]));
            requests.push_back(src::makeTotalsRequest(entries[i], "add"));
        }
    });
    if (onMain)
        owner.rearrangeSourceFilesList();
    else
        owner.dispatcher().mainAsync([self] { self->rearrangeSourceFilesList(); });
    owner.filesAddedAtZeroState = true;
    owner.dispatcher().detach([self] { self->checkIfFilesExistsInSourceList(); });
    submitTotals(self, std::move(requests));
    if (!onMain) owner.dispatcher().mainAsync([self] { self->rearrangeSourceFilesList(); });
}

void QVTransferPrivate::populateDefaultSourceFilesList() {
    std::vector<Record> requests;
    // Neither a duplicate nor an existence test here: every listed folder gets its row.
    for (const std::string& entry : qvt::resourcePathList("DefaultsSourceFilesList")) {
        const Record row = src::makeSourceEntry(src::joinPath(userHomeDirectory, entry), false);
        const Value value(row);
        sourceFilesArray.with([&](List& list) { list.push_back(value); });
        requests.push_back(src::makeTotalsRequest(row, "add"));
    }
    auto self = shared_from_this();
    dispatcher().mainAsync([self] { self->rearrangeSourceFilesList(); });
    submitTotals(self, std::move(requests));
}

void QVTransferPrivate::chooseSourceFiles() {
    if (!sourceFilesOpenPanel) return;
    std::vector<std::string> chosen;
    if (sourceFilesOpenPanel(chosen) != 1) return;
    auto self = shared_from_this();
    dispatcher().detach([self, chosen] { self->processOpenPanelSelectedSourceFiles(chosen); });
}

void QVTransferPrivate::processOpenPanelSelectedSourceFiles(const std::vector<std::string>& paths) {
    addSourcePaths(*this, paths, false);
}

void QVTransferPrivate::concludeDragOperation(const std::vector<std::string>& filenames) {
    addSourcePaths(*this, filenames, true);
}

void QVTransferPrivate::processDeselectedFiles(int row) {
    const std::optional<Record> entry = rowAt(sourceFilesArray, row);
    if (!entry) return;
    const Value* box = entry->find("filesSelectCheckbox");
    const bool ticked = box && box->toInt64() != 0;
    auto self = shared_from_this();
    const Record request = src::makeTotalsRequest(*entry, ticked ? "add" : "subtract");
    dispatcher().async(QueuePriority::Default, [self, request] {
        self->calculateTotalNumberOfFilesFoldersAndSize(request);
    });
    dispatcher().detach([self] { self->checkIfFilesExistsInSourceList(); });
}

void QVTransferPrivate::processDeleteFiles(int row) {
    auto self = shared_from_this();
    const Record fileIndex{{"fileIndex", row}};
    dispatcher().detach([self, fileIndex] { self->deleteSizeOfFiles(fileIndex); });
}

void QVTransferPrivate::deleteSizeOfFiles(const Record& fileIndex) {
    const long long index = fileIndex.integer("fileIndex", -1);
    const std::optional<Record> entry = rowAt(sourceFilesArray, index);
    if (!entry) return;
    // Taken off whether ticked or not: an unticked row lowers the totals a second time.
    calculateTotalNumberOfFilesFoldersAndSize(src::makeTotalsRequest(*entry, "subtract"));
    const std::string path = entry->string("fullFilePath");
    sourceFilesArray.with([&](List& list) {
        // The row is normally still at its index; if the list moved meanwhile, the row of
        // that path goes instead of whatever row now sits there.
        auto at = static_cast<std::size_t>(index);
        if (at >= list.size() || !list[at].asRecord() ||
            list[at].asRecord()->string("fullFilePath") != path) {
            at = list.size();
            for (std::size_t i = 0; i < list.size(); ++i)
                if (const Record* row = list[i].asRecord();
                    row && row->string("fullFilePath") == path) {
                    at = i;
                    break;
                }
        }
        if (at < list.size()) list.erase(list.begin() + static_cast<std::ptrdiff_t>(at));
    });
    auto self = shared_from_this();
    dispatcher().mainAsync([self] { self->rearrangeSourceFilesList(); });
    dispatcher().detach([self] { self->checkIfFilesExistsInSourceList(); });
}

void QVTransferPrivate::checkIfFilesExistsInSourceList() {
    const bool any = sourceFilesArray.with([](const List& list) {
        for (const Value& value : list)
            if (const Record* row = value.asRecord())
                if (const Value* box = row->find("filesSelectCheckbox"); box && box->toInt64() == 1)
                    return true;
        return false;
    });
    auto self = shared_from_this();
    dispatcher().mainAsync([self, any] { self->view()->setEnabled(kNextButton, any); });
}

void QVTransferPrivate::rearrangeSourceFilesList() {
    view()->showSources(sourcesScreen());
}

void QVTransferPrivate::removeTablevIewSubviewWithIDentifier(const std::string& identifier) {
    // The table draws a row's spinner for as long as the row waits for its count; reloading
    // the rows takes the spinner of `identifier` away once its count is written.
    (void)identifier;
    rearrangeSourceFilesList();
}

std::string QVTransferPrivate::sourceFilesToolTip(const std::string& columnIdentifier,
                                                  int row) const {
    if (columnIdentifier != "fullPathColumn") return {};
    const std::optional<Record> entry = rowAt(sourceFilesArray, row);
    return entry ? entry->string("fullFilePath") : std::string();
}

void QVTransferPrivate::buildExcludeSourceFilesArray() {
    excludeSourceFilesArray.set({});
    std::vector<std::string> fragments = qvt::resourcePathList("ExcludeSystemFilesList");
    fragments.push_back(userHomeDirectory + "/Library");
    excludeSystemFilesList.set(fragments);

    std::vector<std::string> paths;
    sourceFilesArray.with([&](const List& list) {
        for (const Value& value : list)
            if (const Record* row = value.asRecord()) paths.push_back(row->string("fullFilePath"));
    });
    // Plain, case-sensitive substring matches over every row, ticked or not; a path that holds
    // several fragments is listed once per fragment.
    std::vector<std::string> matches;
    for (const std::string& fragment : fragments) {
        if (fragment.empty()) continue;
        for (const std::string& path : paths)
            if (path.find(fragment) != std::string::npos) matches.push_back(path);
    }
    excludeSourceFilesArray.set(std::move(matches));
}
