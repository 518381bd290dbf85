#include "tests/support/test_broker.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace {

sockaddr_in loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

} // namespace

int free_loopback_port() {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    if (bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        close(fd);
        throw std::runtime_error("no free loopback port");
    }
    close(fd);
    return ntohs(address.sin_port);
}

bool port_accepts(int port) {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(port);
    bool accepted = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return accepted;
}

test_broker_c::test_broker_c(int port) : port_(port != 0 ? port : free_loopback_port()) {
    write_file(dir_.file("mosquitto.conf"),
               "listener " + std::to_string(port_) + " 127.0.0.1\nallow_anonymous true\npersistence false\n");
    start();
}

test_broker_c::~test_broker_c() {
    stop();
}

void test_broker_c::start() {
    process_ = std::make_unique<process_c>(
        std::vector<std::string>{"mosquitto", "-c", dir_.file("mosquitto.conf")},
        std::map<std::string, std::string>{}, dir_.file("broker.log"), dir_.file("broker.log"));
    if (!wait_until([this] { return port_accepts(port_); }, std::chrono::seconds(10)))
        throw std::runtime_error("mosquitto did not start on port " + std::to_string(port_) + ": " +
                                 read_file(dir_.file("broker.log")));
}

void test_broker_c::stop(int signal_number) {
    if (!process_) return;
    process_->signal(signal_number);
    process_->wait_for_exit(std::chrono::seconds(10));
    process_.reset();
    wait_until([this] { return !port_accepts(port_); }, std::chrono::seconds(10));
}
