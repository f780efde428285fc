// Copy speed of the file layer against the usual tools, in one run.
//
//   files_copy_bench smb   [MiB]  - to a share of a private smbd, against `smbclient -c put`
//   files_copy_bench local [MiB]  - local to local, against `cp`
//
// Each side copies the same file twice, alternating; the better time of each is compared.
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
    double layerBest = 1e9, toolBest = 1e9;
    bool ok = true;

    if (mode == "smb") {
        qvt::devicesim::SambaConfig config;
        config.shares = {{"Bench", dir + "/share", 0, false, {"qvtbench"}}};
        config.users = {{"qvtbench", "bench pw"}};
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
        for (int round = 0; round < 2; ++round) {
            const std::string name = "layer" + std::to_string(round) + ".bin";
            bool r = false;
            layerBest = std::min(
                layerBest,
                seconds([&] { return files.copyItem(source, mountPoint + "/" + name) == 0; }, &r));
            ok = ok && r;
            const std::string put = "smbclient //127.0.0.1/Bench -p " +
                                    std::to_string(server.port()) +
                                    " -U 'qvtbench%bench pw' -c 'put " + source + " tool" +
                                    std::to_string(round) + ".bin' > /dev/null 2>&1";
            toolBest = std::min(toolBest, seconds([&] { return shell(put); }, &r));
            ok = ok && r;
        }
        files.forceUnmount(mountPoint);
        server.stop();
    } else {
        for (int round = 0; round < 2; ++round) {
            bool r = false;
            const std::string a = dir + "/layer" + std::to_string(round) + ".bin";
            const std::string b = dir + "/tool" + std::to_string(round) + ".bin";
            layerBest =
                std::min(layerBest, seconds([&] { return files.copyItem(source, a) == 0; }, &r));
            ok = ok && r;
            toolBest =
                std::min(toolBest, seconds([&] { return shell("cp " + source + " " + b); }, &r));
            ok = ok && r;
        }
    }
    std::error_code ec;
    std::filesystem::remove_all(dir, ec);
    if (!ok) {
        std::fprintf(stderr, "a copy failed\n");
        return 1;
    }
    const double mb = static_cast<double>(mib) * 1048576.0 / 1e6;
    std::printf("%s copy of %zu MiB\n", mode.c_str(), mib);
    std::printf("  file layer: %.3f s (%.0f MB/s)\n", layerBest, mb / layerBest);
    std::printf("  %-10s: %.3f s (%.0f MB/s)\n", mode == "smb" ? "smbclient" : "cp", toolBest,
                mb / toolBest);
    std::printf("  ratio (file layer / tool): %.2f (target 1.10 or less)\n", layerBest / toolBest);
    return 0;
}
