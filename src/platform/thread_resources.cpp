#include "platform/thread_resources.h"

#include "platform/files_internal.h"
#include "platform/smb_client.h"

namespace qvt::platform {

void releaseThreadResources() {
    smb::releaseThreadContext();
    detail::forgetLastCopy();
}

}  // namespace qvt::platform
