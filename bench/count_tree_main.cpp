// Counts one item as the source list does and prints the result and the time taken:
//   count_tree PATH
// Output: "<files> files, <folders> folders, <bytes> bytes, <seconds> s"
#include <chrono>
#include <cstdio>

#include "source/tree_count.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: %s PATH\n", argv[0]);
        return 2;
    }
    const auto start = std::chrono::steady_clock::now();
    const qvt::source::TreeCount count = qvt::source::countItem(argv[1]);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::printf("%lld files, %lld folders, %llu bytes, %.4f s\n",
                static_cast<long long>(count.files), static_cast<long long>(count.folders),
                static_cast<unsigned long long>(count.bytes), seconds);
    return 0;
}
