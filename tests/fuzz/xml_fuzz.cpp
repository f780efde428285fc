// libFuzzer target for the conversion of device replies: any bytes must end in a record or in
// nothing, without a crash, a leak or unbounded work. Built and run by scripts/fuzz-xml.sh, not
// by the regular build.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "device/xml_record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (auto record = qvt::device::recordFromXmlReply(bytes)) {
        // Walk the result so a malformed value would be touched.
        std::size_t total = 0;
        for (const auto& [key, value] : *record) total += key.size() + value.describe().size();
        (void)total;
    }
    return 0;
}
