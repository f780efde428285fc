#include "engine/path_names.h"

namespace qvt::engine {

namespace {

// The path without trailing slashes, the root staying "/".
std::string trimmed(const std::string& path) {
    std::string p = path;
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    return p;
}

// Where the extension's dot of the last component is, or npos.
std::size_t extensionDot(const std::string& p) {
    const std::size_t slash = p.rfind('/');
    const std::size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    const std::size_t dot = p.rfind('.');
    if (dot == std::string::npos || dot <= nameStart || dot + 1 >= p.size())
        return std::string::npos;
    return dot;
}

}  // namespace

std::string lastPathComponent(const std::string& path) {
    const std::string p = trimmed(path);
    if (p == "/") return p;
    const std::size_t slash = p.rfind('/');
    return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string deletingLastPathComponent(const std::string& path) {
    const std::string p = trimmed(path);
    if (p == "/") return p;
    const std::size_t slash = p.rfind('/');
    if (slash == std::string::npos) return "";
    if (slash == 0) return "/";
    return trimmed(p.substr(0, slash));
}

std::string appendingPathComponent(const std::string& folder, const std::string& component) {
    if (folder.empty()) return component;
    if (folder.back() == '/') return folder + component;
    return folder + "/" + component;
}

std::string pathExtension(const std::string& path) {
    const std::string p = trimmed(path);
    const std::size_t dot = extensionDot(p);
    return dot == std::string::npos ? "" : p.substr(dot + 1);
}

std::string deletingPathExtension(const std::string& path) {
    const std::string p = trimmed(path);
    const std::size_t dot = extensionDot(p);
    return dot == std::string::npos ? p : p.substr(0, dot);
}

}  // namespace qvt::engine
