#pragma once

#include "core/KeventPacket.h"

namespace android {

/**
 * Handles one packet of the kernel: uploads a statistic, reports an abnormal event, and only logs
 * any other packet. Runs on the calling thread and returns when it is done.
 *
 * @return false for a null packet, otherwise true
 */
bool KavelRecvKeventFunc(kavel_kevent_packet* packet);

}  // namespace android
