#pragma once
// The event-log groups (event_log_group rows of sql/schema.sql) this service files its rows
// under. Groups 1 (access control) and 2 (administration) belong to the door-component and
// configuration services, which write their own rows.
#include <cstdint>

// Camera recordings and snapshots.
constexpr uint64_t ehs_log_group_camera = 3;
// The controller's own events (tamper, internet, inputs, time corrections) and the alarm system's.
constexpr uint64_t ehs_log_group_system = 4;
