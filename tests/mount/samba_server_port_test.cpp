// The simulator's Samba server when the port it is given is another listener's.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>

#include "../../apps/devicesim/samba_server.h"

namespace qvt::mounttest {
namespace {

// A server that answers on the port is not taken for this one: the tests would talk to
// another test program's server, with its own shares.
TEST(SambaServerPort, AnotherListenerOnThePortIsToldAndNotTakenForTheServer) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    ASSERT_GE(listener, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof addr;
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(listen(listener, 4), 0);
    ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &size), 0);

    devicesim::SambaConfig config;
    config.port = ntohs(addr.sin_port);
    config.shares = {{"Public", "", 0, true, {}}};
    devicesim::SambaServer server(config);
    std::string error;
    EXPECT_FALSE(server.start(&error));
    EXPECT_NE(error.find("another process listens there"), std::string::npos) << error;
    EXPECT_FALSE(server.running());
    close(listener);
}

}  // namespace
}  // namespace qvt::mounttest
