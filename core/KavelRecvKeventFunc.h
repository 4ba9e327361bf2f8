#pragma once

#include "core/KeventPacket.h"

namespace android {

/**
 * What happens to a packet of the kernel: a statistic is uploaded, an abnormal event becomes a
 * record, anything else is logged at most. Runs to the end on the calling thread.
 *
 * @return false for a null packet, else true
 */
bool KavelRecvKeventFunc(kavel_kevent_packet* packet);

}  // namespace android
