#include "source/source_entry.h"

#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QMimeType>

#include <algorithm>
#include <cctype>

#include "platform/format.h"

namespace qvt::source {

namespace fmt = qvt::platform;

std::string joinPath(const std::string& folder, const std::string& component) {
    std::string head = folder;
    while (head.size() > 1 && head.back() == '/') head.pop_back();
    std::size_t start = 0;
    while (start < component.size() && component[start] == '/') ++start;
    const std::string tail = component.substr(start);
    if (tail.empty()) return head;
    if (head.empty()) return tail;
    return head == "/" ? "/" + tail : head + "/" + tail;
}

std::string displayName(const std::string& path) {
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    if (p == "/") return p;
    const std::size_t slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string iconNameForPath(const std::string& path) {
    // The database is safe to use from any thread; rows are made on background threads too.
    // Only the name and the kind of item are looked at: a drop must never wait on reading a
    // slow file or a pipe.
    static const QMimeDatabase database;
    const QFileInfo info(QFile::decodeName(QByteArray::fromStdString(path)));
    return database.mimeTypeForFile(info, QMimeDatabase::MatchExtension).iconName().toStdString();
}

Record makeSourceEntry(const std::string& path, bool withFileSize) {
    Record entry{{"filesSelectCheckbox", 1},
                 {"fileImage", iconNameForPath(path)},
                 {"fileName", displayName(path)},
                 {"fullFilePath", path},
                 {"numberOfFiles", kCountingPlaceholder},
                 {"numberOfFolders", 1}};
    // Placeholders until the count overwrites them.
    if (withFileSize) entry.set("fileSize", Value(static_cast<unsigned long long>(1)));
    return entry;
}

Record makeTotalsRequest(const Record& entry, const std::string& mathType) {
    return Record{{"fileDict", entry}, {"mathType", mathType}};
}

RowCounts rowCounts(const Record& row) {
    const Value* files = row.find(kFileCountKey);
    const Value* folders = row.find(kFolderCountKey);
    if (files && folders && files->isInteger() && folders->isInteger())
        return {files->toInt64(), folders->toInt64()};
    return {leadingInteger(row.find("numberOfFiles")), leadingInteger(row.find("numberOfFolders"))};
}

std::int64_t leadingInteger(const Value* value) {
    if (!value) return 0;
    if (value->isInteger() || value->isReal() || value->isBool()) return value->toInt64();
    const std::string* text = value->asString();
    if (!text) return 0;
    std::size_t i = 0;
    while (i < text->size() && std::isspace(static_cast<unsigned char>((*text)[i]))) ++i;
    bool negative = false;
    if (i < text->size() && ((*text)[i] == '-' || (*text)[i] == '+'))
        negative = (*text)[i++] == '-';
    std::int64_t n = 0;
    for (; i < text->size() && std::isdigit(static_cast<unsigned char>((*text)[i])); ++i) {
        if (n > (INT64_MAX - 9) / 10) break;  // a label never holds such a number; stay defined
        n = n * 10 + ((*text)[i] - '0');
    }
    return negative ? -n : n;
}

std::string countWord(const std::string& localisedText) {
    // Split at each single blank and take the second part ("%@ files" -> "files").
    const std::size_t first = localisedText.find(' ');
    if (first == std::string::npos) return localisedText;
    const std::size_t second = localisedText.find(' ', first + 1);
    return localisedText.substr(
        first + 1, second == std::string::npos ? std::string::npos : second - first - 1);
}

std::string filesLabel(std::int64_t files, const CountWords& words) {
    return fmt::format("%ld %@", static_cast<long long>(files),
                       files < 2 ? words.file : words.files);
}

std::string foldersLabel(std::int64_t folders, const CountWords& words) {
    return fmt::format("%ld %@", static_cast<long long>(folders),
                       folders < 2 ? words.folder : words.folders);
}

std::string sizeText(double bytes) {
    static const char* const units[] = {"bytes", "KB", "MB", "GB", "TB"};
    int k = 0;
    // Decimal units on purpose; past the last unit the value is left as it is.
    while (bytes > 1000.0) {
        bytes /= 1000.0;
        ++k;
    }
    return fmt::format("%4.2f%@", bytes, std::string(units[std::min(k, 4)]));
}

std::string summaryLine(std::int64_t files, std::int64_t folders, double bytes,
                        const CountWords& words) {
    const std::string size = sizeText(bytes);
    const std::string* folderWord = nullptr;
    const std::string* fileWord = nullptr;
    if (files >= 2) {
        folderWord = folders >= 2 ? &words.folders : &words.folder;
        fileWord = &words.files;
    } else if (files == 1) {
        // One file keeps the singular folder word even with several folders.
        folderWord = &words.folder;
        fileWord = &words.file;
    } else if (folders >= 2) {
        // No file still reads with the singular file word.
        folderWord = &words.folders;
        fileWord = &words.file;
    } else if (folders == 1) {
        folderWord = &words.folder;
        fileWord = &words.file;
    } else {
        return {};
    }
    return fmt::format("%ld %@, %ld %@: %@", static_cast<long long>(folders), *folderWord,
                       static_cast<long long>(files), *fileWord, size);
}

std::string zeroSummaryLine(std::int64_t files, std::int64_t folders, double bytes,
                            const CountWords& words) {
    return fmt::format("%ld %@, %ld %@: %@", static_cast<long long>(folders), words.folder,
                       static_cast<long long>(files), words.file,
                       fmt::format("%4.2f%@", bytes, std::string("bytes")));
}

bool hasText(const Record& row, std::string_view key, std::string_view text) {
    const Value* value = row.find(key);
    const std::string* s = value ? value->asString() : nullptr;
    return s && *s == text;
}

bool countedWithoutFolders(const Record& row) {
    return (row.find(kFolderCountKey) || row.find("numberOfFolders")) &&
           rowCounts(row).folders == 0;
}

}  // namespace qvt::source
