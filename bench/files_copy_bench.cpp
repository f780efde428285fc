// Copy speed of the file layer against the usual tools, in one run.
//
//   files_copy_bench smb   [MiB]  - to a share of a private smbd, against `smbclient -c put`
//   files_copy_bench local [MiB]  - local to local, against `cp`
//
// Each side copies the same file several times (QVT_BENCH_ROUNDS, default 5), the two sides
// taking turns to go first so that neither always meets a warmer cache; each copy is removed
// before the next round. The medians are compared, and the best times are shown too.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "platform/files.h"
#include "samba_server.h"

namespace {

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    const std::size_t n = v.size();
    return n % 2 ? v[n / 2] : (v[n / 2 - 1] + v[n / 2]) / 2;
}

double seconds(const std::function<bool()>& f, bool* ok) {
    const auto start = std::chrono::steady_clock::now();
    *ok = f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

bool shell(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

void makeFile(const std::string& path, std::size_t mib) {
    std::ofstream out(path, std::ios::binary);
    std::vector<char> block(1 << 20);
    std::mt19937_64 rng(7);
    for (std::size_t i = 0; i < mib; ++i) {
        for (std::size_t j = 0; j + 8 <= block.size(); j += 8) {
            const auto v = rng();
            std::memcpy(&block[j], &v, 8);
        }
        out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string mode = argc > 1 ? argv[1] : "smb";
    const std::size_t mib = argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 512;
    char tmpl[] = "/tmp/qvt-bench-XXXXXX";
    if (!mkdtemp(tmpl)) return 1;
    const std::string dir = tmpl;
    const std::string source = dir + "/source.bin";
    makeFile(source, mib);
    auto& files = qvt::platform::files();
    const char* roundsText = std::getenv("QVT_BENCH_ROUNDS");
    const int rounds = std::max(1, roundsText ? std::atoi(roundsText) : 5);
    std::vector<double> layerTimes, toolTimes;
    bool ok = true;
    // One round: both sides copy once, in an order that alternates between rounds.
    const auto round = [&](int n, const std::function<bool()>& layer,
                           const std::function<bool()>& tool) {
        bool r = false;
        for (int side = 0; side < 2; ++side) {
            if ((side == 0) == (n % 2 == 0)) {
                layerTimes.push_back(seconds(layer, &r));
            } else {
                toolTimes.push_back(seconds(tool, &r));
            }
            ok = ok && r;
        }
    };

    if (mode == "smb") {
        qvt::devicesim::SambaConfig config;
        config.shares = {{"Bench", dir + "/share", 0, false, {"qvtbench"}}};
        config.users = {{"qvtbench", "bench pw", {}}};
        qvt::devicesim::SambaServer server(config);
        std::string error;
        if (!server.start(&error)) {
            std::fprintf(stderr, "smbd: %s\n", error.c_str());
            return 1;
        }
        setenv("QVTRANSFER_SMB_PORT", std::to_string(server.port()).c_str(), 1);
        files.setDefaultMountRoot(dir + "/mounts");
        qvt::platform::NetMountRequest request;
        request.url = "smb://127.0.0.1/Bench";
        request.withCredentials = true;
        request.user = "qvtbench";
        request.password = "bench pw";
        const auto mounted = files.mountURLSync(request);
        if (mounted.status != 0) {
            std::fprintf(stderr, "mount failed: %d\n", mounted.status);
            return 1;
        }
        const std::string mountPoint = mounted.mountPoints.front();
        const std::string port = std::to_string(server.port());
        for (int n = 0; n < rounds; ++n) {
            const std::string layerCopy = mountPoint + "/layer.bin";
            const std::string put = "smbclient //127.0.0.1/Bench -p " + port +
                                    " -U 'qvtbench%bench pw' -c 'put " + source +
                                    " tool.bin' > /dev/null 2>&1";
            round(
                n, [&] { return files.copyItem(source, layerCopy) == 0; },
                [&] { return shell(put); });
            files.removeItem(layerCopy);
            files.removeItem(mountPoint + "/tool.bin");
        }
        files.forceUnmount(mountPoint);
        server.stop();
    } else {
        const std::string a = dir + "/layer.bin";
        const std::string b = dir + "/tool.bin";
        for (int n = 0; n < rounds; ++n) {
            round(
                n, [&] { return files.copyItem(source, a) == 0; },
                [&] { return shell("cp " + source + " " + b); });
            std::filesystem::remove(a);
            std::filesystem::remove(b);
        }
    }
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
    if (!ok) {
        std::fprintf(stderr, "a copy failed\n");
        return 1;
    }
    const double mb = static_cast<double>(mib) * 1048576.0 / 1e6;
    const double layer = median(layerTimes), tool = median(toolTimes);
    const double layerBest = *std::min_element(layerTimes.begin(), layerTimes.end());
    const double toolBest = *std::min_element(toolTimes.begin(), toolTimes.end());
    std::printf("%s copy of %zu MiB, %d rounds (median, best)\n", mode.c_str(), mib, rounds);
    std::printf("  file layer: %.3f s (%.0f MB/s), best %.3f s\n", layer, mb / layer, layerBest);
    std::printf("  %-10s: %.3f s (%.0f MB/s), best %.3f s\n", mode == "smb" ? "smbclient" : "cp",
                tool, mb / tool, toolBest);
    std::printf("  ratio of medians (file layer / tool): %.2f (target 1.10 or less)\n",
                layer / tool);
    std::printf("  ratio of best times: %.2f\n", layerBest / toolBest);
    return 0;
}
