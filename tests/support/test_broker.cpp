#include "tests/support/test_broker.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>

namespace {

// Connects to 127.0.0.1:port (whether it was accepted), or binds there (the port bound, port 0
// picking a free one; 0 when binding failed).
int loopback(int port, bool connecting) {
    int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{AF_INET, htons(static_cast<uint16_t>(port)), {htonl(INADDR_LOOPBACK)}, {}};
    auto* any = reinterpret_cast<sockaddr*>(&address);
    socklen_t length = sizeof address;
    int result = connecting ? connect(fd, any, length) == 0
                 : bind(fd, any, length) == 0 && getsockname(fd, any, &length) == 0 ? ntohs(address.sin_port)
                                                                                    : 0;
    close(fd);
    return result;
}

} // namespace

int free_loopback_port() {
    if (int port = loopback(0, false)) return port;
    throw std::runtime_error("no free loopback port");
}

test_broker_c::test_broker_c(int port) : port_(port != 0 ? port : free_loopback_port()) {
    write_file(dir_.file("mosquitto.conf"),
               "listener " + std::to_string(port_) + " 127.0.0.1\nallow_anonymous true\npersistence false\n");
    start();
}

void test_broker_c::start() {
    const std::string log = dir_.file("broker.log");
    process_ =
        std::make_unique<process_c>(std::vector<std::string>{"mosquitto", "-c", dir_.file("mosquitto.conf")},
                                    std::map<std::string, std::string>{}, log, log);
    if (!wait_until([this] { return loopback(port_, true); }, std::chrono::seconds(10)))
        throw std::runtime_error("mosquitto did not start on port " + std::to_string(port_) + ": " +
                                 read_file(log));
}

void test_broker_c::stop(int signal_number) {
    if (!process_) return;
    process_->signal(signal_number);
    process_->wait_for_exit(std::chrono::seconds(10));
    process_.reset();
    wait_until([this] { return !loopback(port_, true); }, std::chrono::seconds(10));
}
