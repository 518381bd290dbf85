#pragma once
// One supervision run over every door component and repeater of a database, timed in this
// process with the service's own handler (its publications counted, not sent).
#include <cstdint>
#include <string>

struct bench_supervision_t {
    double fine_seconds = 0;    // median of three runs in which every device reported in time
    double missing_seconds = 0; // one run in which every device fell silent
    uint64_t devices = 0;
    uint64_t signal_losses = 0; // events the missing run published
};

// `reported_at`: the supervision time every device of the database carries.
bench_supervision_t bench_supervision(const std::string& db_path, uint64_t reported_at);
