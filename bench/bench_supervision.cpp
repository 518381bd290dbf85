#include "bench/bench_supervision.h"

#include "bench/bench_system.h"
#include "dao/dao_registration.h"
#include "dao/lorivant_dao.h"
#include "dao/repeater_dao.h"
#include "db/cas_broadcast_hook_helper.h"
#include "db/dao_registry.h"
#include "eventhandling/ehs_supervision_handler.h"

#include <algorithm>
#include <memory>
#include <vector>

namespace {

class counting_client_c : public ac_mqtt_client_interface {
public:
    int init(const char*, int, int, int) override { return 0; }
    void publish(const std::string&, const std::string&, bool) override { ++published; }
    uint64_t published = 0;
};

} // namespace

bench_supervision_t bench_supervision(const std::string& db_path, uint64_t reported_at) {
    dao_registry_c registry;
    uint32_t index = registry.add_database(
        "acs_db", db_path, {"foreign_keys=ON", "journal_mode=MEMORY", "synchronous=OFF"},
        cas_broadcast_hook_helper_c::update_hook, cas_broadcast_hook_helper_c::rollback_hook,
        cas_broadcast_hook_helper_c::commit_hook, true);
    register_all_dao_types(registry, index);
    auto client = std::make_shared<counting_client_c>();
    ehs_supervision_handler_c handler(client, registry);

    bench_supervision_t result;
    std::vector<lorivant_t> lorivants;
    std::vector<repeater_t> repeaters;
    registry.get_dao<lorivant_dao_c>()->get_lorivants(lorivants);
    registry.get_dao<repeater_dao_c>()->get_repeaters(repeaters);
    result.devices = lorivants.size() + repeaters.size();

    // 600 s periods allow 1260 s of silence.
    std::vector<double> fine;
    for (int run = 0; run < 3; ++run) {
        const int64_t start = bench_now_ns();
        handler.check_supervision(reported_at + 600);
        fine.push_back(static_cast<double>(bench_now_ns() - start) / 1e9);
    }
    std::sort(fine.begin(), fine.end());
    result.fine_seconds = fine[1];

    const int64_t start = bench_now_ns();
    handler.check_supervision(reported_at + 100000);
    result.missing_seconds = static_cast<double>(bench_now_ns() - start) / 1e9;
    result.signal_losses = client->published;
    return result;
}
