#pragma once
#include "mqtt/ac_mqtt_client.h"

#include <memory>

// Body of the supervision thread: owns one supervision handler and runs its check every ten
// minutes, the first ten minutes after start (devices report at start-up, so an early check
// would only see the reports of before the restart). Before its first sleep it checks the
// database for what a kill of the previous run left damaged: after READY=1, off the event path.
// Never returns.
[[noreturn]] void ehs_supervision_thread(std::shared_ptr<ac_mqtt_client_c>& client);
