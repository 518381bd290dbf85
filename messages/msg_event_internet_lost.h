#pragma once
// The message of "events/control/internet_lost". It carries only the hardware id, but is a type of its
// own so that the event can be told apart from the other hardware-id events.
#include "messages/msg_event_hwid.h"

class msg_event_internet_lost_c : public msg_event_hwid_c {};
