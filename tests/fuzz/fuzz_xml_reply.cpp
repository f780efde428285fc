// A device's reply body, whatever it holds, converts to a record or to nothing: no crash, no
// hang, no sanitizer report, and the same body always gives the same record.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "device/xml_record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view body(reinterpret_cast<const char*>(data), size);
    const auto first = qvt::device::recordFromXmlReply(body);
    const auto second = qvt::device::recordFromXmlReply(body);
    if (first.has_value() != second.has_value() || (first && !(*first == *second))) std::abort();
    return 0;
}
