#pragma once
// What the reaction engine needs of the MQTT link: connect once, publish. Kept abstract so that
// publishers do not depend on libmosquitto.
#include <string>

class ac_mqtt_client_interface {
public:
    virtual ~ac_mqtt_client_interface() = default;

    // Connects to the broker; throws std::runtime_error when that is impossible.
    virtual int init(const char* host, int port, int keepalive, int retries) = 0;

    // QoS 0, fire and forget: failures are logged by the client, never reported.
    virtual void publish(const std::string& topic, const std::string& payload, bool retain) = 0;
};
