#pragma once

/** Log tag of the control socket and the matcher. */
#define KAVEL_TAG_SOCKET "kavel_socket"
