#include "device_replies.h"

namespace qvt::devicesim {

namespace {

std::string escaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&apos;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

void render(const XmlElement& e, bool pretty, int level, std::string& out) {
    const std::string indent = pretty ? std::string(static_cast<std::size_t>(level) * 2, ' ') : "";
    out += indent + "<" + e.name + ">";
    if (e.children.empty()) {
        out += escaped(e.text);
    } else {
        if (pretty) out += "\n";
        for (const XmlElement& c : e.children) render(c, pretty, level + 1, out);
        out += indent;
    }
    out += "</" + e.name + ">";
    if (pretty) out += "\n";
}

XmlElement leaf(std::string name, std::string text) {
    return {std::move(name), std::move(text), {}};
}

}  // namespace

std::string renderXml(const XmlElement& root, bool pretty) {
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
    if (pretty) out += "\n";
    render(root, pretty, 0, out);
    return out;
}

XmlElement usersReply(const DeviceConfig& config) {
    XmlElement root{"users", {}, {}};
    for (const SimUser& u : config.users) {
        root.children.push_back({"user",
                                 {},
                                 {leaf("username", u.username), leaf("fullname", ""),
                                  leaf("is_password", u.password.empty() ? "false" : "true")}});
    }
    return root;
}

XmlElement loginReply(bool success) {
    return {"local_login", {}, {leaf("status", success ? "success" : "failure")}};
}

XmlElement sharesReply(const DeviceConfig& config) {
    XmlElement root{"shares", {}, {}};
    for (const SimShare& s : config.shares) {
        XmlElement share{"share", {}, {}};
        share.children.push_back(leaf("share_name", s.shareName));
        share.children.push_back(leaf("description", ""));
        share.children.push_back(leaf("public_access", s.publicAccess ? "true" : "false"));
        for (const std::string& access : s.shareAccess)
            share.children.push_back(leaf("share_access", access));
        root.children.push_back(std::move(share));
    }
    return root;
}

XmlElement systemInformationReply(const DeviceConfig& config, const std::string& serialNumber) {
    return {"system_information",
            {},
            {leaf("name", config.productName), leaf("serial_number", serialNumber),
             leaf("firmware_version", "1.0.0")}};
}

XmlElement errorReply(int code, const std::string& message) {
    return {
        "error", {}, {leaf("error_code", std::to_string(code)), leaf("error_message", message)}};
}

std::string malformedXml(const std::string& goodReply) {
    return goodReply.substr(0, goodReply.size() / 2) + "<<&bad attr=</";
}

}  // namespace qvt::devicesim
