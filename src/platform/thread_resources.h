// What a background task may leave in its thread's own storage. Worker threads are reused, so
// the dispatcher releases it after each task, as the end of the thread would.
#pragma once

namespace qvt::platform {

// Frees the thread's share connection and forgets the size of its last write to a share.
void releaseThreadResources();

}  // namespace qvt::platform
