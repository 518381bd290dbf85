#pragma once
// A real mosquitto broker on loopback for one test, stopped on destruction.
#include "tests/support/test_files.h"
#include "tests/support/test_process.h"

#include <memory>

// A TCP port on 127.0.0.1 that nothing listens on at the moment of the call.
int free_loopback_port();

class test_broker_c {
public:
    // port 0 picks a free port. Waits until the broker accepts connections.
    explicit test_broker_c(int port = 0);
    ~test_broker_c() { stop(); }

    int port() const { return port_; }
    void stop(int signal_number = 15); // waits until the port is closed
    void start();                      // same port, same configuration

private:
    temp_dir_c dir_;
    int port_;
    std::unique_ptr<process_c> process_;
};
