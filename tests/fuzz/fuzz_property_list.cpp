// The state file and the device records are property lists that may come damaged or forged.
// Whatever the bytes, reading gives a value or nothing; a value read is written out and read
// back, and from then on writing and reading change nothing.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/plist_io.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto value = qvt::platform::parsePropertyList(bytes);
    if (!value) return 0;
    const std::string written = qvt::platform::toXmlPropertyList(*value);
    const auto again = qvt::platform::parsePropertyList(written);
    if (!again) std::abort();  // our own output must read back
    if (qvt::platform::toXmlPropertyList(*again) != written) std::abort();
    return 0;
}
