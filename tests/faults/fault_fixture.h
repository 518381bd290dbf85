#pragma once
// Faults provoked against the real daemon (build/ehs) in this test's own network and IPC
// namespaces: the daemon fixture's broker, demo database, notify socket and broadcast reader,
// plus what the fault cases need to count what got through and what was lost.
//
// Counts: every case runs a quick version by default (ctest, the test command); scripts/faults.sh
// sets the EHS_FAULT_* variables to the full counts. Each case prints its row of the README's
// reliability table as a line starting with "reliability: ".
#include "tests/main/ehs_daemon_fixture.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

class ehs_fault_test_c : public ehs_daemon_test_c {
protected:
    ~ehs_fault_test_c() override;

    // As the daemon fixture's, then the notify socket is read for good (see wait_ready).
    void start_serving();
    // The integer in the environment variable `name`, or `quick` when it is unset.
    static long count_from_env(const char* name, long quick);
    // One row of the table: fault, what was tried, how many times, what was lost.
    static void report(const std::string& fault, const std::string& tried, long times,
                       const std::string& lost);

    // Waits for the next READY=1 of a daemon started after the call's previous return. From the
    // first call on, a thread reads the notify socket for good, as systemd does: the daemon
    // sends WATCHDOG=1 every second and from every commit, and with ten datagrams unread the
    // kernel blocks its sd_notify, in the middle of a commit.
    bool wait_ready(std::chrono::seconds timeout);
    // The daemon's resident set in KiB, from /proc; 0 when it is gone.
    long daemon_rss_kib();
    // Event-log rows with this message id.
    long event_log_rows(uint64_t message_id);
    // Event-log rows in all.
    long event_log_rows();
    // "PRAGMA integrity_check" through a connection of its own; "ok" when the file is sound.
    std::string integrity_check();
    // How often `text` occurs in the daemon's log.
    long log_count(const std::string& text);
    // Changes that the broadcast reader printed so far for inserts into event_log. Waits until
    // the reader's output stops growing, so that everything the daemon sent is counted.
    long event_log_broadcasts();

private:
    void drain_notify();

    std::atomic<bool> draining_{false};
    std::atomic<long> ready_count_{0};
    long ready_seen_ = 0;
    std::thread notify_reader_;
};
