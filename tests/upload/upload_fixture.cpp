#include "upload_fixture.h"

#include <sys/mount.h>
#include <sys/stat.h>

#include <QByteArrayView>
#include <QCryptographicHash>
#include <chrono>
#include <fstream>
#include <sstream>

#include "device/mount_destination.h"
#include "engine/partial_copy.h"
#include "platform/dispatch.h"
#include "platform/plist_io.h"
#include "session/services.h"

namespace qvt::uploadtest {

// ---- Trees ----

std::string sha256Of(const std::string& path) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    std::ifstream in(path, std::ios::binary);
    if (!in) return "<unreadable>";
    std::vector<char> buffer(1u << 20);
    while (in) {
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        const std::streamsize n = in.gcount();
        if (n > 0) hash.addData(QByteArrayView(buffer.data(), static_cast<qsizetype>(n)));
    }
    return hash.result().toHex().toStdString();
}

Snapshot snapshot(const std::string& root, bool followLinks, std::vector<std::string>* links) {
    Snapshot out;
    std::error_code ec;
    // Links to folders are walked into only when links count as their targets.
    const auto options =
        followLinks ? fs::directory_options::follow_directory_symlink : fs::directory_options::none;
    for (auto it = fs::recursive_directory_iterator(root, options, ec); !ec && it != fs::end(it);
         it.increment(ec)) {
        const fs::path& p = it->path();
        // Lexical: a link's own path, never the path it resolves to.
        const std::string rel = p.lexically_relative(root).string();
        const bool isLink = it->is_symlink();
        if (isLink && !followLinks) {
            if (links) links->push_back(rel);
            continue;
        }
        Item item;
        if (fs::is_directory(p)) {
            item.folder = true;
        } else {
            item.size = fs::file_size(p);
            item.digest = sha256Of(p.string());
        }
        out[rel] = item;
    }
    return out;
}

std::string difference(const Snapshot& expected, const Snapshot& actual) {
    std::ostringstream os;
    for (const auto& [path, item] : expected) {
        auto it = actual.find(path);
        if (it == actual.end())
            os << "missing: " << path << "\n";
        else if (!(it->second == item))
            os << "differs: " << path << " (" << item.size << " bytes expected, " << it->second.size
               << " found)\n";
    }
    for (const auto& [path, item] : actual)
        if (!expected.count(path)) os << "unexpected: " << path << "\n";
    return os.str();
}

std::string patternBytes(std::size_t n, std::uint32_t seed) {
    std::string out(n, '\0');
    std::uint64_t x = 0x9E3779B97F4A7C15ull ^ seed;
    for (std::size_t i = 0; i < n; i += 8) {
        // xorshift64*: cheap, and no 8-byte block repeats within a file.
        x ^= x >> 12;
        x ^= x << 25;
        x ^= x >> 27;
        const std::uint64_t v = x * 0x2545F4914F6CDD1Dull;
        for (std::size_t b = 0; b < 8 && i + b < n; ++b)
            out[i + b] = static_cast<char>(v >> (8 * b));
    }
    return out;
}

void writeBytes(const std::string& path, std::size_t n, std::uint32_t seed) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    constexpr std::size_t kChunk = 8u << 20;
    for (std::size_t done = 0; done < n; done += kChunk) {
        const std::string part = patternBytes(std::min(kChunk, n - done),
                                              seed + static_cast<std::uint32_t>(done / kChunk));
        out.write(part.data(), static_cast<std::streamsize>(part.size()));
    }
}

std::string longAsciiName() {
    return std::string(251, 'L') + ".txt";
}

std::string longMultibyteName() {
    std::string name;
    for (int i = 0; i < 84; ++i) name += "\xE9\x95\xB7";  // U+9577, three bytes in UTF-8
    return name + ".md";
}

const std::string& accentedName() {
    static const std::string name =
        "R\xC3\xA9sum\xC3\xA9 \xC3\xA9t\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC.txt";
    return name;
}

std::string makeMixedTree(const std::string& parent, std::size_t bigBytes) {
    const std::string root = parent + "/Mixed Tree";
    fs::create_directories(root);
    test::writeFile(root + "/plain.txt", "plain text\n");
    test::writeFile(root + "/with blanks in its name.txt", "blanks\n");
    test::writeFile(root + "/" + accentedName(), "accents and kanji\n");
    test::writeFile(root + "/" + longAsciiName(), "a name of 255 bytes\n");
    test::writeFile(root + "/" + longMultibyteName(), "a name of 255 bytes in three-byte chars\n");
    test::writeFile(root + "/.hidden", "hidden file\n");
    test::writeFile(root + "/.hidden folder/inside.txt", "inside a hidden folder\n");
    test::writeFile(root + "/no extension", "no extension\n");
    test::writeFile(root + "/archive.tar.gz", patternBytes(3000, 7));
    test::writeFile(root + "/zero.dat", "");
    test::writeFile(root + "/nested/zero too", "");
    fs::create_directories(root + "/empty folder");
    fs::create_directories(root + "/nested/empty too");
    writeBytes(root + "/nested/level 1/level 2/deep.bin", 300000, 11);
    test::writeFile(root + "/nested/level 1/track 07.mp3", patternBytes(4096, 13));
    fs::create_directories(root + "/nested/level 1/" + accentedName() + " folder");
    test::writeFile(root + "/nested/level 1/" + accentedName() + " folder/x", "x");
    // A relative link to a file of the tree: it must arrive as a copy of that file.
    fs::create_symlink("plain.txt", root + "/link to plain");
    if (bigBytes > 0) writeBytes(root + "/big/huge.bin", bigBytes, 42);
    return root;
}

void ensureSomethingListedAfter(const std::string& folder, const std::string& name) {
    for (int n = 1; n < 64; ++n) {
        const auto listed = platform::files().listFolder(folder);
        if (!listed.empty() && listed.back() != name) return;
        test::writeFile(folder + "/after " + std::to_string(n) + ".txt",
                        "after " + std::to_string(n));
    }
}

std::set<std::string> filesOf(const Snapshot& s) {
    std::set<std::string> out;
    for (const auto& [path, item] : s)
        if (!item.folder) out.insert(path);
    return out;
}

std::set<std::string> namesIn(const std::string& folder) {
    std::set<std::string> out;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(folder, ec))
        out.insert(e.path().filename().string());
    return out;
}

// ---- HoldingFiles ----

int HoldingFiles::held(const std::string& from, const std::function<int()>& work) {
    {
        std::lock_guard lock(mutex_);
        if (!failFragment_.empty() && from.find(failFragment_) != std::string::npos)
            return failError_;
    }
    const int rc = work();
    std::unique_lock lock(mutex_);
    const bool hold =
        !holdSuffix_.empty() && from.size() >= holdSuffix_.size() &&
        from.compare(from.size() - holdSuffix_.size(), holdSuffix_.size(), holdSuffix_) == 0;
    if (!hold) return rc;
    holding_ = true;
    cv_.notify_all();
    // Bounded, so a test that fails before releasing never leaves the copy thread stuck.
    cv_.wait_for(lock, std::chrono::seconds(120), [&] { return released_; });
    holding_ = false;
    return rc;
}

int HoldingFiles::copyItem(const std::string& from, const std::string& to) {
    return held(from, [&] { return FileLayer::copyItem(from, to); });
}

int HoldingFiles::moveItem(const std::string& from, const std::string& to) {
    return held(from, [&] { return FileLayer::moveItem(from, to); });
}

void HoldingFiles::holdCopyOf(const std::string& suffix) {
    std::lock_guard lock(mutex_);
    holdSuffix_ = suffix;
    released_ = false;
}

bool HoldingFiles::waitHeld(double seconds) {
    // Serve the main thread meanwhile: the copy thread may hand work to it.
    return test::waitFor(
        [&] {
            std::lock_guard lock(mutex_);
            return holding_;
        },
        seconds);
}

bool HoldingFiles::waitFreed(double seconds) {
    return test::waitFor(
        [&] {
            std::lock_guard lock(mutex_);
            return !holding_;
        },
        seconds);
}

void HoldingFiles::release() {
    std::lock_guard lock(mutex_);
    released_ = true;
    cv_.notify_all();
}

bool HoldingFiles::released() const {
    std::lock_guard lock(mutex_);
    return released_;
}

void HoldingFiles::failCopiesOf(const std::string& fragment, int error) {
    std::lock_guard lock(mutex_);
    failFragment_ = fragment;
    failError_ = error;
}

// ---- Ext4Volume ----

Ext4Volume::Ext4Volume(const std::string& workFolder, const std::string& mountPoint, int megabytes)
    : loop_(workFolder, megabytes), mountPoint_(mountPoint) {
    if (!loop_.ok()) return;
    fs::create_directories(mountPoint_);
    mounted_ = ::mount(loop_.device().c_str(), mountPoint_.c_str(), "ext4", 0, nullptr) == 0;
    // The volume's root belongs to root and lost+found is in it; nothing else.
}

Ext4Volume::~Ext4Volume() {
    if (mounted_) ::umount2(mountPoint_.c_str(), MNT_DETACH);
}

Record dasDeviceFor(const Ext4Volume& volume) {
    Record device = test::dasDevice();
    Record info = *device.record("deviceInfo");
    info.set("volumeArray", List{Record{{"volumeName", fs::path(volume.path()).filename().string()},
                                        {"volumePath", volume.path()},
                                        {"bsdName", volume.bsdName()},
                                        {"mounted", true},
                                        {"uuid", volume.uuid()}}});
    device.set("deviceInfo", info);
    return device;
}

// ---- UploadSession ----

UploadSession::UploadSession(const Record& device)
    : h_(kTimeScale), delegate_(std::make_shared<test::RecordingFullDelegate>()) {
    controller_ = QVTransferPrivate::initWithDevice(device, h_.services);
    if (!controller_) return;
    controller_->setDelegate(delegate_);
    home_ = controller_->userHomeDirectory;
}

UploadSession::~UploadSession() {
    if (controller_) {
        // A test that failed half-way may leave the copy paused: let it end.
        if (!controller_->isFileTransferCompleted() && !controller_->uploadCancelled())
            controller_->job().cancel();
        settle(60);
    }
}

bool UploadSession::settle(double seconds) {
    const bool idle = h_.services.dispatch->waitIdle(seconds);
    auto marker = std::make_shared<std::atomic<bool>>(false);
    h_.services.dispatch->mainAsync([marker] { *marker = true; });
    return test::waitFor([&] { return marker->load(); }, seconds) && idle;
}

bool UploadSession::addSources(const std::vector<std::string>& paths) {
    controller_->showScreen(Screen::Sources);
    controller_->processOpenPanelSelectedSourceFiles(paths);
    const bool counted = test::waitFor(
        [&] {
            const List rows = controller_->sourceFilesArray.get();
            if (rows.size() < paths.size()) return false;
            for (const Value& v : rows)
                if (const Record* r = v.asRecord(); !r || r->string("numberOfFiles") == "     ")
                    return false;
            return h_.services.dispatch->running() == 0;
        },
        60);
    return counted && settle();
}

bool UploadSession::toDestination(bool moveFiles) {
    controller_->removeFilesAfterUpload = moveFiles;
    {
        std::lock_guard lock(h_.view->mutex);
        // Weak: the view's state must not keep the controller alive.
        std::weak_ptr<QVTransferPrivate> weak = controller_;
        h_.view->modalHooks[Dialog::ProtectedFiles] = [weak] {
            if (auto c = weak.lock()) c->cancelOrContinueUpload(2);
        };
    }
    controller_->selectDestinationForFileTransfer();
    return test::waitFor(
        [&] {
            std::lock_guard lock(h_.view->mutex);
            return h_.view->shownName == "destinationFilesView";
        },
        10);
}

std::string UploadSession::mountShare(const std::string& share, const std::string& password) {
    controller_->mountDir = h_.services.folders.home + "/.QVTransfer";
    fs::create_directories(controller_->mountDir);
    // The mount helper is called from the share list's background thread.
    struct Outcome {
        std::atomic<bool> done{false};
        std::string path;
    };
    auto outcome = std::make_shared<Outcome>();
    auto c = controller_;
    h_.services.dispatch->detach([outcome, c, share, password] {
        outcome->path =
            c->mountObject->mountNASShare(share, "false", "127.0.0.1", "Test Cloud", "qvt-nas",
                                          c->mountDir, mounttest::kUser, password, "true");
        outcome->done = true;
    });
    if (!test::waitFor([&] { return outcome->done.load(); }, 60)) return "";
    settle();
    return outcome->path;
}

void UploadSession::upload(const std::string& folder) {
    {
        std::lock_guard lock(h_.view->mutex);
        h_.view->selectedFolder = folder;
    }
    controller_->uploadFiles();
}

bool UploadSession::waitCompleted(double seconds) {
    const bool done =
        test::waitFor([&] { return controller_->isFileTransferCompleted(); }, seconds);
    return settle(seconds) && done;
}

std::string UploadSession::logText() const {
    std::string out;
    for (const std::string& line : h_.log->lines()) {
        out += line;
        if (out.empty() || out.back() != '\n') out += '\n';
    }
    return out;
}

std::vector<Record> UploadSession::failures() {
    std::vector<Record> out;
    for (const Value& v : controller_->failedTransferArray.get())
        if (const Record* r = v.asRecord()) out.push_back(*r);
    return out;
}

std::optional<Record> UploadSession::stateFile() {
    const auto value = platform::readPropertyList(controller_->transferDataFilePath);
    if (!value || !value->asRecord()) return std::nullopt;
    return *value->asRecord();
}

bool isPartialCopyOf(const std::string& inProcess, const std::string& finalPath) {
    const std::filesystem::path partial(inProcess);
    return partial.parent_path() == std::filesystem::path(finalPath).parent_path() &&
           engine::isTemporaryName(partial.filename().string());
}

}  // namespace qvt::uploadtest
