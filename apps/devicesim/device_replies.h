// The XML bodies a device sends, compact (one line) or pretty-printed (indented lines).
#pragma once

#include <string>
#include <vector>

#include "device_config.h"

namespace qvt::devicesim {

// A small element tree: an element holds either text or child elements.
struct XmlElement {
    std::string name;
    std::string text;
    std::vector<XmlElement> children;
};

std::string renderXml(const XmlElement& root, bool pretty);

XmlElement usersReply(const DeviceConfig& config);
XmlElement loginReply(bool success);
XmlElement sharesReply(const DeviceConfig& config);
XmlElement systemInformationReply(const DeviceConfig& config, const std::string& serialNumber);
XmlElement errorReply(int code, const std::string& message);

// A reply broken on purpose: cut in the middle of a tag, with stray markup.
std::string malformedXml(const std::string& goodReply);

}  // namespace qvt::devicesim
